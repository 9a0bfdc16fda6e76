#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "backup/BackupNavigation.h"
#include "platform/Sqlite.h"

/// Reads the manifest of current backups.
///
/// Source: table Files of "Manifest.db" in the backup folder, or of its deciphered copy "Manifest_d.db" (also
/// found as "manifest_d.db"). The backup folder never changes: a manifest with a write-ahead log is read from
/// a scratch copy. Errors: none leave it. A manifest that is missing or damaged gives nothing, and the log
/// says why once. Threads: any; operations wait for each other.
class PDXBackupNavigationManifestDb final : public PDXBackupNavigation {
 public:
  /// @param fullBackupPath  the backup folder.
  explicit PDXBackupNavigationManifestDb(std::string fullBackupPath);
  ~PDXBackupNavigationManifestDb() override;

  bool manifestDbIsEncrypted() const { return manifestDbIsEncrypted_; }
  void setManifestDbIsEncrypted(bool isEncrypted) { manifestDbIsEncrypted_ = isEncrypted; }

  /// Names the deciphered copy to read when the manifest is encrypted, instead of the one in the backup
  /// folder, which another run may be replacing; "" for that one.
  void setDecipheredManifest(const std::string& path);

  /// Path and domain go into the statement as they stand: a single quote finds nothing.
  std::optional<PDXBackupFile> GetFileByRelativePathInDomain(const std::string& path,
                                                             const std::string& domain) override;

  /// Keeps its own handle and statement for as long as the navigator lives, since an export asks often.
  std::optional<PDXBackupFile> findFile(const std::string& path, const std::string& domain) override;

  /// Regular files, with their attributes. Columns fileID, relativePath, domain, flags, file.
  std::optional<std::vector<PDXBackupFile>> GetFilesByDomain(const std::string& domain) override;

  /// Every row, folders and links included, without attributes.
  std::optional<std::vector<PDXBackupFile>> GetAllFiles() override;

  /// Without folders and links, and without attributes.
  std::optional<std::vector<PDXBackupFile>> regularFiles() override;

  std::optional<std::vector<PDXBackupFile>> listedFiles() override;

  std::optional<std::vector<std::string>> GetAllDomainNames() override;

  /// Regular files whose path begins with the text of `folder`, so "Library/SMS" also finds "Library/SMS2/a".
  std::optional<std::vector<PDXBackupFile>> GetSubFolderContentInDomain(
      const std::optional<std::string>& folder, const std::string& domain) override;

 private:
  class Session;

  bool openDatabase_();
  void closeDatabase_();
  PDXSQLiteDatabase openManifest_();
  std::string pathToOpen_() const;
  std::string scratchCopyOf_(const std::string& manifest);
  void reportOnce_(const std::string& why);

  std::string fullBackupPath_;
  std::string manifestPath_;
  std::string decipheredManifest_;
  bool manifestDbIsEncrypted_ = false;
  std::mutex dbLock_;
  std::unique_ptr<PDXSQLiteDatabase> manifestDatabase_;

  std::mutex findLock_;
  std::unique_ptr<PDXSQLiteDatabase> findDatabase_;
  std::unique_ptr<PDXSQLiteStatement> findStatement_;

  std::mutex scratchLock_;
  std::string scratchFolder_;
  bool hasReported_ = false;
};
