#include "backup/BackupExtractionWithEncryption.h"

#include <utility>

#include "platform/Crypto.h"

PDXBackupExtractionWithEncryption::PDXBackupExtractionWithEncryption(std::string fullBackupPath,
                                                                     PDXByteView password,
                                                                     PDXManifestPlace place)
    : PDXBackupExtraction(fullBackupPath),
      password_(secretOf(password)),
      encryption_(std::move(fullBackupPath), std::move(place)) {
  encryption_.setPassword(password_);
  encryption_.LoadKeyBag();
}

PDXBackupEncryptionWorker::FileKey PDXBackupExtractionWithEncryption::fileKeyOf(
    const PDXBackupFile& file) const {
  std::string why;
  const PDXBytes keyRecord = keyRecordOf(file, why);
  if (keyRecord.empty()) return {.key = {}, .isIntact = false, .why = why};
  return encryption_.worker().fileKey(keyRecord);
}

PDXFiles::CopyResult PDXBackupExtractionWithEncryption::write_(const PDXBackupFile& file,
                                                               const std::string& destination,
                                                               PDXFileDeciphering::Tail tail,
                                                               const std::stop_token& stop) const {
  using Outcome = PDXFiles::CopyResult::Outcome;
  Stored stored = open(file);
  if (stored.path.empty()) return {Outcome::noSource, "the backup folder does not hold it"};
  std::string why;
  const PDXBytes keyRecord = keyRecordOf(file, why);
  if (keyRecord.empty()) return {Outcome::readFailed, why};
  return encryption_.decipher(stored.reader, destination, keyRecord, tail, stop);
}

PDXBackupExtractionIOS10Encrypted::PDXBackupExtractionIOS10Encrypted(std::string fullBackupPath,
                                                                     PDXByteView password,
                                                                     PDXManifestPlace place)
    : PDXBackupExtractionWithEncryption(std::move(fullBackupPath), password, std::move(place)) {
  if (!PDXFiles::isRegularFile(manifestPath())) return;
  manifestDatabase_ = PDXSQLiteDatabase(manifestPath(), PDXSQLiteAccess::immutable);
  auto salt = manifestDatabase_.prepare(
      "SELECT Value, LENGTH(Value) AS saltLength FROM Properties WHERE KEY = 'salt'");
  if (salt.step()) fileAttributeSalt_ = salt.blob(0);
  statement_.emplace(
      manifestDatabase_.prepare("SELECT file, LENGTH(file) AS fileLength FROM Files WHERE fileID = ?"));
}

PDXBytes PDXBackupExtractionIOS10Encrypted::keyRecordOf(const PDXBackupFile& file, std::string& why) const {
  const PDXBytes attributes = attributesOf_(file, why);
  if (attributes.empty()) return {};
  auto keyRecord = PDXDeviceDataEncryption::keyRecordOf(attributes);
  if (!keyRecord) why = "the manifest holds no key for it";
  return keyRecord.value_or(PDXBytes());
}

PDXBytes PDXBackupExtractionIOS10Encrypted::attributesOf_(const PDXBackupFile& file, std::string& why) const {
  PDXBytes attributes = rowOf_(file.fileId, why);
  if (attributes.empty() || fileAttributeSalt_.empty()) return attributes;
  attributes = readable_(std::move(attributes));
  if (attributes.empty()) why = "its record in the manifest cannot be deciphered";
  return attributes;
}

PDXBytes PDXBackupExtractionIOS10Encrypted::rowOf_(const std::string& fileId, std::string& why) const {
  const std::lock_guard guard(lock_);
  if (!statement_ || !statement_->isValid()) {
    why = "the manifest cannot be read";
    return {};
  }
  statement_->bind(1, std::string_view(fileId));
  PDXBytes attributes = statement_->step() ? statement_->blob(0) : PDXBytes();
  why = statement_->failed() ? statement_->error() : "the manifest holds no record of it";
  statement_->reset();
  return attributes;
}

/// A record of the Base64 form as the archive it stands for. Beside a salt a record may still be plain.
PDXBytes PDXBackupExtractionIOS10Encrypted::readable_(PDXBytes attributes) const {
  const std::string_view text(reinterpret_cast<const char*>(attributes.data()), attributes.size());
  const auto enciphered = base64Decoded(text);
  if (!enciphered) return attributes;
  return PDXDeviceDataEncryption::DecryptFileAttributeDataWithSaltAndPassword(*enciphered, fileAttributeSalt_,
                                                                              password())
      .value_or(PDXBytes());
}

PDXBytes PDXBackupExtractionMbdbWithEncryption::keyRecordOf(const PDXBackupFile& file,
                                                            std::string& why) const {
  if (file.encryptionKey.empty()) why = "the manifest holds no key for it";
  return file.encryptionKey;
}
