#include "app/export/OutputFolder.h"

#include <algorithm>
#include <set>
#include <utility>

#include "platform/FileName.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kReport = "export.json";
constexpr const char* kStartPage = "index.html";
constexpr const char* kJournal = ".pocketdex.lock";
constexpr std::string_view kJournalBeginning = "pocketdex export of ";

bool isSameDevice(const std::string& one, const std::string& other) {
  return PDXText::lowercased(one) == PDXText::lowercased(other);
}

bool isOfARun(const std::string& name) { return name.starts_with(".pocketdex-") || name == kJournal; }

/// Whether nobody would miss anything: only empty folders, and what a killed run was just writing.
bool holdsNothing(const std::string& folder, int depth = 0) {
  const auto names = PDXFiles::list(folder);
  return depth < 8 && std::all_of(names.begin(), names.end(), [&](const std::string& name) {
           const std::string path = PDXFiles::joined(folder, name);
           if (isOfARun(name)) return true;
           return PDXFiles::isRealFolder(path) && holdsNothing(path, depth + 1);
         });
}

/// A report that an export of ours wrote; null for any other file.
Json reportIn(const std::string& path) {
  if (!PDXFiles::isRegularFile(path)) return {};
  const auto bytes = PDXFiles::read(path);
  if (!bytes) return {};
  Json report = Json::parse(bytes->begin(), bytes->end(), nullptr, false);
  const auto has = [&](const char* key, auto isType) { return report.contains(key) && isType(report[key]); };
  const bool isOurs = report.is_object() && report.value("schema", Json()) == 1 &&
                      report.value("kind", Json()) == "export" &&
                      has("device", [](const Json& value) { return value.is_string(); }) &&
                      has("items", [](const Json& value) { return value.is_array(); }) &&
                      has("files", [](const Json& value) { return value.is_array(); });
  return isOurs ? report : Json();
}

/// The whole lines of a text.
std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
    lines.push_back(text.substr(begin, end - begin));
  return lines;
}

/// Whether a path that a report or a journal names stays below the folder and leads to a regular file.
bool isFileBelow(const std::string& folder, const std::string& path) {
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const std::string part = path.substr(begin, end - begin);
    if (part.empty() || part == "." || part == "..") return false;
    begin = end + 1;
  }
  return PDXFiles::isRegularFile(PDXFiles::joined(folder, path));
}

}  // namespace

/// What lies in the folder.
struct PDXOutputFolder::Look {
  std::shared_ptr<const Json> report;  ///< Of this device's export; null without one.
  std::string reportPath;              ///< Below the folder.
  std::string otherDevice;             ///< That another export there is of; "" without one.
  std::vector<std::string> journal;
  bool isJournalOfDevice = false;
  bool isForeignJournal = false;
  bool isEmpty = false;
};

PDXOutputFolder::PDXOutputFolder(std::string path, const std::string& device, bool isForced)
    : path_(std::move(path)), device_(PDXText::printable(device)), isForced_(isForced) {}

PDXOutputFolder::~PDXOutputFolder() = default;

PDXOutputFolder::Look PDXOutputFolder::look_() const {
  constexpr unsigned kMostReports = 100;
  Look look;
  std::string name = kReport;
  // Ours is a later one also where only a name in other case, "EXPORT.JSON" say, was in the way.
  const auto isThere = [&] { return !PDXFiles::isMissing(PDXFiles::joined(path_, name)); };
  for (unsigned i = 1; i < kMostReports && (i == 1 || isThere()); ++i) {
    Json report = reportIn(PDXFiles::joined(path_, name));
    if (!report.is_null() && isSameDevice(report["device"], device_)) {
      look.report = std::make_shared<const Json>(std::move(report));
      look.reportPath = name;
      break;
    }
    if (!report.is_null()) look.otherDevice = report["device"];
    name = PDXFileName::counted(kReport, i, true);
  }
  const std::string journal = PDXFiles::joined(path_, kJournal);
  if (PDXFiles::isRegularFile(journal)) {
    const auto bytes = PDXFiles::read(journal);
    const auto lines = linesOf(bytes ? std::string(bytes->begin(), bytes->end()) : "");
    const bool isOurs = !lines.empty() && lines[0].starts_with(kJournalBeginning);
    look.isForeignJournal = !isOurs && bytes && !bytes->empty();
    const std::string device = isOurs ? lines[0].substr(kJournalBeginning.size()) : "";
    look.isJournalOfDevice = isOurs && isSameDevice(device, device_);
    if (look.isJournalOfDevice) look.journal.assign(lines.begin() + 1, lines.end());
    if (isOurs && !look.isJournalOfDevice) look.otherDevice = device;
  }
  look.isEmpty = holdsNothing(path_);
  return look;
}

