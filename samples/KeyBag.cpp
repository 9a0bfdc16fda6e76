#include "samples/KeyBag.h"

#include <algorithm>
#include <string_view>

#include "platform/Crypto.h"

namespace {

using namespace PDXSampleProtection;

constexpr std::uint64_t kPartOfKeys = 40;
constexpr std::uint32_t kLastRounds = 10'000;
constexpr std::size_t kSaltSize = 20;
constexpr std::size_t kIdentifierSize = 16;
constexpr std::size_t kPublicKeySize = 32;
constexpr int kHighestClass = 11;
constexpr int kRecovery = 5;
constexpr int kFirstOfThisDeviceOnly = 9;

/// What a class key is wrapped with; the password is all that there is away from the device.
constexpr std::uint32_t kWithPassword = 2;
constexpr std::uint32_t kWithPasswordAndDevice = 3;

constexpr std::uint32_t kAes = 0;
constexpr std::uint32_t kCurve25519 = 1;

void append(PDXBytes& bag, std::string_view tag, const PDXBytes& value) {
  bag.insert(bag.end(), tag.begin(), tag.end());
  bag.insert(bag.end(), {0, 0, 0, static_cast<std::uint8_t>(value.size())});
  bag.insert(bag.end(), value.begin(), value.end());
}

void append(PDXBytes& bag, std::string_view tag, std::uint32_t value) {
  PDXBytes bytes;
  for (const int shift : {24, 16, 8, 0}) bytes.push_back(static_cast<std::uint8_t>(value >> shift));
  append(bag, tag, bytes);
}

std::string_view textOf(const PDXSampleKey& key) {
  return {reinterpret_cast<const char*>(key.data()), key.size()};
}

/// The key that a password stands for, and what it takes to derive it again.
struct Lock {
  std::uint32_t firstRounds = 0;  ///< 0: there is no first stage.
  PDXBytes firstSalt;
  PDXBytes lastSalt;
  PDXSampleKey key = {};
};

Lock lockFor(const std::string& password, std::uint32_t firstRounds, const PDXBytes& firstSalt,
             const PDXBytes& lastSalt) {
  Lock lock = {.firstRounds = firstRounds, .firstSalt = firstSalt, .lastSalt = lastSalt};
  if (firstRounds > 0) lock.key = PDXSampleCipher::firstStage(password, lock.firstSalt, firstRounds);
  lock.key =
      PDXSampleCipher::lastStage(firstRounds > 0 ? textOf(lock.key) : password, lock.lastSalt, kLastRounds);
  return lock;
}

void append(PDXBytes& bag, const Lock& lock) {
  append(bag, "SALT", lock.lastSalt);
  append(bag, "ITER", kLastRounds);
  if (lock.firstRounds == 0) return;
  append(bag, "DPWT", 1);
  append(bag, "DPIC", lock.firstRounds);
  append(bag, "DPSL", lock.firstSalt);
}

bool needsDevice(int protectionClass) {
  return protectionClass == kRecovery || protectionClass >= kFirstOfThisDeviceOnly;
}

}  // namespace

PDXSampleKeyBag::PDXSampleKeyBag(std::uint64_t seed) : random_(seed, kPartOfKeys) {
  // A device begins with the highest class, whose key the password alone cannot unwrap.
  for (int i = kHighestClass; i > 0; --i) classKeys_.push_back({.protectionClass = i, .key = newKey()});
}

PDXBytes PDXSampleKeyBag::newBytes(std::size_t count) {
  PDXBytes bytes(count);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_.below(256));
  return bytes;
}

PDXSampleKey PDXSampleKeyBag::newKey() {
  PDXSampleKey key;
  const PDXBytes bytes = newBytes(key.size());
  std::copy(bytes.begin(), bytes.end(), key.begin());
  return key;
}

PDXBytes PDXSampleKeyBag::record(int protectionClass, const PDXSampleKey& key) const {
  const auto classKey = std::find_if(classKeys_.begin(), classKeys_.end(), [&](const ClassKey& each) {
    return each.protectionClass == protectionClass;
  });
  PDXBytes bytes = {static_cast<std::uint8_t>(protectionClass), 0, 0, 0};
  const PDXBytes wrapped = PDXSampleCipher::wrapped(classKey->key, key);
  bytes.insert(bytes.end(), wrapped.begin(), wrapped.end());
  return bytes;
}

PDXBytes PDXSampleKeyBag::lockedWith(const std::string& password, std::uint32_t firstRounds) {
  const PDXBytes firstSalt = newBytes(kSaltSize);
  const PDXBytes lastSalt = newBytes(kSaltSize);
  const Lock lock = lockFor(password, firstRounds, firstSalt, lastSalt);
  const PDXSampleKey deviceKey = newKey();
  PDXBytes bag;
  append(bag, "VERS", firstRounds > 0 ? 4 : 3);
  append(bag, "TYPE", 1);
  append(bag, "UUID", newBytes(kIdentifierSize));
  append(bag, "HMCK", PDXSampleCipher::wrapped(lock.key, newKey()));
  append(bag, "WRAP", 0);
  append(bag, lock);
  for (const auto& [protectionClass, key] : classKeys_) {
    const bool isBound = needsDevice(protectionClass);
    append(bag, "UUID", newBytes(kIdentifierSize));
    append(bag, "CLAS", static_cast<std::uint32_t>(protectionClass));
    append(bag, "WRAP", isBound ? kWithPasswordAndDevice : kWithPassword);
    append(bag, "KTYP", protectionClass == kCompleteUnlessOpen ? kCurve25519 : kAes);
    append(bag, "WPKY", PDXSampleCipher::wrapped(isBound ? deviceKey : lock.key, key));
    // Only a device that takes new files while it is locked needs the public key: here it is any bytes.
    if (protectionClass == kCompleteUnlessOpen) append(bag, "PBKY", newBytes(kPublicKeySize));
  }
  return bag;
}

PDXBytes PDXSampleKeyBag::header(const std::string& identifier) {
  const std::string digits = sha_1(identifier);
  PDXBytes bag;
  append(bag, "VERS", 4);
  append(bag, "TYPE", 1);
  append(bag, "UUID", PDXBytes(digits.begin(), digits.begin() + 16));
  append(bag, "WRAP", 0);
  return bag;
}
