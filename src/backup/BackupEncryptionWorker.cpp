#include "backup/BackupEncryptionWorker.h"

#include <utility>

#include "backup/BinaryFileHandle.h"
#include "backup/KeyWrapping.h"
#include "backup/PasswordKey.h"
#include "platform/Crypto.h"

namespace {

constexpr std::size_t kClassBytes = 4;
constexpr std::size_t kWrappedKeyBytes = 40;

/// The first four bytes as a number, highest first. A device writes no shorter ones.
std::int32_t numberOf(const PDXBytes& data) {
  return PDXBinaryFileHandle(PDXByteView(data)).readInt32Swapped();
}

/// Tags that belong to the key bag as a whole wherever they stand.
bool isHeaderTag(const std::string& tag) {
  return tag == "VERS" || tag == "TYPE" || tag == "SALT" || tag == "ITER" || tag == "DPSL" || tag == "DPIC";
}

PDXBackupEncryptionWorker::FileKey noKey(std::string why) { return {PDXSecret(), false, std::move(why)}; }

}  // namespace

bool PDXBackupEncryptionWorker::LoadManifestKeybagDataWithPasswordData(PDXByteView keybag,
                                                                       PDXByteView password) {
  Clear_();
  if (!keybag.empty()) ParseKeybagData_(keybag);
  damage_ = damageOf_();
  if (password.empty() || keybag.empty()) {
    unlocking_ = damage_.empty() ? PDXUnlocking::noPassword : PDXUnlocking::damagedKeybag;
    return false;
  }
  const auto passKey = DerivePasskeyFromPassword_(password);
  if (stop_.stop_requested()) {
    unlocking_ = PDXUnlocking::stopped;
    return false;
  }
  if (!passKey || !UnlockwithPassKey_(*passKey)) return false;
  password_ = secretOf(password);
  return true;
}

void PDXBackupEncryptionWorker::Clear_() {
  *this = PDXBackupEncryptionWorker(std::move(stop_));
  unlocking_ = PDXUnlocking::damagedKeybag;
}

std::vector<PDXKeyBagDataEntry> PDXBackupEncryptionWorker::entriesOf_(PDXByteView keybag) {
  std::vector<PDXKeyBagDataEntry> entries;
  PDXBinaryFileHandle file(keybag);
  while (file.hasData()) {
    PDXKeyBagDataEntry entry;
    entry.tag = file.readStringOfLength(4);
    const auto length = static_cast<std::uint32_t>(file.readInt32Swapped());
    entry.data = file.readDataOfLength(length);
    if (file.ranOut()) {
      isCut_ = true;
      break;
    }
    entries.push_back(std::move(entry));
  }
  return entries;
}

void PDXBackupEncryptionWorker::ParseKeybagData_(PDXByteView keybag) {
  std::optional<PDXProtectionClassInfo> current;
  for (const PDXKeyBagDataEntry& entry : entriesOf_(keybag)) {
    if (isHeaderTag(entry.tag) || (entry.tag == "WRAP" && !wrap_) || (entry.tag == "UUID" && !uuid_)) {
      ProcessHeaderTag_(entry);
    } else if (entry.tag == "UUID") {
      keep_(current);
      current.emplace().UUID = entry.data;
    } else if (current) {
      ProcessClassKegTagForPciAndData_(entry.tag, *current, entry.data);
    }
  }
  keep_(current);
}

void PDXBackupEncryptionWorker::ProcessHeaderTag_(const PDXKeyBagDataEntry& entry) {
  const std::string& tag = entry.tag;
  if (tag == "VERS") version_ = numberOf(entry.data);
  if (tag == "TYPE") type_ = numberOf(entry.data);
  if (tag == "UUID") uuid_ = entry.data;
  if (tag == "WRAP" && !wrap_) wrap_ = numberOf(entry.data);
  if (tag == "SALT") salt_ = entry.data;
  if (tag == "ITER") iterations_ = numberOf(entry.data);
  if (tag == "DPSL") firstSalt_ = entry.data;
  if (tag == "DPIC") firstIterations_ = numberOf(entry.data);
}

void PDXBackupEncryptionWorker::ProcessClassKegTagForPciAndData_(const std::string& tag,
                                                                 PDXProtectionClassInfo& info,
                                                                 const PDXBytes& data) {
  if (tag == "CLAS") info.protectionClass = numberOf(data);
  if (tag == "WRAP") info.wrap = numberOf(data);
  if (tag == "WPKY") info.wrappedKey = data;
  if (tag == "KTYP") info.keyType = numberOf(data);
  if (tag == "PBKY") info.publicKey = data;
}

void PDXBackupEncryptionWorker::keep_(std::optional<PDXProtectionClassInfo>& info) {
  if (info && info->protectionClass) classes_[std::to_string(*info->protectionClass)] = std::move(*info);
}

