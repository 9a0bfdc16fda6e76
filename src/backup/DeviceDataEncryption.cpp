#include "backup/DeviceDataEncryption.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "backup/ScratchFolder.h"
#include "platform/Crypto.h"
#include "platform/Log.h"

namespace {

constexpr std::size_t kKeyRecordBytes = 44;
constexpr std::uint8_t kAttributeSeed[16] = {0xc4, 0xe1, 0x90, 0x7a, 0x2b, 0x5f, 0xd8, 0x36,
                                             0x6e, 0x0a, 0x13, 0xb9, 0xf7, 0x25, 0x4d, 0x81};

bool isDatabase(const std::string& path) {
  constexpr std::string_view kBeginning("SQLite format 3\0", 16);
  const PDXBytes bytes = PDXFiles::readBeginning(path, kBeginning.size());
  return std::equal(bytes.begin(), bytes.end(), kBeginning.begin(), kBeginning.end());
}

/// The data under a key; null when there is none.
const PDXBytes* dataOf(const PDXPropertyList& list, const char* key) {
  const PDXPropertyList* value = list.find(key);
  return value == nullptr ? nullptr : value->data();
}

const PDXBytes* firstData(const PDXPropertyList::Array& objects) {
  for (const PDXPropertyList& object : objects) {
    if (object.find("NS.data") != nullptr) return dataOf(object, "NS.data");
  }
  return nullptr;
}

/// What the archived file's "EncryptionKey" refers to; null when there is none.
const PDXBytes* referredKey(const PDXPropertyList& objects) {
  for (const PDXPropertyList& object : *objects.array()) {
    const PDXPropertyList* reference = object.find("EncryptionKey");
    if (reference == nullptr || reference->uid() == nullptr) continue;
    const PDXPropertyList* key = objects.at(static_cast<std::size_t>(reference->uid()->index));
    return key == nullptr ? nullptr : dataOf(*key, "NS.data");
  }
  return nullptr;
}

}  // namespace

PDXDeviceDataEncryption::PDXDeviceDataEncryption(std::string fullBackupPath, PDXManifestPlace place)
    : fullBackupPath_(std::move(fullBackupPath)), place_(std::move(place)) {}

void PDXDeviceDataEncryption::LoadKeysFromManifestPlist() {
  const auto list = PDXPropertyList::parseFile(PDXFiles::joined(fullBackupPath_, "Manifest.plist"));
  manifestDbEncrypted_ = false;
  manifestPath_ = PDXFiles::joined(fullBackupPath_, "Manifest.db");
  if (!list) return;
  if (const PDXBytes* keybag = dataOf(*list, "BackupKeyBag")) {
    worker_.LoadManifestKeybagDataWithPasswordData(*keybag, password_);
  }
  if (const PDXBytes* keyRecord = dataOf(*list, "ManifestKey")) {
    manifestDbEncrypted_ = true;
    decipherManifest_(*keyRecord);
  }
}

void PDXDeviceDataEncryption::decipherManifest_(const PDXBytes& keyRecord) {
  const std::string enciphered = std::exchange(manifestPath_, "");
  if (!PDXScratchFolder::isSafe()) return;
  const std::string folder = place_.folder.empty() ? PDXScratchFolder::path() : place_.folder;
  const std::string copy = PDXFiles::joined(folder, "Manifest_d.db");
  PDXFiles::makePrivateFolder(folder);
  PDXFileReader source(enciphered);
  const auto result = decipher(source, copy, keyRecord, PDXFileDeciphering::Tail::kept, place_.stop);
  if (!result || !isDatabase(copy)) {
    PDXFiles::remove(copy);
    reportManifest_(enciphered, keyRecord, result);
    return;
  }
  manifestPath_ = copy;
  const std::string kept = PDXFiles::joined(fullBackupPath_, "Manifest_d.db");
  if (place_.mayWriteBackup && !place_.stop.stop_requested() && !PDXFiles::haveSameBytes(copy, kept))
    PDXFiles::copyUnseen(copy, kept);
}

