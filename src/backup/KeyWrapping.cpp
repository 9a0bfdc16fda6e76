#include "backup/KeyWrapping.h"

#include <algorithm>

namespace {

constexpr PDXBlock kIntegrity = {{0xA6, 0xA6, 0xA6, 0xA6, 0xA6, 0xA6, 0xA6, 0xA6}};

}  // namespace

PDXBlock::List PDXBlock::BytesToBlocks(PDXByteView bytes) {
  List blocks(bytes.size() / 8);
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(8 * i), 8, blocks[i].bytes.begin());
  }
  return blocks;
}

PDXSecret PDXBlock::BlocksToBytes(const List& blocks) {
  PDXSecret bytes;
  bytes.reserve(blocks.size() * 8);
  for (const PDXBlock& block : blocks) bytes.insert(bytes.end(), block.bytes.begin(), block.bytes.end());
  return bytes;
}

std::array<std::uint8_t, 16> PDXBlock::Concat(const PDXBlock& first, const PDXBlock& second) {
  std::array<std::uint8_t, 16> both{};
  std::copy(second.bytes.begin(), second.bytes.end(),
            std::copy(first.bytes.begin(), first.bytes.end(), both.begin()));
  return both;
}

PDXBlock PDXBlock::Xor(const PDXBlock& block, std::uint64_t number) {
  PDXBlock result = block;
  for (std::size_t i = 0; i < 8; ++i) {
    result.bytes[i] = static_cast<std::uint8_t>(result.bytes[i] ^ (number >> (56 - 8 * i)));
  }
  return result;
}

std::optional<PDXKeyWrapping::Unwrapped> PDXKeyWrapping::unwrap(PDXByteView wrapped) const {
  if (!isValid() || wrapped.size() < 16 || wrapped.size() % 8 != 0) return std::nullopt;
  PDXBlock::List blocks = PDXBlock::BytesToBlocks(wrapped);
  const std::size_t count = blocks.size() - 1;
  PDXBlock& a = blocks.front();
  for (std::size_t round = 6; round-- > 0;) {
    for (std::size_t i = count; i > 0; --i) {
      auto both = PDXBlock::Concat(PDXBlock::Xor(a, count * round + i), blocks[i]);
      cipher_.decipherBlock(both.data());
      std::copy_n(both.begin(), 8, a.bytes.begin());
      std::copy_n(both.begin() + 8, 8, blocks[i].bytes.begin());
      wipe(both.data(), both.size());
    }
  }
  const bool isIntact = a.bytes == kIntegrity.bytes;
  blocks.erase(blocks.begin());
  return Unwrapped{PDXBlock::BlocksToBytes(blocks), isIntact};
}

std::optional<PDXSecret> PDXKeyWrapping::UnwrapKeyWithCipher(PDXByteView key, PDXByteView wrapped) {
  auto unwrapped = PDXKeyWrapping(key).unwrap(wrapped);
  return unwrapped ? std::optional(std::move(unwrapped->key)) : std::nullopt;
}