std::optional<PDXSecret> PDXBackupEncryptionWorker::DerivePasskeyFromPassword_(PDXByteView password) const {
  return PDXPasswordKey::derive(password, derivation_(), stop_);
}

PDXPasswordKey::Parameters PDXBackupEncryptionWorker::derivation_() const {
  return {.firstSalt = firstSalt_,
          .firstRounds = firstIterations_,
          .secondSalt = salt_,
          .secondRounds = iterations_.value_or(0)};
}

bool PDXBackupEncryptionWorker::UnlockwithPassKey_(PDXByteView passKey) {
  if (passKey.empty()) return false;
  const PDXKeyWrapping wrapping(passKey);
  unlocking_ = damage_.empty() || isCut_ ? PDXUnlocking::wrongPassword : PDXUnlocking::damagedKeybag;
  for (auto& [number, info] : classes_) {
    if (info.wrappedKey.empty()) continue;
    if (!info.isPasswordWrapped()) {
      info.unwrappdKey = secretOf(info.wrappedKey);
      continue;
    }
    auto unwrapped = wrapping.unwrap(info.wrappedKey);
    if (!unwrapped) continue;
    info.unwrappdKey = std::move(unwrapped->key);
    info.isIntact = unwrapped->isIntact;
    if (info.isIntact) unlocking_ = PDXUnlocking::opened;
  }
  if (unlocking_ == PDXUnlocking::wrongPassword && !damage_.empty()) unlocking_ = PDXUnlocking::damagedKeybag;
  return true;
}

/// Why no password could open the key bag, or all of it; "" when one could.
std::string PDXBackupEncryptionWorker::damageOf_() const {
  bool hasWrapped = false;
  for (const auto& [number, info] : classes_) {
    hasWrapped = hasWrapped || (info.isPasswordWrapped() && info.wrappedKey.size() == kWrappedKeyBytes);
  }
  if (salt_.empty()) return "it has no salt";
  if (iterations_.value_or(0) <= 0 || (firstIterations_ && !firstSalt_.empty() && *firstIterations_ <= 0))
    return "its count of rounds is none";
  if (const std::int64_t rounds = PDXPasswordKey::roundsOf(derivation_());
      rounds > PDXPasswordKey::kMostRounds)
    return "it asks for " + std::to_string(rounds) + " rounds, far more than a device takes";
  if (!hasWrapped) return "it holds no key that a password opens";
  return isCut_ ? "it was cut off" : "";
}

PDXBackupEncryptionWorker::FileKey PDXBackupEncryptionWorker::fileKey(PDXByteView keyRecord) const {
  if (keyRecord.size() != kClassBytes + kWrappedKeyBytes) return noKey("its key record has a wrong size");
  const std::int32_t number = PDXBinaryFileHandle(keyRecord).readInt32();
  const auto found = classes_.find(std::to_string(number));
  if (found == classes_.end() || found->second.unwrappdKey.empty())
    return noKey("the key bag has no key for its protection class " + std::to_string(number));
  const PDXProtectionClassInfo& info = found->second;
  auto unwrapped = PDXKeyWrapping(info.unwrappdKey).unwrap(keyRecord.subspan(kClassBytes));
  if (!unwrapped) return noKey("the key of its protection class has a wrong size");
  FileKey key{.key = std::move(unwrapped->key), .isIntact = unwrapped->isIntact, .why = ""};
  if (!key.isIntact) {
    key.why = info.isPasswordWrapped() && !info.isIntact
                  ? "the password does not open protection class " + std::to_string(number)
                  : "its key is damaged";
  }
  return key;
}

bool PDXBackupEncryptionWorker::DecryptItemWithKeyToDestinationPath(const std::string& source,
                                                                    PDXByteView keyRecord,
                                                                    const std::string& destination) const {
  const FileKey key = fileKey(keyRecord);
  if (key.key.empty()) return false;
  using PDXFileDeciphering::Tail;
  return static_cast<bool>(PDXFileDeciphering::decipher(source, key.key, destination, Tail::kept));
}

std::optional<PDXBytes> PDXBackupEncryptionWorker::DecryptAESDataWithKeyAndSeed(PDXByteView data,
                                                                                PDXByteView key,
                                                                                PDXByteView seed) {
  PDXAesDecipher cipher(key, seed);
  constexpr std::size_t kBlock = PDXAesDecipher::kBlock;
  if (!cipher.isValid() || seed.size() != kBlock || data.empty() || data.size() % kBlock != 0)
    return std::nullopt;
  PDXBytes plain(data.size());
  cipher.decipherChained(data.data(), plain.data(), data.size());
  const std::size_t padding = PDXFileDeciphering::paddingOf(PDXByteView(plain).last(kBlock));
  if (padding == 0) return std::nullopt;
  plain.resize(plain.size() - padding);
  return plain;
}