std::optional<std::string> PDXOutputFolder::mistakeOf_(const Look& look) const {
  if (isForced_ || look.isEmpty || look.report != nullptr || look.isJournalOfDevice) return std::nullopt;
  if (!look.otherDevice.empty()) {
    return path_ + " contains the export of another device (" + look.otherDevice +
           "): choose another folder, or add this one to it with --force, which replaces none of its files";
  }
  return path_ +
         " is not empty and not an export of this program: choose another folder, or write into it with "
         "--force, which replaces none of the files in it";
}

std::optional<std::string> PDXOutputFolder::mistake() const {
  return PDXFiles::isFolder(path_) ? mistakeOf_(look_()) : std::nullopt;
}

std::optional<PDXOutputFolder::Refusal> PDXOutputFolder::open() {
  if (!PDXFiles::makeFolders(path_)) return Refusal{false, "it is no folder and cannot be made one"};
  if (auto why = mistakeOf_(look_())) return Refusal{true, *why};
  auto journal = std::make_unique<PDXLockedFile>(PDXFiles::joined(path_, kJournal));
  if (journal->outcome() == PDXLockedFile::Outcome::busy)
    return Refusal{false, "another export is running there: wait for its end"};
  if (journal->outcome() == PDXLockedFile::Outcome::failed)
    return Refusal{false, std::string(kJournal) + " in it cannot be written: " + journal->error()};
  // Another export may have come and gone since.
  Look look = look_();
  if (look.isForeignJournal)
    return Refusal{false, std::string(kJournal) + " in it is not of this program: move it away"};
  if (auto why = mistakeOf_(look)) {
    if (look.otherDevice.empty()) journal->remove();
    return Refusal{true, *why};
  }

  std::vector<std::string> owned = std::move(look.journal);
  if (look.report != nullptr) {
    owned.push_back(look.reportPath);
    for (const Json& file : (*look.report)["files"]) {
      if (file.is_string()) owned.push_back(file);
    }
  }
  std::erase_if(owned, [this](const std::string& file) { return !isFileBelow(path_, file); });
  const int failed = look.isJournalOfDevice ? 0 : journal->clear();
  const int unwritten = look.isJournalOfDevice || failed != 0
                            ? failed
                            : journal->append(std::string(kJournalBeginning) + device_ + "\n");
  if (unwritten != 0) {
    journal->remove();
    return Refusal{false, PDXFiles::writeFailure(unwritten, path_).why};
  }
  if (look.report != nullptr) earlier_ = *look.report;
  journal_ = std::move(journal);
  guard_ = std::make_unique<PDXOutputGuard>(
      path_, owned, [this](const std::string& file) { return journal_->append(file + "\n"); });
  return std::nullopt;
}

std::string PDXOutputFolder::startPagePath() const {
  return guard_->freePath(PDXFiles::joined(path_, kStartPage));
}

std::string PDXOutputFolder::reportPath() const { return guard_->freePath(PDXFiles::joined(path_, kReport)); }

std::vector<std::string> PDXOutputFolder::files() const {
  const auto owned = guard_->owned();
  std::set<std::string> files(owned.begin(), owned.end());
  for (const std::string& path : {startPagePath(), reportPath()}) files.insert(path.substr(path_.size() + 1));
  return {files.begin(), files.end()};
}

std::vector<std::string> PDXOutputFolder::inTheWay() const { return guard_->inTheWay(); }

void PDXOutputFolder::close(bool isReported) {
  if (journal_ != nullptr && (isReported || guard_->owned().empty())) journal_->remove();
  guard_.reset();
  journal_.reset();
}
