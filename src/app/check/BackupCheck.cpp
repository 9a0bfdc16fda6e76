#include "app/check/BackupCheck.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "app/export/ExportReport.h"
#include "backup/DeviceData.h"
#include "backup/FileDeciphering.h"
#include "backup/ScratchFolder.h"
#include "platform/Files.h"
#include "platform/GuardedFolder.h"
#include "platform/Log.h"
#include "platform/Memory.h"
#include "platform/PropertyList.h"
#include "platform/Sqlite.h"
#include "platform/Text.h"
#include "platform/Workers.h"

namespace {

using Kind = PDXCheckFinding::Kind;

constexpr std::size_t kBlock = 16;
constexpr std::size_t kIdentifierLength = 40;

bool isIdentifier(std::string_view name) {
  return name.size() == kIdentifierLength &&
         name.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/// SQLite changes these while the device makes the backup, so that the manifest's sizes lag behind.
bool changesWhileCopied(const std::string& path) {
  return path.ends_with("-wal") || path.ends_with("-shm") || path.ends_with("-journal");
}

/// Why a database does not pass the quick check; "" when it does.
std::string damageOfDatabase(const std::string& path) {
  const PDXSQLiteDatabase database(path, PDXSQLiteAccess::immutable);
  auto rows = database.prepare("PRAGMA quick_check(1)");
  if (!rows.step()) return rows.error().empty() ? database.error() : rows.error();
  std::string answer = rows.text(0);
  if (answer == "ok") return database.schemaDamage();
  // The code of SQLite for a page for which there was no memory: that is no damage.
  if (answer.ends_with("error code=7")) PDXMemory::throwIfLimited();
  std::replace(answer.begin(), answer.end(), '\n', ' ');
  return PDXText::printable(answer);  // It quotes names as they stand in the file.
}

/// Checks one file after the other; each worker has one, with a scratch folder of its own.
class FileCheck {
 public:
  FileCheck(PDXDeviceData& deviceData, std::stop_token stop)
      : deviceData_(deviceData), stop_(std::move(stop)), scratch_(PDXScratchFolder::makeFolder("check-")) {}
  ~FileCheck() {
    if (!scratch_.empty()) PDXFiles::removeTree(scratch_);
  }
  FileCheck(const FileCheck&) = delete;
  FileCheck& operator=(const FileCheck&) = delete;

  std::optional<PDXCheckFinding> finding(const PDXBackupFile& file) {
    auto stored = deviceData_.storedFile(file);
    if (stored.path.empty()) {
      // A device does not always store a file that is empty.
      if (file.size == 0U) return std::nullopt;
      return found(Kind::missing, file, "the folder does not hold it");
    }
    if (!stored.reader.error().empty()) return found(Kind::unreadable, file, stored.reader.error());
    if (stored.reader.size() == 0 && file.size.value_or(0) == 0) return std::nullopt;
    return deviceData_.IsEncrypted() ? findingInEnciphered(file, stored) : findingInPlain(file, stored);
  }

  std::uint64_t databases() const { return databases_; }

 private:
  static PDXCheckFinding found(Kind kind, const PDXBackupFile& file, std::string why) {
    return {kind, file.fileId, file.domain.value_or(""), file.relativePath, std::move(why)};
  }

  static bool isDatabase(const std::uint8_t* bytes, std::size_t count) {
    constexpr std::string_view kBeginning("SQLite format 3\0", kBlock);
    return count == kBlock && std::equal(bytes, bytes + count, kBeginning.begin());
  }

  std::optional<PDXCheckFinding> findingInPlain(const PDXBackupFile& file,
                                                PDXDeviceData::StoredFile& stored) {
    PDXFileReader& reader = stored.reader;
    PDXBytes beginning(kBlock);
    beginning.resize(reader.read(beginning.data(), kBlock));
    if (!reader.error().empty()) return found(Kind::unreadable, file, reader.error());
    if (isDatabase(beginning.data(), beginning.size())) return findingInDatabase(file, stored.path);
    return findingInSize(file, reader.size());
  }

  std::optional<PDXCheckFinding> findingInEnciphered(const PDXBackupFile& file,
                                                     PDXDeviceData::StoredFile& stored) {
    PDXFileReader& reader = stored.reader;
    if (!stored.key.isIntact) return found(Kind::undecipherable, file, stored.key.why);
    if (reader.size() % kBlock != 0 || reader.size() == 0) {
      return found(Kind::undecipherable, file,
                   "its size is no whole number of cipher blocks: it was cut off");
    }
    const auto first = PDXFileDeciphering::blockAt(reader, stored.key.key, 0);
    const auto last = PDXFileDeciphering::blockAt(reader, stored.key.key, reader.size() - kBlock);
    if (!first || !last) return found(Kind::unreadable, file, reader.error());
    const std::size_t padding = PDXFileDeciphering::paddingOf(*last);
    if (padding == 0)
      return found(Kind::undecipherable, file,
                   "it does not end as a deciphered file does: it is damaged or cut off");
    if (isDatabase(first->data(), first->size())) return findingInEncipheredDatabase(file, stored);
    return findingInSize(file, reader.size() - padding);
  }

  std::optional<PDXCheckFinding> findingInEncipheredDatabase(const PDXBackupFile& file,
                                                             PDXDeviceData::StoredFile& stored) {
    if (scratch_.empty()) return found(Kind::unreadable, file, "it needs a scratch folder: set TMPDIR");
    const std::string copy = PDXFiles::joined(scratch_, "database");
    const auto result = PDXFileDeciphering::decipher(stored.reader, stored.key.key, copy,
                                                     PDXFileDeciphering::Tail::trimmed, stop_);
    if (result.outcome == PDXFiles::CopyResult::Outcome::writeFailed) {
      return found(Kind::unreadable, file,
                   "no room to check it in the scratch folder (" + result.why + "): set TMPDIR to another");
    }
    if (!result) return found(Kind::unreadable, file, result.why);
    auto finding = findingInDatabase(file, copy);
    PDXFiles::remove(copy);
    return finding;
  }

  std::optional<PDXCheckFinding> findingInDatabase(const PDXBackupFile& file, const std::string& path) {
    ++databases_;
    const std::string why = damageOfDatabase(path);
    return why.empty() ? std::nullopt : std::optional(found(Kind::database, file, why));
  }

  static std::optional<PDXCheckFinding> findingInSize(const PDXBackupFile& file, std::uint64_t size) {
    if (!file.size || size >= *file.size || changesWhileCopied(file.relativePath)) return std::nullopt;
    return found(Kind::shorter, file,
                 "it holds " + std::to_string(size) + " bytes of " + std::to_string(*file.size));
  }

  PDXDeviceData& deviceData_;
  std::stop_token stop_;
  std::string scratch_;
  std::uint64_t databases_ = 0;
};

/// The property lists that make a folder a backup.
std::vector<PDXCheckFinding> findingsInLists(const std::string& folder) {
  std::vector<PDXCheckFinding> findings;
  for (const char* name : {"Info.plist", "Manifest.plist", "Status.plist"}) {
    const std::string path = PDXFiles::joined(folder, name);
    if (PDXPropertyList::parseFile(path)) continue;
    const PDXFileReader file(path);
    findings.push_back({Kind::list, "", "", name,
                        file.isMissing()       ? "there is no such file"
                        : file.error().empty() ? "it is no property list"
                                               : file.error()});
  }
  return findings;
}

/// Stored files that the manifest does not list, by name.
std::vector<PDXCheckFinding> orphansIn(const PDXGuardedFolder& folder,
                                       const std::vector<PDXBackupFile>& listed) {
  using What = PDXGuardedFolder::What;
  std::unordered_set<std::string_view> known;
  for (const PDXBackupFile& file : listed) known.insert(file.fileId);
  std::vector<PDXCheckFinding> orphans;
  const auto look = [&](const std::string& place, const std::string& name) {
    if (known.contains(name) || folder.whatIs(place) == What::folder) return;
    orphans.push_back(
        {Kind::orphan, isIdentifier(name) ? name : "", "", place, "the manifest does not list it"});
  };
  for (const std::string& name : folder.list("")) {
    if (isIdentifier(name)) look(name, name);
    if (name.size() != 2) continue;
    if (folder.whatIs(name) == What::link)
      orphans.push_back({Kind::orphan, "", "", name, "it is a link, which a backup never contains"});
    for (const std::string& inner : folder.list(name)) look(PDXFiles::joined(name, inner), inner);
  }
  return orphans;
}

}  // namespace

const char* PDXCheckFinding::nameOf(Kind kind) {
  constexpr const char* kNames[] = {"list",           "manifest", "missing",  "unreadable",
                                    "undecipherable", "shorter",  "database", "orphan"};
  return kNames[static_cast<std::size_t>(kind)];
}

PDXCheckResult PDXBackupCheck::run(const Progress& progress, const std::stop_token& stop) {
  PDXCheckResult result;
  result.findings = findingsInLists(deviceData_.backupPath());
  PDXProblemCollector problems;
  const auto listed = deviceData_.listedFiles();
  for (const PDXProblem& problem : problems.problems())
    result.findings.push_back({Kind::manifest, "", "", problem.where, problem.why});
  if (!listed) {
    if (problems.problems().empty())
      result.findings.push_back({Kind::manifest, "", "", "manifest", "it cannot be read"});
    return result;
  }
  result.files = listed->size();

  std::vector<std::optional<PDXCheckFinding>> found(listed->size());
  std::atomic<std::size_t> next = 0;
  std::mutex lock;
  std::size_t done = 0;
  {
    const auto work = [&](unsigned) {
      FileCheck check(deviceData_, stop);
      for (std::size_t i = next++; i < listed->size() && !stop.stop_requested(); i = next++) {
        found[i] = check.finding((*listed)[i]);
        const std::lock_guard guard(lock);
        progress(++done, listed->size());
      }
      const std::lock_guard guard(lock);
      result.databases += check.databases();
    };
    PDXWorkers::run(jobs_, work, [&] { next = listed->size(); });
  }
  for (auto& finding : found) {
    if (finding) result.findings.push_back(std::move(*finding));
  }
  auto orphans = orphansIn(PDXGuardedFolder(deviceData_.backupPath()), *listed);
  std::move(orphans.begin(), orphans.end(), std::back_inserter(result.findings));
  result.wasStopped = stop.stop_requested();
  return result;
}
