#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "backup/BackupExtractionWithEncryption.h"
#include "backup/BackupFile.h"
#include "backup/BackupNavigation.h"
#include "platform/Files.h"
#include "platform/Sqlite.h"

/// Where a database lies, and how it must be opened.
struct PDXDatabaseFile {
  std::string path;  ///< "" when there is none.
  PDXSQLiteAccess access = PDXSQLiteAccess::scratch;
};

/// The opened backup, and the only way into it: every content reader is handed one and asks it for files.
///
/// One backup is open at a time. The current device identifier and the override folder belong to the process;
/// opening another backup re-points them, clears the scratch folder and tells whoever asked to be told.
/// Errors: none leave it. A missing list, record or stored file is an empty answer.
/// Threads: `copyOfFileByRelativePathInDomain` may be called from several at once, everything else from one.
class PDXDeviceData {
 public:
  /// Opens the backup of that identifier (the name of its folder) in `FullBackupPath()`.
  explicit PDXDeviceData(const std::string& deviceId);
  ~PDXDeviceData();
  PDXDeviceData(const PDXDeviceData&) = delete;
  PDXDeviceData& operator=(const PDXDeviceData&) = delete;

  /// Reads the backup's information again for the class's `DeviceId()`.
  void reload();

  /// The scratch copy of a feature's main file; "" when there is none. Its "-wal" and "-shm" siblings lie
  /// beside it when the backup stores them under the identifier of their bare path.
  std::string GetFilesByFeatureType(int feature);

  /// The same, with the write-ahead log that the manifest lists by its path, so that the newest rows are not
  /// lost. This is what readers open.
  std::string databaseOfFeature(int feature);

  /// A feature's main file for reading alone: the stored file itself where that will do, since a copy of it
  /// may take long and much room, else the same copy as above. The stored file does when it is not
  /// enciphered, is whole and has no log; it must be opened as `immutable`.
  PDXDatabaseFile readableDatabaseOfFeature(int feature);

  /// The scratch copy of a file; "" when the manifest does not list it, also when a value holds a single
  /// quote, or it is not stored.
  std::string GetFileByRelativePathInDomain(const std::string& path, const std::string& domain);

  /// A readable copy of a file at `destination`, whose folder must exist. Unlike the operation above it finds
  /// names with a quote, and nothing passes through the scratch folder.
  /// Not listed by the manifest, or listed and not stored, is `noSource`.
  PDXFiles::CopyResult copyOfFileByRelativePathInDomain(const std::string& path, const std::string& domain,
                                                        const std::string& destination,
                                                        const std::stop_token& stop = {});

  /// Whether the manifest lists the file and the folder holds it.
  bool holdsFileByRelativePathInDomain(const std::string& path, const std::string& domain);

  /// Whether there is a manifest that can be read; without one attachments cannot be found. The log says so.
  bool hasReadableManifest();

  /// Whether the backup stores the feature's main file, readable or not.
  bool holdsFeature(int feature);

  /// Says in the log when the manifest lists a feature's main file and the folder does not hold it: content
  /// that got lost. Answers whether it did.
  bool reportIfLost(int feature);

  /// The same for any file.
  bool reportIfLost(const std::string& path, const std::string& domain);

  /// The path of the stored file inside the backup folder, which need not exist; "" when the manifest does
  /// not list it.
  std::string LocateFileByRelativePathInDomain(const std::string& path, const std::string& domain);

  /// The domain's files by their identifiers; nothing when there are none.
  std::optional<std::map<std::string, PDXBackupFile>> QueryFilesInDomain(
      const std::optional<std::string>& domain);

  /// The relative paths of the domain's files, in the manifest's order.
  std::vector<std::string> GetFilesByDomain(const std::string& domain);

  /// The files whose path begins with `folder`; the whole domain without one. Nothing when the manifest
  /// cannot be opened.
  std::optional<std::vector<PDXBackupFile>> GetSubFolderContentInDomain(
      const std::optional<std::string>& folder, const std::string& domain);

  /// All entries of the manifest, folders and links included. Nothing when it cannot be opened.
  std::optional<std::vector<PDXBackupFile>> GetAllFiles();

  /// The entries of the manifest that are regular files, in its order. Nothing when it cannot be opened.
  std::optional<std::vector<PDXBackupFile>> regularFiles();

  /// Every regular file that the manifest lists, stored or not, with its size where the manifest tells it.
  /// Nothing when the manifest cannot be opened.
  std::optional<std::vector<PDXBackupFile>> listedFiles();

  /// How the backup folder keeps a file of the listing above.
  struct StoredFile {
    std::string path;                        ///< "" when it is not stored.
    PDXFileReader reader;                    ///< Open, or with the reason why it cannot be read.
    PDXBackupEncryptionWorker::FileKey key;  ///< Of an encrypted backup's file.
  };

  /// May be called from several threads at once.
  StoredFile storedFile(const PDXBackupFile& file);

  /// Nothing when the manifest cannot be opened.
  std::optional<std::vector<std::string>> GetAllDomainNames();

