#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "backup/BackupExtraction.h"
#include "backup/DeviceDataEncryption.h"
#include "platform/Sqlite.h"

/// Encrypted backups: loads the backup's keys when it is made, and deciphers each file with its own.
class PDXBackupExtractionWithEncryption : public PDXBackupExtraction {
 public:
  /// @param fullBackupPath  the backup folder.
  /// @param password        nothing: no key is loaded, and no file can be read.
  PDXBackupExtractionWithEncryption(std::string fullBackupPath, PDXByteView password,
                                    PDXManifestPlace place = {});

  /// Whether the manifest is enciphered.
  bool IsManifestDbEncrypted() const { return encryption_.ManifestDbEncrypted(); }

  /// See PDXDeviceDataEncryption.
  const std::string& manifestPath() const { return encryption_.manifestPath(); }

  /// The file's key record (44 bytes); empty, with `why`, when there is none.
  virtual PDXBytes keyRecordOf(const PDXBackupFile& file, std::string& why) const = 0;

  /// The file's own key.
  PDXBackupEncryptionWorker::FileKey fileKeyOf(const PDXBackupFile& file) const;

 protected:
  PDXFiles::CopyResult write_(const PDXBackupFile& file, const std::string& destination,
                              PDXFileDeciphering::Tail tail, const std::stop_token& stop) const override;

  const PDXSecret& password() const { return password_; }

 private:
  PDXSecret password_;
  PDXDeviceDataEncryption encryption_;
};

/// Encrypted backups with a manifest database, which keeps each file's key in its metadata record.
///
/// Source: Files.file by fileID; Properties.value of the key 'salt' where the records are enciphered
/// themselves. The database stays open while this lives.
class PDXBackupExtractionIOS10Encrypted final : public PDXBackupExtractionWithEncryption {
 public:
  PDXBackupExtractionIOS10Encrypted(std::string fullBackupPath, PDXByteView password,
                                    PDXManifestPlace place = {});

  PDXBytes keyRecordOf(const PDXBackupFile& file, std::string& why) const override;

 protected:
  Places placesFor_(const std::string& fileId) const override { return {nestedPlace_(fileId), fileId}; }

 private:
  PDXBytes attributesOf_(const PDXBackupFile& file, std::string& why) const;
  PDXBytes rowOf_(const std::string& fileId, std::string& why) const;
  PDXBytes readable_(PDXBytes attributes) const;

  mutable std::mutex lock_;
  PDXSQLiteDatabase manifestDatabase_;
  mutable std::optional<PDXSQLiteStatement> statement_;
  PDXBytes fileAttributeSalt_;
};

/// Encrypted backups of the older manifest, whose navigator hands over each file's key.
class PDXBackupExtractionMbdbWithEncryption final : public PDXBackupExtractionWithEncryption {
 public:
  using PDXBackupExtractionWithEncryption::PDXBackupExtractionWithEncryption;

  PDXBytes keyRecordOf(const PDXBackupFile& file, std::string& why) const override;

 protected:
  Places placesFor_(const std::string& fileId) const override { return {fileId, ""}; }
};
