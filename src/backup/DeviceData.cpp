#include "backup/DeviceData.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "backup/BackupInformation.h"
#include "backup/BackupLocations.h"
#include "backup/BackupNavigationManifestDb.h"
#include "backup/BackupNavigationMbdb.h"
#include "backup/ScratchFolder.h"
#include "platform/Log.h"
#include "platform/Sqlite.h"
#include "platform/Text.h"

namespace {

constexpr const char* kHomeDomain = "HomeDomain";

/// What the process keeps of the backup that was opened last.
struct Current {
  std::string deviceId;
  std::string backupPath;
  std::optional<std::string> customBackupPath;
  std::vector<std::function<void()>> forgetters;
};

Current& current() {
  static Current theCurrent;
  return theCurrent;
}

/// Forgets what is kept of the backup that was open, when the one at `path` is another.
void moveTo(const std::string& path) {
  const std::string before = std::exchange(current().backupPath, path);
  if (before.empty() || before == path) return;
  PDXScratchFolder::clear();
  for (const auto& forget : current().forgetters) forget();
}

/// The number before the first "." of a version text.
std::int32_t majorVersion(const std::string& version) {
  return PDXText::integerValue(version.substr(0, version.find('.')));
}

}  // namespace

PDXDeviceData::PDXDeviceData(const std::string& deviceId) { initateDeviceData_(deviceId); }

PDXDeviceData::~PDXDeviceData() {
  if (!manifestFolder_.empty()) PDXFiles::removeTree(manifestFolder_);
}

void PDXDeviceData::initateDeviceData_(const std::string& deviceId) {
  current().deviceId = deviceId;
  deviceId_ = deviceId;
  PDXBackupLocations::setActiveDeviceBackupPath(
      PDXFiles::joined(PDXBackupLocations::activeBackupDirectory(), deviceId));
  backupPath_ = FullBackupPath();
  moveTo(backupPath_);

  const PDXBackupInformation information(deviceId);
  isEncrypted_ = information.IsEncrypted();
  if (!information.Version().empty()) iosVersion_ = majorVersion(information.Version());
  getBackupTypeVersion_();
}

void PDXDeviceData::reload() { initateDeviceData_(DeviceId()); }

std::int32_t PDXDeviceData::getBackupTypeVersion_() {
  if (backupTypeVersion_ != -1) return backupTypeVersion_;
  const auto status = PDXPropertyList::parseFile(PDXFiles::joined(backupPath_, "Status.plist"));
  const PDXPropertyList* version = status ? status->find("Version") : nullptr;
  if (version != nullptr && version->string() != nullptr)
    backupTypeVersion_ = majorVersion(*version->string());
  return backupTypeVersion_;
}

std::unique_ptr<PDXBackupNavigation> PDXDeviceData::getNavigatorClass_() const {
  return navigatorFor_(backupTypeVersion_, isEncrypted_);
}

std::unique_ptr<PDXBackupNavigation> PDXDeviceData::navigatorFor_(std::int32_t typeVersion,
                                                                  bool isManifestEncrypted) const {
  if (typeVersion == 2) return std::make_unique<PDXBackupNavigationMbdb>(backupPath_, deviceId_);
  if (typeVersion != 3) return std::make_unique<PDXBackupNavigationFileHash>();
  auto navigator = std::make_unique<PDXBackupNavigationManifestDb>(backupPath_);
  navigator->setManifestDbIsEncrypted(isManifestEncrypted);
  return navigator;
}

std::unique_ptr<PDXBackupExtraction> PDXDeviceData::getExtractorClass_() {
  return extractorFor_(backupTypeVersion_);
}

std::unique_ptr<PDXBackupExtraction> PDXDeviceData::extractorFor_(std::int32_t typeVersion) {
  if (!isEncrypted_ || (typeVersion != 2 && typeVersion != 3))
    return std::make_unique<PDXBackupExtractionDirectCopy>(backupPath_);
  if (manifestFolder_.empty()) manifestFolder_ = PDXScratchFolder::makeFolder("manifest-");
  const PDXManifestPlace place{.folder = manifestFolder_, .mayWriteBackup = !isReadOnly_, .stop = stop_};
  const PDXByteView password = password_ ? PDXByteView(*password_) : PDXByteView();
  if (typeVersion == 2)
    return std::make_unique<PDXBackupExtractionMbdbWithEncryption>(backupPath_, password, place);
  return std::make_unique<PDXBackupExtractionIOS10Encrypted>(backupPath_, password, place);
}