  /// The same for every backup whose manifest can be read, also where its kind is not told.
  std::optional<std::vector<std::string>> domainNames();

  /// The same as `GetAllDomainNames`.
  std::optional<std::vector<std::string>> GetFiles();

  /// Whether the password that was stored with `setPassword` opens the backup, told by its springboard
  /// preferences: a backup without them answers false. The argument is not consulted.
  bool IsPasswordCorrect(const std::string& password);

  /// The stored password is wiped when another takes its place, and with this object.
  void setPassword(std::string_view password) { password_ = secretOf(viewOfText(password)); }

  /// Nothing before one was set. Valid until another is.
  std::optional<std::string_view> Password() const;

  /// Stores the password and tells by the key bag whether it is right: at once for every kind of backup, also
  /// where `IsPasswordCorrect` cannot know. What was opened with another password is opened anew.
  /// Slow by design (see PDXPasswordKey); the next one with the same password is quick.
  /// @param stop  abandons this, and the deciphering of the manifest later on.
  PDXDeviceDataEncryption::Trial unlock(std::string_view password, const std::stop_token& stop = {});

  /// Keeps the deciphered manifest out of the backup folder. Before anything is read.
  void setReadOnly(bool isReadOnly) { isReadOnly_ = isReadOnly; }

  bool IsEncrypted() const { return isEncrypted_; }
  void setIsEncrypted(bool isEncrypted) { isEncrypted_ = isEncrypted; }

  /// Tells a running extraction to stop because the application quits. From any thread.
  void setAppIsClosing(bool isClosing);

  /// Always 0. The device's system version is `systemVersion`.
  std::int32_t iOSVersion() const { return iOSVersion_; }

  /// The device's major system version when it was backed up; 0 when unknown. Source: the information record.
  std::int32_t systemVersion() const { return iosVersion_; }

  /// The manifest's major version; -1 when "Status.plist" does not tell.
  std::int32_t backupTypeVersion() { return getBackupTypeVersion_(); }

  /// The folder and identifier of this backup, also after another was opened.
  const std::string& backupPath() const { return backupPath_; }
  const std::string& deviceId() const { return deviceId_; }

  /// The identifier of the backup that was opened last; "" before the first.
  static std::string DeviceId();

  /// The folder in which backups are looked for.
  static std::string BaseBackupPath();

  /// The folder of the backup that was opened last.
  static std::string FullBackupPath();

  /// A folder that replaces the active backup folder; nothing when there is none.
  static std::optional<std::string> customBackupPath();
  static void setCustomBackupPath(const std::optional<std::string>& folder);

  /// The folder for readable copies, "Pocketdex" in the temporary folder. Made, for its owner only, when
  /// missing.
  static std::string TemporaryExtractPath();

  /// The current backup's "Info.plist"; nothing when it is missing, empty or no property list.
  static std::optional<PDXPropertyList> GetBackupInfoDictionary();

  /// Calls `forget` whenever a backup at another place is opened, for as long as the process runs.
  /// For what is kept of the current backup outside of this object.
  static void whenAnotherOpens(std::function<void()> forget);

 private:
  void initateDeviceData_(const std::string& deviceId);
  std::int32_t getBackupTypeVersion_();
  std::unique_ptr<PDXBackupNavigation> getNavigatorClass_() const;
  std::unique_ptr<PDXBackupExtraction> getExtractorClass_();
  std::unique_ptr<PDXBackupNavigation> navigatorFor_(std::int32_t typeVersion,
                                                     bool isManifestEncrypted) const;
  std::unique_ptr<PDXBackupExtraction> extractorFor_(std::int32_t typeVersion);
  std::int32_t manifestKind_() const;
  PDXBackupNavigation& readyNavigator_();
  PDXBackupNavigation& readyFinder_();
  PDXBackupExtraction& readyReader_();
  void makeReady_();
  void showManifest_();
  const PDXBackupExtractionWithEncryption* encryptedReader_() const;
  std::string extractKeyFile_(int feature, PDXBackupExtraction& extractor);
  PDXBackupFile withKey_(PDXBackupFile file, PDXBackupNavigation& navigator) const;
  bool hasLog_(const std::vector<PDXBackupFile>& files);

  std::mutex readyLock_;
  std::unique_ptr<PDXBackupNavigation> navigator_;
  std::unique_ptr<PDXBackupExtraction> extractor_;

  /// Only where those above do not read the manifest there is.
  std::unique_ptr<PDXBackupNavigation> finder_;
  std::unique_ptr<PDXBackupExtraction> reader_;

  std::string manifestFolder_;  ///< The deciphered manifest's, in the scratch folder.
  std::optional<PDXSecret> password_;
  bool isEncrypted_ = false;
  bool isReadOnly_ = false;
  std::stop_token stop_;
  std::string deviceId_;
  std::string backupPath_;
  std::int32_t iosVersion_ = 0;
  std::int32_t backupTypeVersion_ = -1;
  std::int32_t iOSVersion_ = 0;
};
