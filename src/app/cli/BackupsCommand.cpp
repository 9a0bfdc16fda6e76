#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "app/cli/Command.h"
#include "app/export/BackupJson.h"
#include "backup/BackupInformation.h"
#include "backup/BackupLocations.h"
#include "platform/Files.h"

namespace {

struct Found {
  std::string path;
  PDXBackupInformation information;
};

/// The backups that lie directly in a folder, by name.
std::vector<Found> backupsIn(const std::string& folder) {
  std::vector<Found> found;
  for (const std::string& name : PDXFiles::list(folder)) {
    const std::string path = PDXFiles::joined(folder, name);
    if (!PDXFiles::isFolder(path) || !PDXBackupInformation::isBackupFolder(path)) continue;
    found.push_back({path, PDXBackupInformation::ofFolder(path)});
  }
  return found;
}

class BackupsCommand final : public PDXCommand {
 public:
  void addOptions(CLI::App& app) override {
    app.add_option("--in", folder_, "Look in this folder, not in those where backups are kept");
    app.add_flag("--json", json_, "One JSON document");
  }

  PDXExitStatus run(PDXCommandContext& context) override {
    if (!folder_.empty() && !PDXFiles::isFolder(folder_)) {
      PDXConsole::error("there is no folder \"" + folder_ + "\" to look for backups in");
      return PDXExitStatus::noBackup;
    }
    const std::vector<Found> found = collect();
    if (json_) {
      printJson(found);
    } else {
      for (const Found& backup : found) context.console.line(lineFor(backup));
      if (found.empty()) context.console.note("No backups in " + joinedFolders());
    }
    return PDXExitStatus::done;
  }

 private:
  /// The folder asked for, or every place where backups are kept on this system.
  std::vector<std::string> folders() const {
    if (!folder_.empty()) return {PDXFiles::absolute(folder_)};
    std::vector<std::string> all = {PDXBackupLocations::activeBackupDirectory()};
    const std::string system = PDXBackupLocations::systemBackupDirectory();
    if (!system.empty() && system != all.front()) all.push_back(system);
    return all;
  }

  std::string joinedFolders() const { return fmt::format("{}", fmt::join(folders(), " or ")); }

  std::vector<Found> collect() const {
    std::vector<Found> found;
    for (const std::string& folder : folders()) {
      for (Found& backup : backupsIn(folder)) found.push_back(std::move(backup));
    }
    return found;
  }

  static std::string lineFor(const Found& backup) {
    const PDXBackupInformation& information = backup.information;
    PDXDateFormatter formatter(PDXDateFormatter::Style::longDateShortTime);
    const auto orUnknown = [](const std::string& text) { return text.empty() ? "unknown" : text; };
    return fmt::format(
        "{}  {}, system {}, {}{}{}  {}", information.identifier(), orUnknown(information.deviceName()),
        orUnknown(information.Version()),
        information.lastBackupDate() ? formatter.text(*information.lastBackupDate()) : "no date",
        information.IsEncrypted() ? ", encrypted" : "", information.isUnfinished() ? ", unfinished" : "",
        backup.path);
  }

  static void printJson(const std::vector<Found>& found) {
    nlohmann::ordered_json document = {
        {"schema", 1}, {"kind", "backups"}, {"backup", nullptr}, {"items", nlohmann::ordered_json::array()}};
    for (const Found& backup : found) {
      auto item = PDXBackupJson::backup(backup.information);
      item["path"] = backup.path;
      item["snapshotState"] = backup.information.snapshotState();
      const auto& date = backup.information.lastBackupDate();
      item["lastBackupDate"] =
          date ? nlohmann::ordered_json(PDXDates::isoText(*date)) : nlohmann::ordered_json();
      document["items"].push_back(std::move(item));
    }
    document["problems"] = nlohmann::ordered_json::array();
    std::fputs(PDXBackupJson::text(document).c_str(), stdout);
  }

  std::string folder_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<PDXCommand> makeBackupsCommand() { return std::make_unique<BackupsCommand>(); }
