#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Bytes.h"
#include "samples/Cipher.h"
#include "samples/Random.h"

/// Protection classes of files, by the number under which a key bag has their keys.
namespace PDXSampleProtection {
inline constexpr int kComplete = 1;
inline constexpr int kCompleteUnlessOpen = 2;
inline constexpr int kUntilFirstUnlock = 3;
inline constexpr int kNone = 4;
}  // namespace PDXSampleProtection

/// The keys of one encrypted backup. The seed decides them all: nothing in a sample is secret.
class PDXSampleKeyBag {
 public:
  explicit PDXSampleKeyBag(std::uint64_t seed);

  /// A key for one more file.
  PDXSampleKey newKey();

  /// How a manifest keeps a file's key: the class as four bytes, lowest first, and the key wrapped with the
  /// key of that class; 44 bytes together.
  /// @param protectionClass  1 to 4.
  PDXBytes record(int protectionClass, const PDXSampleKey& key) const;

  /// New random bytes, for salts.
  PDXBytes newBytes(std::size_t count);

  /// The bag as "Manifest.plist" keeps it. Deriving the password's key is what takes the time here.
  /// @param firstRounds  of the first of two stages; 0: the one stage of systems before 10.2.
  PDXBytes lockedWith(const std::string& password, std::uint32_t firstRounds);

  /// The bag of a plain backup, which nobody needs to open: its header is enough.
  /// @param identifier  any text that depends on the device.
  static PDXBytes header(const std::string& identifier);

 private:
  struct ClassKey {
    int protectionClass = 0;
    PDXSampleKey key = {};
  };

  PDXSampleRandom random_;
  std::vector<ClassKey> classKeys_;
};
