#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "backup/FileDeciphering.h"
#include "backup/PasswordKey.h"
#include "platform/Bytes.h"
#include "platform/Secret.h"

/// One record of a key bag.
struct PDXKeyBagDataEntry {
  std::string tag;  ///< Four characters.
  PDXBytes data;
};

/// One protection class of a key bag: files of a class share its key.
struct PDXProtectionClassInfo {
  PDXBytes UUID;

  /// Tag "CLAS": 1 to 11.
  std::optional<std::int32_t> protectionClass;

  /// Tag "WRAP". With the bit of value 2 the key is wrapped with the password's; with 1 also with one that
  /// never leaves the device.
  std::optional<std::int32_t> wrap;

  PDXBytes wrappedKey;                  ///< Tag "WPKY".
  std::optional<std::int32_t> keyType;  ///< Tag "KTYP".
  PDXBytes publicKey;                   ///< Tag "PBKY".

  /// The class key once unlocked; empty before, and when it could not be unwrapped.
  PDXSecret unwrappdKey;

  /// Whether the key was wrapped with the password's and came out right.
  bool isIntact = false;

  bool isPasswordWrapped() const { return (wrap.value_or(0) & 2) != 0; }
};

/// What came of a password.
enum class PDXUnlocking {
  opened,
  noPassword,     ///< None was given, or an empty one.
  wrongPassword,  ///< No class key opens with it.
  damagedKeybag,  ///< No password could open it.
  stopped,
};

/// Opens a backup's key bag with the password, and deciphers files with its keys.
///
/// Source: the key bag's bytes, "BackupKeyBag" in "Manifest.plist".
/// Errors: none leave it. Threads: after loading, deciphering may run on several at once.
class PDXBackupEncryptionWorker {
 public:
  PDXBackupEncryptionWorker() = default;

  /// @param stop  has the derivation of the password's key abandoned; the answer is then false.
  explicit PDXBackupEncryptionWorker(std::stop_token stop) : stop_(std::move(stop)) {}

  /// Parses the key bag and unlocks its class keys. A wrong password loads all the same, and gives keys that
  /// open nothing: `unlocking` tells.
  /// @param password  UTF-8 bytes. False when this or the key bag is empty, or no key can be derived.
  bool LoadManifestKeybagDataWithPasswordData(PDXByteView keybag, PDXByteView password);

  /// What came of the last load.
  PDXUnlocking unlocking() const { return unlocking_; }

  /// What is wrong with a damaged key bag, in a few words.
  const std::string& damage() const { return damage_; }

  /// Writes a deciphered copy with the padding and sixteen zero bytes behind it.
  /// @param keyRecord  four bytes of protection class, lowest first, and 40 of the wrapped file key.
  /// @return false when it could not be written, also for a key record of another length.
  bool DecryptItemWithKeyToDestinationPath(const std::string& source, PDXByteView keyRecord,
                                           const std::string& destination) const;

  /// A file's own key.
  struct FileKey {
    PDXSecret key;          ///< 32 bytes; empty when there is none.
    bool isIntact = false;  ///< Whether it is right.
    std::string why;        ///< Why there is none, or it is not right.
  };

  /// @param keyRecord  as above.
  FileKey fileKey(PDXByteView keyRecord) const;

  /// Deciphers with AES in CBC mode and takes the padding (PKCS #7) off.
  /// @param key   16, 24 or 32 bytes.
  /// @param data  whole blocks.
  /// @param seed  16 bytes. Nothing when a size is wrong or there is no padding.
  static std::optional<PDXBytes> DecryptAESDataWithKeyAndSeed(PDXByteView data, PDXByteView key,
                                                              PDXByteView seed);

  /// The class entries by the decimal text of their class number.
  const std::map<std::string, PDXProtectionClassInfo>& classes() const { return classes_; }

 private:
  void Clear_();
  void ParseKeybagData_(PDXByteView keybag);
  std::vector<PDXKeyBagDataEntry> entriesOf_(PDXByteView keybag);
  void ProcessHeaderTag_(const PDXKeyBagDataEntry& entry);
  void ProcessClassKegTagForPciAndData_(const std::string& tag, PDXProtectionClassInfo& info,
                                        const PDXBytes& data);
  void keep_(std::optional<PDXProtectionClassInfo>& info);
  std::optional<PDXSecret> DerivePasskeyFromPassword_(PDXByteView password) const;
  PDXPasswordKey::Parameters derivation_() const;
  bool UnlockwithPassKey_(PDXByteView passKey);
  std::string damageOf_() const;

  std::stop_token stop_;
  std::optional<std::int32_t> version_;
  std::optional<std::int32_t> type_;
  std::optional<std::int32_t> wrap_;
  std::optional<PDXBytes> uuid_;
  PDXBytes salt_;
  std::optional<std::int32_t> iterations_;
  PDXBytes firstSalt_;
  std::optional<std::int32_t> firstIterations_;
  std::map<std::string, PDXProtectionClassInfo> classes_;
  bool isCut_ = false;
  PDXSecret password_;
  PDXUnlocking unlocking_ = PDXUnlocking::noPassword;
  std::string damage_;
};
