#include "backup/BackupNavigationManifestDb.h"

#include <utility>

#include "backup/ScratchFolder.h"
#include "platform/Crypto.h"
#include "platform/Files.h"
#include "platform/Log.h"

namespace {

/// Whether changes wait in a write-ahead log beside a database, or something stands in its place.
bool hasLog(const std::string& path) {
  const std::string log = path + "-wal";
  return PDXFiles::isLink(log) || PDXFiles::sizeOf(log).value_or(0) > 0;
}

PDXBackupFile recordOf(const PDXSQLiteStatement& rows) { return {rows.text(1), rows.text(0), rows.text(2)}; }

/// The archived metadata object: the archive's first object after its null.
std::optional<PDXPropertyList> attributesOf(const PDXBytes& archive) {
  const auto list = archive.empty() ? std::nullopt : PDXPropertyList::parse(archive);
  const PDXPropertyList* objects = list ? list->find("$objects") : nullptr;
  const PDXPropertyList* object = objects == nullptr ? nullptr : objects->at(1);
  return object == nullptr ? std::nullopt : std::optional(*object);
}

/// Small numbers may stand in the record itself only; others behind a reference are not looked up.
std::optional<std::uint64_t> sizeOf(const std::optional<PDXPropertyList>& attributes) {
  const PDXPropertyList* size = attributes ? attributes->find("Size") : nullptr;
  if (size == nullptr || size->integer() == nullptr || *size->integer() < 0) return std::nullopt;
  return static_cast<std::uint64_t>(*size->integer());
}

}  // namespace

