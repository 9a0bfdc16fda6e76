#include "backup/BackupNavigationMbdb.h"

#include <string_view>
#include <unordered_set>
#include <utility>

#include "backup/SQLiteHelper.h"
#include "backup/ScratchFolder.h"
#include "platform/Crypto.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Text.h"

namespace {

constexpr const char* kCreate =
    "create table files ( id INTEGER PRIMARY KEY AUTOINCREMENT, relativePath text, domain text, fileID text, "
    "key "
    "blob)";

/// Manifests come with device names of their own choice; the cache's must stay in the scratch folder.
std::string cachePath(const std::string& deviceId) {
  return PDXFiles::joined(PDXScratchFolder::path(),
                          std::string(PDXText::lastPathComponent(deviceId)) + ".db");
}

}  // namespace

PDXBackupNavigationMbdb::PDXBackupNavigationMbdb(std::string fullBackupPath, const std::string& deviceId)
    : fullBackupPath_(std::move(fullBackupPath)) {
  if (!PDXScratchFolder::isSafe()) return;
  // Whoever still reads an older cache of that name keeps the file that was there.
  const std::string path = cachePath(deviceId);
  PDXScratchFolder::makeRoomFor(path);
  cache_ = PDXSQLiteDatabase(path, PDXSQLiteAccess::create);
  if (!readManifestMbdb_()) cache_ = PDXSQLiteDatabase();
  find_.emplace(cache_.prepare("select fileID, key from Files where relativePath = ? and domain = ?"));
}

bool PDXBackupNavigationMbdb::readManifestMbdb_() {
  const std::string manifest = PDXFiles::joined(fullBackupPath_, "Manifest.mbdb");
  cache_.run("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF");
  if (!PDXSQLiteHelper::doesDatabaseContainTable(cache_, "files") && !cache_.run(kCreate)) {
    PDXLog::report({.what = "scratch folder", .where = PDXScratchFolder::path(), .why = cache_.error()});
    return false;
  }
  if (PDXFiles::isMissing(manifest)) {
    PDXLog::report({.what = "manifest", .where = manifest, .why = "there is no such file"});
    return false;
  }
  const bool isFilled = cache_.run("BEGIN") && fillCache_(manifest) && cache_.run("COMMIT") &&
                        cache_.run("CREATE INDEX byPath ON files (relativePath, domain)") &&
                        cache_.run("CREATE INDEX byIdentifier ON files (fileID) WHERE key IS NOT NULL");
  if (!isFilled) PDXScratchFolder::reportFull(cache_.error(), "the list of files");
  return isFilled;
}

bool PDXBackupNavigationMbdb::fillCache_(const std::string& manifest) {
  const auto names = PDXFiles::list(fullBackupPath_);
  const std::unordered_set<std::string_view> stored(names.begin(), names.end());
  auto row = cache_.prepare("INSERT INTO files (relativePath, domain, fileID, key) VALUES (?, ?, ?, ?)");
  PDXBinaryManifest records(manifest);
  while (const auto record = records.next()) {
    if (record->path.empty() || record->isLink) continue;
    const std::string fileId = sha_1(record->domain + "-" + record->path);
    if (!stored.contains(fileId)) continue;
    row.bind(1, std::string_view(PDXText::valid(record->path)));
    row.bind(2, std::string_view(PDXText::valid(record->domain)));
    row.bind(3, std::string_view(fileId));
    if (record->encryptionKey.empty()) {
      row.bindNull(4);
    } else {
      row.bind(4, record->encryptionKey);
    }
    row.step();
    if (row.failed()) return false;
    row.reset();
  }
  if (records.isCut()) {
    constexpr const char* kCut = "it ends in the middle of a record; files listed behind it cannot be found";
    PDXLog::report(
        {.what = "manifest", .where = manifest, .why = records.error().empty() ? kCut : records.error()});
  }
  return true;
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigationMbdb::filesOf_(const std::string& rest) {
  const std::lock_guard guard(lock_);
  if (!cache_.isOpen()) return std::nullopt;
  std::vector<PDXBackupFile> files;
  auto row = cache_.prepare("SELECT fileID, relativePath, domain FROM Files" + rest);
  while (row.step()) files.emplace_back(row.text(1), row.text(0), row.text(2));
  return files;
}

std::optional<PDXBackupFile> PDXBackupNavigationMbdb::GetFileByRelativePathInDomain(
    const std::string& path, const std::string& domain) {
  // A quote would end the text in the statement, and what follows it be run: such a name finds nothing.
  if (path.find('\'') != std::string::npos || domain.find('\'') != std::string::npos) return std::nullopt;
  auto file = findFile(path, domain);
  if (file) file->encryptionKey.clear();
  return file;
}

std::optional<PDXBackupFile> PDXBackupNavigationMbdb::findFile(const std::string& path,
                                                               const std::string& domain) {
  const std::lock_guard guard(lock_);
  if (!find_) return std::nullopt;
  find_->bind(1, std::string_view(path));
  find_->bind(2, std::string_view(domain));
  std::optional<PDXBackupFile> file;
  if (find_->step()) {
    file.emplace(path, find_->text(0), domain);
    file->encryptionKey = find_->blob(1);
  }
  find_->reset();
  return file;
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigationMbdb::GetFilesByDomain(
    const std::string& domain) {
  return filesOf_(" WHERE domain='" + domain + "';");
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigationMbdb::GetAllFiles() { return filesOf_(""); }

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigationMbdb::regularFiles() { return filesOf_(""); }

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigationMbdb::listedFiles() {
  if (!cache_.isOpen()) return std::nullopt;
  std::vector<PDXBackupFile> files;
  PDXBinaryManifest records(PDXFiles::joined(fullBackupPath_, "Manifest.mbdb"));
  while (const auto record = records.next()) {
    if (record->path.empty() || record->isLink || record->isFolder()) continue;
    files.emplace_back(PDXText::valid(record->path), sha_1(record->domain + "-" + record->path),
                       PDXText::valid(record->domain));
    files.back().encryptionKey = record->encryptionKey;
    files.back().size = record->size;
  }
  return files;
}

std::optional<std::vector<std::string>> PDXBackupNavigationMbdb::GetAllDomainNames() {
  const std::lock_guard guard(lock_);
  if (!cache_.isOpen()) return std::nullopt;
  std::vector<std::string> names;
  auto row = cache_.prepare("SELECT domain FROM Files GROUP BY domain;");
  while (row.step()) names.push_back(row.text(0));
  return names;
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigationMbdb::GetSubFolderContentInDomain(
    const std::optional<std::string>& folder, const std::string& domain) {
  auto files = filesOf_(" WHERE domain='" + domain + "'" +
                        (folder ? " AND relativePath LIKE '" + *folder + "%'" : ""));
  if (files && folder)
    std::erase_if(*files, [&](const PDXBackupFile& file) { return file.relativePath == *folder; });
  return files;
}

PDXBytes PDXBackupNavigationMbdb::GetEncryptionKeyForFileId(const std::string& fileId) {
  const std::lock_guard guard(lock_);
  auto row = cache_.prepare("SELECT key, LENGTH(key) FROM Files WHERE fileId= ? AND key IS NOT NULL");
  row.bind(1, std::string_view(fileId));
  return row.step() ? row.blob(0) : PDXBytes();
}
