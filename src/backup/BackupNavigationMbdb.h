#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "backup/BackupNavigation.h"
#include "backup/BinaryManifest.h"
#include "platform/Sqlite.h"

/// Reads the manifest of backups until system 9.
///
/// Source: "Manifest.mbdb" in the backup folder, read once into a cache of this navigator's own: the table
/// "files" of a database in the scratch folder, named by the device. Links, and records whose file the folder
/// does not hold (folders, empty files), are left out.
/// Errors: none leave it. A manifest that is missing or cut gives what could be read, and the log says why.
/// Threads: any; operations wait for each other.
class PDXBackupNavigationMbdb final : public PDXBackupNavigation {
 public:
  /// @param fullBackupPath  the backup folder.
  /// @param deviceId        names the cache.
  PDXBackupNavigationMbdb(std::string fullBackupPath, const std::string& deviceId);

  /// Path and domain go into the statement as they stand: a single quote finds nothing.
  std::optional<PDXBackupFile> GetFileByRelativePathInDomain(const std::string& path,
                                                             const std::string& domain) override;

  /// With the file's key.
  std::optional<PDXBackupFile> findFile(const std::string& path, const std::string& domain) override;

  std::optional<std::vector<PDXBackupFile>> GetFilesByDomain(const std::string& domain) override;
  std::optional<std::vector<PDXBackupFile>> GetAllFiles() override;

  /// The same as `GetAllFiles`: the cache holds nothing else.
  std::optional<std::vector<PDXBackupFile>> regularFiles() override;

  std::optional<std::vector<PDXBackupFile>> listedFiles() override;

  std::optional<std::vector<std::string>> GetAllDomainNames() override;

  /// Files whose path begins with the text of `folder`, as in the newer manifest.
  std::optional<std::vector<PDXBackupFile>> GetSubFolderContentInDomain(
      const std::optional<std::string>& folder, const std::string& domain) override;

  PDXBytes GetEncryptionKeyForFileId(const std::string& fileId) override;

 private:
  bool readManifestMbdb_();
  bool fillCache_(const std::string& manifest);
  std::optional<std::vector<PDXBackupFile>> filesOf_(const std::string& rest);

  std::string fullBackupPath_;
  std::mutex lock_;
  PDXSQLiteDatabase cache_;
  std::optional<PDXSQLiteStatement> find_;
};