/// The kind of manifest by what lies in the folder, where "Status.plist" does not tell.
std::int32_t PDXDeviceData::manifestKind_() const {
  if (backupTypeVersion_ == 2 || backupTypeVersion_ == 3) return backupTypeVersion_;
  if (!PDXFiles::isMissing(PDXFiles::joined(backupPath_, "Manifest.db"))) return 3;
  return PDXFiles::isMissing(PDXFiles::joined(backupPath_, "Manifest.mbdb")) ? backupTypeVersion_ : 2;
}

void PDXDeviceData::makeReady_() {
  const std::lock_guard guard(readyLock_);
  getBackupTypeVersion_();
  if (extractor_ != nullptr && navigator_ != nullptr) return;
  if (extractor_ == nullptr) extractor_ = getExtractorClass_();
  if (navigator_ == nullptr) navigator_ = getNavigatorClass_();

  const std::int32_t kind = manifestKind_();
  const bool isTold = kind == backupTypeVersion_;
  if (!isTold && isEncrypted_ && reader_ == nullptr) reader_ = extractorFor_(kind);
  const auto* enciphered = encryptedReader_();
  const bool isManifestEncrypted = enciphered != nullptr && enciphered->IsManifestDbEncrypted();
  // The given navigator takes every encrypted backup's manifest for enciphered; those of system 10.0 are not.
  const bool isPlainBesideEncrypted = kind == 3 && isEncrypted_ && !isManifestEncrypted;
  if ((!isTold || isPlainBesideEncrypted) && finder_ == nullptr)
    finder_ = navigatorFor_(kind, isManifestEncrypted);
  showManifest_();
}

/// The extractor that deciphers; null for a plain backup.
const PDXBackupExtractionWithEncryption* PDXDeviceData::encryptedReader_() const {
  const auto* reader = reader_ != nullptr ? reader_.get() : extractor_.get();
  return dynamic_cast<const PDXBackupExtractionWithEncryption*>(reader);
}

/// Has the navigators read the manifest that the extractor deciphered.
void PDXDeviceData::showManifest_() {
  const auto* enciphered = encryptedReader_();
  if (enciphered == nullptr || !enciphered->IsManifestDbEncrypted()) return;
  for (PDXBackupNavigation* navigator : {navigator_.get(), finder_.get()}) {
    if (auto* database = dynamic_cast<PDXBackupNavigationManifestDb*>(navigator))
      database->setDecipheredManifest(enciphered->manifestPath());
  }
}

PDXBackupNavigation& PDXDeviceData::readyNavigator_() {
  makeReady_();
  return *navigator_;
}

PDXBackupNavigation& PDXDeviceData::readyFinder_() {
  makeReady_();
  return finder_ != nullptr ? *finder_ : *navigator_;
}

PDXBackupExtraction& PDXDeviceData::readyReader_() {
  makeReady_();
  return reader_ != nullptr ? *reader_ : *extractor_;
}

/// An older encrypted backup keeps the files' keys in its manifest.
PDXBackupFile PDXDeviceData::withKey_(PDXBackupFile file, PDXBackupNavigation& navigator) const {
  if (isEncrypted_ && file.encryptionKey.empty())
    file.encryptionKey = navigator.GetEncryptionKeyForFileId(file.fileId);
  return file;
}

void PDXDeviceData::setAppIsClosing(bool isClosing) {
  readyReader_().setAppIsClosing(isClosing);
  extractor_->setAppIsClosing(isClosing);
}

std::optional<std::string_view> PDXDeviceData::Password() const {
  if (!password_) return std::nullopt;
  return std::string_view(reinterpret_cast<const char*>(password_->data()), password_->size());
}

PDXDeviceDataEncryption::Trial PDXDeviceData::unlock(std::string_view password, const std::stop_token& stop) {
  if (!isEncrypted_) return {PDXUnlocking::opened, ""};
  setPassword(password);
  auto trial = PDXDeviceDataEncryption::tryPassword(backupPath_, *password_, stop);
  const std::lock_guard guard(readyLock_);
  stop_ = stop;
  extractor_.reset();
  reader_.reset();
  return trial;
}

std::string PDXDeviceData::GetFilesByFeatureType(int feature) {
  readyNavigator_();
  return extractKeyFile_(feature, *extractor_);
}

/// The scratch copy of a feature's main file, with its siblings beside it; "" when there is none.
std::string PDXDeviceData::extractKeyFile_(int feature, PDXBackupExtraction& extractor) {
  std::string keyFilePath;
  PDXBackupNavigation& navigator = readyNavigator_();
  const auto files = navigator.GetFilesByFeatureType(feature);
  for (const PDXBackupFile& file : files.value_or(std::vector<PDXBackupFile>())) {
    const std::string copy = extractor.extractFile(withKey_(file, finder_ != nullptr ? *finder_ : navigator));
    if (file.isKeyFile) keyFilePath = copy;
  }
  return keyFilePath;
}