/// Says why there is no manifest. What a wrong password does is said by whoever took it.
void PDXDeviceDataEncryption::reportManifest_(const std::string& enciphered, const PDXBytes& keyRecord,
                                              const PDXFiles::CopyResult& result) const {
  using Outcome = PDXFiles::CopyResult::Outcome;
  if (worker_.unlocking() != PDXUnlocking::opened || result.outcome == Outcome::stopped) return;
  if (result.outcome == Outcome::writeFailed) {
    PDXScratchFolder::reportFull(result.why, "the manifest");
    return;
  }
  const std::string keyDamage = worker_.fileKey(keyRecord).why;
  const std::string why = keyDamage.empty() ? "it is damaged: deciphered, it is no database" : keyDamage;
  PDXLog::report({.what = "manifest", .where = enciphered, .why = result ? why : result.why});
}

bool PDXDeviceDataEncryption::GetEncryptedFileFrombackupToWithAttributes(const std::string& from,
                                                                         const std::string& to,
                                                                         const PDXBytes& attributes) const {
  const auto keyRecord = keyRecordOf(attributes);
  return keyRecord && GetEncryptedFileFromBackupWithKeyToWithEncryptionKey(from, to, *keyRecord);
}

bool PDXDeviceDataEncryption::GetEncryptedFileFromBackupWithKeyToWithEncryptionKey(
    const std::string& from, const std::string& to, PDXByteView keyRecord) const {
  return worker_.DecryptItemWithKeyToDestinationPath(from, keyRecord, to);
}

PDXFiles::CopyResult PDXDeviceDataEncryption::decipher(PDXFileReader& from, const std::string& to,
                                                       PDXByteView keyRecord, PDXFileDeciphering::Tail tail,
                                                       const std::stop_token& stop) const {
  const auto fileKey = worker_.fileKey(keyRecord);
  const bool isUsable = fileKey.isIntact || (tail == PDXFileDeciphering::Tail::kept && !fileKey.key.empty());
  if (!isUsable) return {PDXFiles::CopyResult::Outcome::readFailed, fileKey.why};
  return PDXFileDeciphering::decipher(from, fileKey.key, to, tail, stop);
}

std::optional<PDXBytes> PDXDeviceDataEncryption::keyRecordOf(const PDXBytes& attributes) {
  const auto archive = attributes.empty() ? std::nullopt : PDXPropertyList::parse(attributes);
  const PDXPropertyList* objects = archive ? archive->find("$objects") : nullptr;
  if (objects == nullptr || objects->array() == nullptr) return std::nullopt;
  const PDXBytes* first = firstData(*objects->array());
  if (first == nullptr) return std::nullopt;
  if (first->size() == kKeyRecordBytes) return *first;
  const PDXBytes* referred = referredKey(*objects);
  return referred == nullptr ? *first : *referred;
}

std::optional<PDXBytes> PDXDeviceDataEncryption::DecryptFileAttributeDataWithSaltAndPassword(
    PDXByteView data, PDXByteView salt, PDXByteView password) {
  const bool isAscii =
      std::all_of(password.begin(), password.end(), [](std::uint8_t byte) { return byte < 0x80; });
  const auto digest = PDXCrypto::sha1(isAscii ? password : PDXByteView(), salt);
  return PDXBackupEncryptionWorker::DecryptAESDataWithKeyAndSeed(data, PDXByteView(digest).first(16),
                                                                 kAttributeSeed);
}

PDXDeviceDataEncryption::Trial PDXDeviceDataEncryption::tryPassword(const std::string& fullBackupPath,
                                                                    PDXByteView password,
                                                                    const std::stop_token& stop) {
  const auto list = PDXPropertyList::parseFile(PDXFiles::joined(fullBackupPath, "Manifest.plist"));
  if (!list) return {PDXUnlocking::damagedKeybag, "Manifest.plist cannot be read"};
  const PDXBytes* keybag = dataOf(*list, "BackupKeyBag");
  if (keybag == nullptr) return {PDXUnlocking::damagedKeybag, "Manifest.plist holds no key bag"};
  PDXBackupEncryptionWorker worker(stop);
  worker.LoadManifestKeybagDataWithPasswordData(*keybag, password);
  return {worker.unlocking(), worker.damage()};
}
