#include "platform/Inflate.h"

#include <zlib.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace {

/// Either kind of header, and the largest window.
constexpr int kWindowBits = 15 + 32;

/// No byte of a stream stands for more than this many.
constexpr std::size_t kMostGrowth = 1032;

struct End {
  void operator()(z_stream* stream) const { inflateEnd(stream); }
};

/// The size that a gzip stream names in its last four bytes. It may lie, so it is only where to begin.
std::size_t namedSize(std::span<const std::uint8_t> packed) {
  std::size_t size = 0;
  for (std::size_t i = 1; i <= 4 && packed.size() >= 4; ++i) size = size << 8 | packed[packed.size() - i];
  return size;
}

/// A byte more than is named, so that the end is met before the room is.
std::size_t firstSize(std::span<const std::uint8_t> packed, std::size_t limit) {
  const std::size_t usual = packed.size() + packed.size() / 2;
  const std::size_t named = namedSize(packed);
  const std::size_t size = named / kMostGrowth <= packed.size() ? named + 1 : usual;
  return std::clamp<std::size_t>(size, 64, std::max<std::size_t>(std::min(limit, std::size_t{1} << 20), 64));
}

const char* whyFor(int result) {
  if (result == Z_BUF_ERROR || result == Z_OK) return "it is cut off";
  return result == Z_MEM_ERROR ? "there is not enough memory" : "it is no gzip data, or damaged";
}

}  // namespace

namespace PDXInflate {

Inflated inflated(std::span<const std::uint8_t> packed, std::size_t limit) {
  if (packed.empty()) return {{}, "it is empty"};
  z_stream stream{};
  if (inflateInit2(&stream, kWindowBits) != Z_OK) return {{}, whyFor(Z_MEM_ERROR)};
  const std::unique_ptr<z_stream, End> owned(&stream);
  stream.next_in = const_cast<Bytef*>(packed.data());
  stream.avail_in = static_cast<uInt>(std::min<std::size_t>(packed.size(), ~uInt{0}));

  PDXBytes bytes(firstSize(packed, limit));
  std::size_t count = 0;
  int result = Z_OK;
  while (result == Z_OK) {
    if (count == bytes.size()) bytes.resize(bytes.size() * 2);
    stream.next_out = bytes.data() + count;
    stream.avail_out = static_cast<uInt>(std::min<std::size_t>(bytes.size() - count, ~uInt{0}));
    const uInt room = stream.avail_out;
    result = inflate(&stream, Z_NO_FLUSH);
    count += room - stream.avail_out;
    if (count > limit) return {{}, "it would grow beyond " + std::to_string(limit >> 20) + " MB"};
  }
  if (result != Z_STREAM_END) return {{}, whyFor(result)};
  bytes.resize(count);
  return {std::move(bytes), ""};
}

}  // namespace PDXInflate