std::string PDXDeviceData::databaseOfFeature(int feature) {
  PDXBackupExtraction& reader = readyReader_();
  std::string database = extractKeyFile_(feature, reader);
  const auto files = navigator_->GetFilesByFeatureType(feature);
  if (!files) return database;
  const PDXBackupFile& keyFile = files->front();
  if (database.empty()) {
    reportIfLost(keyFile.relativePath, keyFile.domain.value_or(kHomeDomain));
    return database;
  }
  if (const std::string why = PDXSQLiteDatabase::completeCutFile(database); !why.empty()) {
    PDXLog::report({.what = "database", .where = keyFile.relativePath, .why = why});
  }
  const auto log =
      readyFinder_().findFile(keyFile.relativePath + "-wal", keyFile.domain.value_or(kHomeDomain));
  if (log && reader.isStored(*log)) reader.extractFile(withKey_(*log, readyFinder_()));
  return database;
}

PDXDatabaseFile PDXDeviceData::readableDatabaseOfFeature(int feature) {
  const auto files = readyNavigator_().GetFilesByFeatureType(feature);
  const std::string stored = files ? readyReader_().pathInPlace(files->front()) : "";
  if (stored.empty() || hasLog_(*files) || !PDXSQLiteDatabase::isWholeFile(stored)) {
    return {.path = databaseOfFeature(feature)};
  }
  PDXFiles::readAhead(stored);
  return {.path = stored, .access = PDXSQLiteAccess::immutable};
}

/// Whether any log of the main file, which stands first, is stored: under the identifier of its bare path or
/// as the manifest lists it.
bool PDXDeviceData::hasLog_(const std::vector<PDXBackupFile>& files) {
  const PDXBackupFile& keyFile = files.front();
  const auto listed =
      readyFinder_().findFile(keyFile.relativePath + "-wal", keyFile.domain.value_or(kHomeDomain));
  return (listed && readyReader_().isStored(*listed)) ||
         std::any_of(files.begin() + 1, files.end(),
                     [&](const PDXBackupFile& sibling) { return readyReader_().isStored(sibling); });
}

bool PDXDeviceData::reportIfLost(int feature) {
  const auto files = readyNavigator_().GetFilesByFeatureType(feature);
  return files && reportIfLost(files->front().relativePath, files->front().domain.value_or(kHomeDomain));
}

bool PDXDeviceData::reportIfLost(const std::string& path, const std::string& domain) {
  const auto listed = readyFinder_().findFile(path, domain);
  if (!listed || readyReader_().isStored(*listed)) return false;
  PDXLog::report({.what = "file",
                  .where = path,
                  .why = "the manifest lists it, but the backup folder does not hold it"});
  return true;
}

std::string PDXDeviceData::GetFileByRelativePathInDomain(const std::string& path, const std::string& domain) {
  PDXBackupNavigation& navigator = readyNavigator_();
  const auto file = navigator.GetFileByRelativePathInDomain(path, domain);
  return file ? extractor_->extractFile(withKey_(*file, navigator)) : "";
}

PDXFiles::CopyResult PDXDeviceData::copyOfFileByRelativePathInDomain(const std::string& path,
                                                                     const std::string& domain,
                                                                     const std::string& destination,
                                                                     const std::stop_token& stop) {
  PDXBackupNavigation& finder = readyFinder_();
  const auto file = finder.findFile(path, domain);
  if (!file) return {PDXFiles::CopyResult::Outcome::noSource, "the manifest does not list it"};
  return readyReader_().readableCopy(withKey_(*file, finder), destination, stop);
}

bool PDXDeviceData::holdsFileByRelativePathInDomain(const std::string& path, const std::string& domain) {
  const auto file = readyFinder_().findFile(path, domain);
  return file && readyReader_().isStored(*file);
}

bool PDXDeviceData::hasReadableManifest() {
  const bool isOlder = manifestKind_() == 2;
  const std::string manifest = PDXFiles::joined(backupPath_, isOlder ? "Manifest.mbdb" : "Manifest.db");
  if (PDXFiles::isMissing(manifest)) {
    PDXLog::report({.what = "manifest", .where = manifest, .why = "there is no such file"});
    return false;
  }
  return !domainNames().value_or(std::vector<std::string>()).empty();
}

