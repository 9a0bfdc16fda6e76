#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "backup/BackupEncryptionWorker.h"
#include "platform/PropertyList.h"

/// Where the deciphered manifest of an encrypted backup goes.
struct PDXManifestPlace {
  /// The folder for the copy that is read; "" for the scratch folder.
  std::string folder;

  /// Whether the backup folder itself may get a copy, "Manifest_d.db".
  bool mayWriteBackup = true;

  /// Abandons the deciphering; there is no manifest then.
  std::stop_token stop;
};

/// The keys of an encrypted backup.
///
/// Source: "BackupKeyBag" and "ManifestKey" in "Manifest.plist", and the enciphered "Manifest.db".
/// Errors: none leave it. Threads: once the keys are loaded, deciphering may run on several at once.
class PDXDeviceDataEncryption {
 public:
  explicit PDXDeviceDataEncryption(std::string fullBackupPath, PDXManifestPlace place = {});

  void setPassword(PDXByteView password) { password_ = secretOf(password); }

  /// Loads the keys, and deciphers the manifest when it is enciphered.
  void LoadKeyBag() { LoadKeysFromManifestPlist(); }

  /// The deciphered manifest replaces an older one only when it is a database, so that a wrong password
  /// destroys nothing. A backup folder that cannot be written is no failure.
  void LoadKeysFromManifestPlist();

  /// Whether the manifest is enciphered: "Manifest.plist" holds "ManifestKey".
  bool ManifestDbEncrypted() const { return manifestDbEncrypted_; }

  /// The manifest to read: the deciphered copy, or "Manifest.db" where it is not enciphered. "" when it could
  /// not be deciphered.
  const std::string& manifestPath() const { return manifestPath_; }

  /// Deciphers a file by its metadata record.
  /// @param attributes  a keyed archive, e.g. from Files.file.
  /// @return whether a copy, padding included, is at `to`.
  bool GetEncryptedFileFrombackupToWithAttributes(const std::string& from, const std::string& to,
                                                  const PDXBytes& attributes) const;

  /// The same by its key record (44 bytes).
  bool GetEncryptedFileFromBackupWithKeyToWithEncryptionKey(const std::string& from, const std::string& to,
                                                            PDXByteView keyRecord) const;

  /// The same with the padding as it is wanted, and with a reason when it fails. A key that is not right
  /// deciphers nothing unless `tail` is kept.
  PDXFiles::CopyResult decipher(PDXFileReader& from, const std::string& to, PDXByteView keyRecord,
                                PDXFileDeciphering::Tail tail, const std::stop_token& stop) const;

  const PDXBackupEncryptionWorker& worker() const { return worker_; }

  /// The key record in a file's metadata: the first "NS.data" of the archive, or, where that is of another
  /// length (extended attributes may come first), what the file's "EncryptionKey" refers to. Nothing when the
  /// bytes are no such archive.
  static std::optional<PDXBytes> keyRecordOf(const PDXBytes& attributes);

  /// Deciphers a metadata record of the Base64 form.
  /// @param data      the record's bytes, already out of Base64.
  /// @param salt      Properties.value of the key 'salt'.
  /// @param password  only its bytes count when they are all ASCII; another one counts as empty.
  static std::optional<PDXBytes> DecryptFileAttributeDataWithSaltAndPassword(PDXByteView data,
                                                                             PDXByteView salt,
                                                                             PDXByteView password);

  /// Tries a password on the backup's key bag alone.
  struct Trial {
    PDXUnlocking unlocking = PDXUnlocking::noPassword;
    std::string why;  ///< What is wrong with a damaged key bag.
  };
  static Trial tryPassword(const std::string& fullBackupPath, PDXByteView password,
                           const std::stop_token& stop);

 private:
  void decipherManifest_(const PDXBytes& keyRecord);
  void reportManifest_(const std::string& enciphered, const PDXBytes& keyRecord,
                       const PDXFiles::CopyResult& result) const;

  std::string fullBackupPath_;
  PDXManifestPlace place_;
  PDXSecret password_;
  bool manifestDbEncrypted_ = false;
  std::string manifestPath_;
  PDXBackupEncryptionWorker worker_;
};
