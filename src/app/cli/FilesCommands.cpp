#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "app/cli/Command.h"
#include "app/cli/OpenedBackup.h"
#include "app/cli/Options.h"
#include "app/export/BackupJson.h"
#include "app/export/ExportReport.h"
#include "app/export/NearestNames.h"
#include "platform/Files.h"
#include "platform/FolderIdentity.h"

namespace {

using Json = nlohmann::ordered_json;

PDXExitStatus saysProblems(const std::vector<PDXProblem>& problems) {
  for (const PDXProblem& problem : problems) PDXConsole::problem(problem);
  return problems.empty() ? PDXExitStatus::done : PDXExitStatus::incomplete;
}

PDXExitStatus saysUnreadableManifest(const PDXCommandContext& context, const PDXDeviceData& deviceData,
                                     const std::vector<PDXProblem>& problems) {
  if (context.stop.stop_requested()) return PDXExitStatus::interrupted;
  const std::string why = problems.empty() ? "" : " (" + problems.front().why + ")";
  PDXConsole::error("the manifest of " + deviceData.backupPath() + " cannot be read" + why +
                    ", so its files cannot be listed");
  return PDXExitStatus::incomplete;
}

/// One line when the manifest knows no such domain.
std::optional<std::string> domainMistake(PDXDeviceData& deviceData, const std::string& domain) {
  const auto names = deviceData.domainNames().value_or(std::vector<std::string>());
  if (names.empty() || std::find(names.begin(), names.end(), domain) != names.end()) return std::nullopt;
  return "there is no domain \"" + domain + "\"" + nearestNamesHint(domain, names) +
         " (`pocketdex domains BACKUP` names them all)";
}

class DomainsCommand final : public PDXCommand {
 public:
  void addOptions(CLI::App& app) override {
    backupOptions_.addTo(app);
    app.add_flag("--json", json_, "One JSON document");
  }

  PDXExitStatus run(PDXCommandContext& context) override {
    PDXExitStatus status = PDXExitStatus::done;
    const auto found = PDXOpenedBackup::find(backupOptions_.backup, status);
    const auto deviceData = found ? found->open(backupOptions_, context.stop, status) : nullptr;
    if (deviceData == nullptr) return status;
    const PDXProblemCollector problems;
    const auto names = deviceData->domainNames();
    if (!names) return saysUnreadableManifest(context, *deviceData, problems.problems());
    if (json_) {
      printJson(found->information(), *names, problems.problems());
    } else {
      for (const std::string& name : *names) context.console.line(name);
    }
    return saysProblems(problems.problems());
  }

 private:
  static void printJson(const PDXBackupInformation& information, const std::vector<std::string>& names,
                        const std::vector<PDXProblem>& problems) {
    Json document = PDXBackupJson::document("domains", information);
    for (const std::string& name : names) document["items"].push_back({{"domain", name}});
    document["problems"] = PDXBackupJson::problems(problems);
    std::fputs(PDXBackupJson::text(document).c_str(), stdout);
  }

  PDXBackupOptions backupOptions_;
  bool json_ = false;
};

class FilesCommand final : public PDXCommand {
 public:
  void addOptions(CLI::App& app) override {
    backupOptions_.addTo(app);
    app.add_option("--domain", domain_, "Only of this domain");
    app.add_option("--under", folder_, "Only below this folder");
    app.add_flag("--json", json_, "One JSON document");
  }

  PDXExitStatus run(PDXCommandContext& context) override {
    PDXExitStatus status = PDXExitStatus::done;
    const auto found = PDXOpenedBackup::find(backupOptions_.backup, status);
    const auto deviceData = found ? found->open(backupOptions_, context.stop, status) : nullptr;
    if (deviceData == nullptr) return status;
    const PDXProblemCollector problems;
    if (const auto mistake = domain_.empty() ? std::nullopt : domainMistake(*deviceData, domain_)) {
      PDXConsole::error(*mistake);
      return PDXExitStatus::usage;
    }
    auto files = deviceData->regularFiles();
    if (!files) return saysUnreadableManifest(context, *deviceData, problems.problems());
    if (const auto mistake = folderMistake(*files)) {
      PDXConsole::error(*mistake);
      return PDXExitStatus::usage;
    }
    std::erase_if(*files, [this](const PDXBackupFile& file) { return !isWanted(file); });
    if (json_) {
      printJson(found->information(), *files, problems.problems());
    } else {
      for (const PDXBackupFile& file : *files) {
        context.console.line(file.fileId + "  " + file.domain.value_or("") + "  " + file.relativePath);
      }
    }
    return saysProblems(problems.problems());
  }

 private:
  bool isOfDomain(const PDXBackupFile& file) const { return domain_.empty() || file.domain == domain_; }

  bool isWanted(const PDXBackupFile& file) const {
    const std::string folder = folder_.empty() || folder_.ends_with('/') ? folder_ : folder_ + "/";
    return isOfDomain(file) && file.relativePath.starts_with(folder);
  }

  /// One line when no file lies below the folder.
  std::optional<std::string> folderMistake(const std::vector<PDXBackupFile>& files) const {
    if (folder_.empty() ||
        std::any_of(files.begin(), files.end(), [this](const PDXBackupFile& file) { return isWanted(file); }))
      return std::nullopt;
    std::set<std::string> folders;
    for (const PDXBackupFile& file : files) {
      const std::string& path = file.relativePath;
      if (!isOfDomain(file)) continue;
      for (std::size_t end = path.find('/'); end != std::string::npos; end = path.find('/', end + 1))
        folders.insert(path.substr(0, end));
    }
    return "no file lies below the folder \"" + folder_ + "\"" +
           nearestNamesHint(folder_, {folders.begin(), folders.end()}) +
           " (`pocketdex files BACKUP` names them all)";
  }