bool PDXDeviceData::holdsFeature(int feature) {
  const auto files = readyNavigator_().GetFilesByFeatureType(feature);
  return files && readyReader_().isStored(files->front());
}

std::string PDXDeviceData::LocateFileByRelativePathInDomain(const std::string& path,
                                                            const std::string& domain) {
  const auto file = readyNavigator_().GetFileByRelativePathInDomain(path, domain);
  if (!file || file->fileId.empty()) return "";
  if (getBackupTypeVersion_() != 3) return PDXFiles::joined(backupPath_, file->fileId);
  return PDXFiles::joined(PDXFiles::joined(backupPath_, file->fileId.substr(0, 2)), file->fileId);
}

std::optional<std::map<std::string, PDXBackupFile>> PDXDeviceData::QueryFilesInDomain(
    const std::optional<std::string>& domain) {
  if (!domain) return std::nullopt;
  const auto files = readyNavigator_().GetFilesByDomain(*domain);
  if (!files || files->empty()) return std::nullopt;
  std::map<std::string, PDXBackupFile> byIdentifier;
  for (const PDXBackupFile& file : *files) {
    if (!file.fileId.empty() && !file.relativePath.empty()) byIdentifier[file.fileId] = file;
  }
  return byIdentifier;
}

std::vector<std::string> PDXDeviceData::GetFilesByDomain(const std::string& domain) {
  std::vector<std::string> paths;
  for (const auto& file : readyNavigator_().GetFilesByDomain(domain).value_or(std::vector<PDXBackupFile>())) {
    paths.push_back(file.relativePath);
  }
  return paths;
}

std::optional<std::vector<PDXBackupFile>> PDXDeviceData::GetSubFolderContentInDomain(
    const std::optional<std::string>& folder, const std::string& domain) {
  return readyNavigator_().GetSubFolderContentInDomain(folder, domain);
}

std::optional<std::vector<PDXBackupFile>> PDXDeviceData::GetAllFiles() {
  return readyNavigator_().GetAllFiles();
}

std::optional<std::vector<PDXBackupFile>> PDXDeviceData::regularFiles() {
  return readyFinder_().regularFiles();
}

std::optional<std::vector<PDXBackupFile>> PDXDeviceData::listedFiles() {
  return readyFinder_().listedFiles();
}

PDXDeviceData::StoredFile PDXDeviceData::storedFile(const PDXBackupFile& file) {
  auto opened = readyReader_().open(file);
  StoredFile stored{.path = std::move(opened.path), .reader = std::move(opened.reader), .key = {}};
  if (const auto* enciphered = encryptedReader_(); enciphered != nullptr && !stored.path.empty())
    stored.key = enciphered->fileKeyOf(file);
  return stored;
}

std::optional<std::vector<std::string>> PDXDeviceData::GetAllDomainNames() {
  return readyNavigator_().GetAllDomainNames();
}

std::optional<std::vector<std::string>> PDXDeviceData::domainNames() {
  return readyFinder_().GetAllDomainNames();
}

std::optional<std::vector<std::string>> PDXDeviceData::GetFiles() { return GetAllDomainNames(); }

bool PDXDeviceData::IsPasswordCorrect(const std::string&) {
  readyNavigator_();
  extractor_ = getExtractorClass_();
  showManifest_();
  return !GetFileByRelativePathInDomain("Library/Preferences/com.apple.springboard.plist", kHomeDomain)
              .empty();
}

std::string PDXDeviceData::DeviceId() { return current().deviceId; }

std::string PDXDeviceData::BaseBackupPath() { return PDXBackupLocations::activeBackupDirectory(); }

std::string PDXDeviceData::FullBackupPath() {
  if (current().customBackupPath) return PDXFiles::joined(*current().customBackupPath, current().deviceId);
  const std::string active = PDXBackupLocations::activeDeviceBackupPath();
  return active.empty() ? PDXFiles::joined(BaseBackupPath(), current().deviceId) : active;
}

std::optional<std::string> PDXDeviceData::customBackupPath() { return current().customBackupPath; }

void PDXDeviceData::setCustomBackupPath(const std::optional<std::string>& folder) {
  current().customBackupPath = folder;
}

std::string PDXDeviceData::TemporaryExtractPath() { return PDXScratchFolder::path(); }

std::optional<PDXPropertyList> PDXDeviceData::GetBackupInfoDictionary() {
  return PDXPropertyList::parseFile(PDXFiles::joined(FullBackupPath(), "Info.plist"));
}

void PDXDeviceData::whenAnotherOpens(std::function<void()> forget) {
  current().forgetters.push_back(std::move(forget));
}