/// An open manifest for the length of one operation.
class PDXBackupNavigationManifestDb::Session {
 public:
  explicit Session(PDXBackupNavigationManifestDb& navigator)
      : navigator_(navigator), isOpen_(navigator.openDatabase_()) {}
  ~Session() {
    if (isOpen_) navigator_.closeDatabase_();
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  explicit operator bool() const { return isOpen_; }

  /// Hands every row of the statement to `use`. A row that cannot be read ends them; those before it count.
  template <typename Use>
  void forEachRow(const std::string& sql, Use use) {
    auto rows = navigator_.manifestDatabase_->prepare(sql);
    if (!rows.isValid()) navigator_.reportOnce_(navigator_.manifestDatabase_->error());
    while (rows.step()) use(rows);
    if (rows.failed()) navigator_.reportOnce_(navigator_.manifestDatabase_->error());
  }

 private:
  PDXBackupNavigationManifestDb& navigator_;
  bool isOpen_;
};

PDXBackupNavigationManifestDb::PDXBackupNavigationManifestDb(std::string fullBackupPath)
    : fullBackupPath_(std::move(fullBackupPath)) {}

PDXBackupNavigationManifestDb::~PDXBackupNavigationManifestDb() {
  if (!scratchFolder_.empty()) PDXFiles::removeTree(scratchFolder_);
}

bool PDXBackupNavigationManifestDb::openDatabase_() {
  dbLock_.lock();
  auto database = std::make_unique<PDXSQLiteDatabase>(openManifest_());
  if (!database->isOpen()) {
    dbLock_.unlock();
    return false;
  }
  manifestDatabase_ = std::move(database);
  return true;
}

void PDXBackupNavigationManifestDb::closeDatabase_() {
  manifestDatabase_.reset();
  dbLock_.unlock();
}

PDXSQLiteDatabase PDXBackupNavigationManifestDb::openManifest_() {
  const std::lock_guard guard(scratchLock_);
  manifestPath_ = pathToOpen_();
  // SQLite opens by path and would follow a link: it is looked at before.
  if (!PDXFiles::isRegularFile(manifestPath_)) {
    reportOnce_(PDXFileReader(manifestPath_).isMissing() ? "there is no such file"
                                                         : PDXFileReader(manifestPath_).error());
    return {};
  }
  if (hasLog(manifestPath_)) return PDXSQLiteDatabase(scratchCopyOf_(manifestPath_));
  // Also keeps SQLite from a journal beside it, whose last bytes may name any file for it to delete.
  PDXSQLiteDatabase database(manifestPath_, PDXSQLiteAccess::immutable);
  if (!database.isOpen()) reportOnce_(database.error());
  return database;
}

std::string PDXBackupNavigationManifestDb::pathToOpen_() const {
  if (!manifestDbIsEncrypted_) return PDXFiles::joined(fullBackupPath_, "Manifest.db");
  if (!decipheredManifest_.empty()) return decipheredManifest_;
  std::string usual = PDXFiles::joined(fullBackupPath_, "Manifest_d.db");
  // Where names differ by their case, a copy made elsewhere may have come in the other spelling.
  std::string other = PDXFiles::joined(fullBackupPath_, "manifest_d.db");
  return PDXFiles::isRegularFile(usual) || !PDXFiles::isRegularFile(other) ? usual : other;
}

void PDXBackupNavigationManifestDb::setDecipheredManifest(const std::string& path) {
  const std::lock_guard guard(findLock_);
  decipheredManifest_ = path;
  findStatement_.reset();
  findDatabase_.reset();
}

std::string PDXBackupNavigationManifestDb::scratchCopyOf_(const std::string& manifest) {
  if (scratchFolder_.empty()) {
    scratchFolder_ = PDXFiles::joined(PDXScratchFolder::path(), "manifest-" + sha_1(manifest).substr(0, 16));
  }
  std::string copy = PDXFiles::joined(scratchFolder_, "Manifest.db");
  if (PDXFiles::exists(copy)) return copy;
  PDXFiles::makePrivateFolder(scratchFolder_);
  for (const char* companion : {"-wal", ""}) {
    const std::string source = manifest + companion;
    if (!PDXFiles::isLink(source) && PDXFiles::sizeOf(source).value_or(0) == 0) continue;
    if (const auto result = PDXFiles::copy(source, copy + companion); !result) reportOnce_(result.why);
  }
  return copy;
}

void PDXBackupNavigationManifestDb::reportOnce_(const std::string& why) {
  if (std::exchange(hasReported_, true)) return;
  PDXLog::report({.what = "manifest", .where = manifestPath_, .why = why});
}

std::optional<PDXBackupFile> PDXBackupNavigationManifestDb::GetFileByRelativePathInDomain(
    const std::string& path, const std::string& domain) {
  // A quote would end the text in the statement, and what follows it be run: such a name finds nothing.
  if (path.find('\'') != std::string::npos || domain.find('\'') != std::string::npos) return std::nullopt;
  Session session(*this);
  if (!session) return std::nullopt;
  auto rows = manifestDatabase_->prepare("select fileID from Files where relativePath = '" + path +
                                         "' and domain = '" + domain + "'");
  const std::string identifier = rows.step() ? rows.text(0) : "";
  if (identifier.empty()) return std::nullopt;
  return PDXBackupFile(path, identifier, domain);
}

std::optional<PDXBackupFile> PDXBackupNavigationManifestDb::findFile(const std::string& path,
                                                                     const std::string& domain) {
  const std::lock_guard guard(findLock_);
  if (findDatabase_ == nullptr) {
    findDatabase_ = std::make_unique<PDXSQLiteDatabase>(openManifest_());
    findStatement_ = std::make_unique<PDXSQLiteStatement>(
        findDatabase_->prepare("select fileID from Files where relativePath = ? and domain = ?"));
    if (findDatabase_->isOpen() && !findStatement_->isValid()) reportOnce_(findDatabase_->error());
  }
  findStatement_->bind(1, std::string_view(path));
  findStatement_->bind(2, std::string_view(domain));
  const std::string identifier = findStatement_->step() ? findStatement_->text(0) : "";
  if (findStatement_->failed()) reportOnce_(findDatabase_->error());
  findStatement_->reset();
  if (identifier.empty()) return std::nullopt;
  return PDXBackupFile(path, identifier, domain);
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigationManifestDb::GetAllFiles() {
  Session session(*this);
  if (!session) return std::nullopt;
  std::vector<PDXBackupFile> files;
  session.forEachRow("select fileID, relativePath, domain FROM Files",
                     [&files](const PDXSQLiteStatement& row) { files.push_back(recordOf(row)); });
  return files;
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigationManifestDb::regularFiles() {
  Session session(*this);
  if (!session) return std::nullopt;
  std::vector<PDXBackupFile> files;
  session.forEachRow("select fileID, relativePath, domain from Files where flags=1",
                     [&files](const PDXSQLiteStatement& row) { files.push_back(recordOf(row)); });
  return files;
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigationManifestDb::listedFiles() {
  Session session(*this);
  if (!session) return std::nullopt;
  std::vector<PDXBackupFile> files;
  session.forEachRow("select fileID, relativePath, domain, file from Files where flags=1",
                     [&files](const PDXSQLiteStatement& row) {
                       files.push_back(recordOf(row));
                       files.back().size = sizeOf(attributesOf(row.blob(3)));
                     });
  return files;
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigationManifestDb::GetFilesByDomain(
    const std::string& domain) {
  Session session(*this);
  if (!session) return std::nullopt;
  std::vector<PDXBackupFile> files;
  session.forEachRow(
      "select fileID, relativePath, domain, flags, file, LENGTH(file) from Files where domain = '" + domain +
          "' AND flags=1",
      [&files](const PDXSQLiteStatement& row) {
        files.push_back(recordOf(row));
        files.back().fileAttributes = attributesOf(row.blob(4));
      });
  return files;
}

std::optional<std::vector<std::string>> PDXBackupNavigationManifestDb::GetAllDomainNames() {
  Session session(*this);
  if (!session) return std::nullopt;
  std::vector<std::string> names;
  session.forEachRow("select domain from Files  GROUP BY domain",
                     [&names](const PDXSQLiteStatement& row) { names.push_back(row.text(0)); });
  return names;
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigationManifestDb::GetSubFolderContentInDomain(
    const std::optional<std::string>& folder, const std::string& domain) {
  Session session(*this);
  if (!session) return std::nullopt;
  std::string sql =
      "select fileID, relativePath, domain, flags from Files where domain = '" + domain + "' AND flags=1 ";
  if (folder) sql += "AND relativePath LIKE '" + *folder + "%' ";
  std::vector<PDXBackupFile> files;
  session.forEachRow(sql, [&](const PDXSQLiteStatement& row) {
    if (!folder || row.text(1) != *folder) files.push_back(recordOf(row));
  });
  return files;
}