  static void printJson(const PDXBackupInformation& information, const std::vector<PDXBackupFile>& files,
                        const std::vector<PDXProblem>& problems) {
    Json document = PDXBackupJson::document("files", information);
    for (const PDXBackupFile& file : files) {
      document["items"].push_back({{"fileId", file.fileId},
                                   {"domain", file.domain.value_or("")},
                                   {"relativePath", file.relativePath}});
    }
    document["problems"] = PDXBackupJson::problems(problems);
    std::fputs(PDXBackupJson::text(document).c_str(), stdout);
  }

  PDXBackupOptions backupOptions_;
  std::string domain_;
  std::string folder_;
  bool json_ = false;
};

/// Whether a path from the command line stays below the folder it is put under.
bool staysBelow(const std::string& path) {
  std::size_t begin = 0;
  while (begin <= path.size()) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    if (path.compare(begin, end - begin, "..") == 0) return false;
    begin = end + 1;
  }
  return !path.empty() && path.front() != '/' && path.find('\0') == std::string::npos;
}

class GetCommand final : public PDXCommand {
 public:
  void addOptions(CLI::App& app) override {
    backupOptions_.addTo(app);
    app.add_option("PATH", paths_, "Files of the domain, as `pocketdex files` shows them")->required();
    app.add_option("--domain", domain_, "The files' domain")->required();
    app.add_option("--to", folder_, "The folder to write into; made when missing")->required();
  }

  PDXExitStatus run(PDXCommandContext& context) override {
    PDXExitStatus status = PDXExitStatus::done;
    const auto found = PDXOpenedBackup::find(backupOptions_.backup, status);
    // Nothing is written beside the domain's own folder: a backup may lie there.
    const std::string target = PDXFiles::joined(folder_, domain_);
    if (found && found->refusesOutput(staysBelow(domain_) ? target : folder_)) return PDXExitStatus::usage;
    const auto deviceData = found ? found->open(backupOptions_, context.stop, status) : nullptr;
    if (deviceData == nullptr) return status;
    const PDXProblemCollector problems;
    if (const auto mistake = domainMistake(*deviceData, domain_)) {
      PDXConsole::error(*mistake);
      saysProblems(problems.problems());
      return PDXExitStatus::usage;
    }
    if (staysBelow(domain_)) PDXFiles::removeAbandonedParts(PDXFiles::joined(folder_, domain_));
    for (const std::string& path : paths_) {
      const PDXExitStatus one = copy(context, *deviceData, path);
      if (one == PDXExitStatus::unwritable || one == PDXExitStatus::interrupted) return one;
      if (one != PDXExitStatus::done) status = one;
    }
    if (status != PDXExitStatus::done) saysProblems(problems.problems());
    return status;
  }

 private:
  /// Writes one file below the folder, under domain and path.
  PDXExitStatus copy(PDXCommandContext& context, PDXDeviceData& deviceData, const std::string& path) const {
    using Outcome = PDXFiles::CopyResult::Outcome;
    if (!staysBelow(path) || !staysBelow(domain_)) {
      PDXConsole::error("\"" + path + "\" is no path inside a domain");
      return PDXExitStatus::usage;
    }
    const std::string target = PDXFiles::joined(PDXFiles::joined(PDXFiles::absolute(folder_), domain_), path);
    if (PDXFolderIdentity::isWithin(PDXFiles::folderOf(target), deviceData.backupPath())) {
      PDXConsole::error("cannot write to " + target +
                        ": it lies in the backup, which is never changed; choose another folder");
      return PDXExitStatus::usage;
    }
    if (!deviceData.holdsFileByRelativePathInDomain(path, domain_)) {
      PDXConsole::error("the backup does not hold \"" + path + "\" in " + domain_ +
                        " (`pocketdex files BACKUP --domain " + domain_ + "` names what it holds)");
      return PDXExitStatus::incomplete;
    }
    if (!PDXFiles::makeFolders(PDXFiles::folderOf(target)))
      return saysUnwritable(target, "its folder cannot be made");
    const auto copied = deviceData.copyOfFileByRelativePathInDomain(path, domain_, target, context.stop);
    if (copied) {
      context.console.note(target);
      return PDXExitStatus::done;
    }
    if (copied.outcome == Outcome::stopped) return PDXExitStatus::interrupted;
    if (copied.outcome == Outcome::writeFailed) return saysUnwritable(target, copied.why);
    if (copied.outcome == Outcome::notMade) {
      PDXConsole::error("cannot write " + target + ": " + copied.why);
      return PDXExitStatus::incomplete;
    }
    PDXConsole::error("cannot read \"" + path + "\" in " + domain_ + ": " + copied.why);
    return PDXExitStatus::incomplete;
  }

  static PDXExitStatus saysUnwritable(const std::string& path, const std::string& why) {
    PDXConsole::error("cannot write " + path + ": " + why + "; choose another folder, or make room");
    return PDXExitStatus::unwritable;
  }

  PDXBackupOptions backupOptions_;
  std::vector<std::string> paths_;
  std::string domain_;
  std::string folder_;
};

}  // namespace

std::unique_ptr<PDXCommand> makeDomainsCommand() { return std::make_unique<DomainsCommand>(); }
std::unique_ptr<PDXCommand> makeFilesCommand() { return std::make_unique<FilesCommand>(); }
std::unique_ptr<PDXCommand> makeGetCommand() { return std::make_unique<GetCommand>(); }
