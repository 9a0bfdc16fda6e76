#include "platform/Inflate.h"

#include <libdeflate.h>

#include <algorithm>
#include <memory>

namespace {

struct Release {
  void operator()(libdeflate_decompressor* decompressor) const noexcept {
    libdeflate_free_decompressor(decompressor);
  }
};

using Decompressor = std::unique_ptr<libdeflate_decompressor, Release>;

/// No byte of a stream stands for more than this many.
constexpr std::size_t kMostGrowth = 1032;

bool isGzip(std::span<const std::uint8_t> packed) {
  return packed.size() >= 2 && packed[0] == 0x1F && packed[1] == 0x8B;
}

/// The size that a gzip stream names in its last four bytes. It may lie, so it is only where to begin.
std::size_t namedSize(std::span<const std::uint8_t> packed) {
  std::size_t size = 0;
  for (std::size_t i = 1; i <= 4 && packed.size() >= 4; ++i) size = size << 8 | packed[packed.size() - i];
  return size;
}

std::size_t firstSize(std::span<const std::uint8_t> packed, std::size_t limit) {
  constexpr std::size_t kMostAtFirst = std::size_t{1} << 20;
  const std::size_t usual = packed.size() + packed.size() / 2;
  const std::size_t named = namedSize(packed);
  const std::size_t size = named / kMostGrowth <= packed.size() ? named : usual;
  return std::clamp<std::size_t>(size, 64, std::clamp<std::size_t>(limit, 64, kMostAtFirst));
}

/// Fills `bytes` from its beginning on; `count` receives how many there are.
libdeflate_result unpack(libdeflate_decompressor* with, std::span<const std::uint8_t> packed, PDXBytes& bytes,
                         std::size_t& count) {
  const auto decompress = isGzip(packed) ? libdeflate_gzip_decompress_ex : libdeflate_zlib_decompress_ex;
  std::size_t taken = 0;  // What follows the stream's end may be anything.
  return decompress(with, packed.data(), packed.size(), bytes.data(), bytes.size(), &taken, &count);
}

}  // namespace

namespace PDXInflate {

std::string inflate(std::span<const std::uint8_t> packed, std::size_t limit, PDXBytes& bytes) {
  bytes.clear();
  if (packed.empty()) return "it is empty";
  thread_local const Decompressor decompressor(libdeflate_alloc_decompressor());
  if (decompressor == nullptr) return "there is not enough memory";
  std::size_t count = 0;
  bytes.resize(firstSize(packed, limit));
  auto result = unpack(decompressor.get(), packed, bytes, count);
  while (result == LIBDEFLATE_INSUFFICIENT_SPACE && bytes.size() <= limit) {
    const std::size_t size = bytes.size() * 2;
    bytes.clear();  // Nothing in it needs to be kept.
    bytes.resize(size);
    result = unpack(decompressor.get(), packed, bytes, count);
  }
  const bool isTooLong = result == LIBDEFLATE_INSUFFICIENT_SPACE || count > limit;
  bytes.resize(result == LIBDEFLATE_SUCCESS && !isTooLong ? count : 0);
  if (isTooLong) return "it would grow beyond " + std::to_string(limit >> 20) + " MB";
  return result == LIBDEFLATE_SUCCESS ? "" : "it is no gzip data, or it is damaged or cut off";
}

}  // namespace PDXInflate
