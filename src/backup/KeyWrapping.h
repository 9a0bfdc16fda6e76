#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/Crypto.h"

/// 64 bits of a wrapped key.
struct PDXBlock {
  std::array<std::uint8_t, 8> bytes{};

  using List = std::vector<PDXBlock, PDXWipingAllocator<PDXBlock>>;

  /// Whole blocks only: what is left over is dropped.
  static List BytesToBlocks(PDXByteView bytes);
  static PDXSecret BlocksToBytes(const List& blocks);

  /// The 16 bytes of two blocks.
  static std::array<std::uint8_t, 16> Concat(const PDXBlock& first, const PDXBlock& second);

  /// The block with a number, as 64 bits from the highest byte on, laid over it.
  static PDXBlock Xor(const PDXBlock& block, std::uint64_t number);
};

/// Unwraps keys (RFC 3394). A wrong key gives wrong bytes, not an error: `isIntact` tells.
class PDXKeyWrapping {
 public:
  struct Unwrapped {
    PDXSecret key;

    /// Whether the standard integrity value (eight times A6) came out beside it, so that the key is right.
    bool isIntact = false;
  };

  /// @param key  the key-encryption key: 16, 24 or 32 bytes.
  explicit PDXKeyWrapping(PDXByteView key) : cipher_(key) {}

  bool isValid() const { return cipher_.isValid(); }

  /// @param wrapped  at least 16 bytes, a multiple of 8. Nothing otherwise, or without a valid key.
  /// @return 8 bytes less than `wrapped`.
  std::optional<Unwrapped> unwrap(PDXByteView wrapped) const;

  /// The same in one call, without the check.
  static std::optional<PDXSecret> UnwrapKeyWithCipher(PDXByteView key, PDXByteView wrapped);

 private:
  PDXAesDecipher cipher_;
};
