#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Bytes.h"
#include "platform/Secret.h"

/// The lower-case hexadecimal SHA-1 of the text's UTF-8 bytes: 40 characters. A backup names its files so.
std::string sha_1(std::string_view text);

/// `bytes` in Base64 (RFC 4648, padded), without line breaks.
std::string base64(std::string_view bytes);

/// The bytes that a Base64 text stands for; white space and line breaks in it do not matter. Nothing when it
/// is none.
std::optional<PDXBytes> base64Decoded(std::string_view text);

namespace PDXCrypto {

/// The 20 bytes of a SHA-1 over two runs of bytes, one after the other.
std::array<std::uint8_t, 20> sha1(PDXByteView first, PDXByteView second = {});

enum class Hash { sha1, sha256 };

/// PBKDF2 with HMAC over that hash: `length` bytes. Takes some 0.12 µs a round and cannot be stopped.
/// Nothing when `rounds` is 0, or `password` or `salt` is empty.
std::optional<PDXSecret> passwordBasedKey(Hash hash, PDXByteView password, PDXByteView salt,
                                          std::uint32_t rounds, std::size_t length);

}  // namespace PDXCrypto

/// Deciphers AES with one key of 16, 24 or 32 bytes. The key is wiped when it is released.
class PDXAesDecipher {
 public:
  static constexpr std::size_t kBlock = 16;

  /// Chaining starts with zeros unless `vector` (16 bytes) is given.
  explicit PDXAesDecipher(PDXByteView key, PDXByteView vector = {});
  ~PDXAesDecipher();
  PDXAesDecipher(const PDXAesDecipher&) = delete;
  PDXAesDecipher& operator=(const PDXAesDecipher&) = delete;

  /// Whether key and vector have a size of theirs. Nothing else may be called when not.
  bool isValid() const { return context_ != nullptr; }

  /// One block on its own, in its place.
  void decipherBlock(std::uint8_t* block) const;

  /// On with the chain (CBC). `size` is a whole number of blocks; `to` holds as many bytes and does not
  /// overlap `from`.
  void decipherChained(const std::uint8_t* from, std::uint8_t* to, std::size_t size);

 private:
  struct Context;
  std::unique_ptr<Context> context_;
};
