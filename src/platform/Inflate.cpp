#include "platform/Inflate.h"

#include <zlib.h>

#include <algorithm>

namespace {

/// Either kind of header, and the largest window.
constexpr int kWindowBits = 15 + 32;

/// No byte of a stream stands for more than this many.
constexpr std::size_t kMostGrowth = 1032;

/// A stream of the library's, made once for each thread: for small data making one costs as much as the rest.
class Stream {
 public:
  Stream() : isReady_(inflateInit2(&stream_, kWindowBits) == Z_OK) {}
  ~Stream() {
    if (isReady_) inflateEnd(&stream_);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  /// Ready for new data; null when there is no memory for it.
  z_stream* fresh() { return isReady_ && inflateReset2(&stream_, kWindowBits) == Z_OK ? &stream_ : nullptr; }

 private:
  z_stream stream_{};
  bool isReady_;
};

/// The library's longest copy, and some.
constexpr std::size_t kSlack = 320;

/// The size that a gzip stream names in its last four bytes. It may lie, so it is only where to begin.
std::size_t namedSize(std::span<const std::uint8_t> packed) {
  std::size_t size = 0;
  for (std::size_t i = 1; i <= 4 && packed.size() >= 4; ++i) size = size << 8 | packed[packed.size() - i];
  return size;
}

/// More than is named: the library goes byte by byte where the room for its longest copy runs out.
std::size_t firstSize(std::span<const std::uint8_t> packed, std::size_t limit) {
  const std::size_t usual = packed.size() + packed.size() / 2;
  const std::size_t named = namedSize(packed);
  const std::size_t size = named / kMostGrowth <= packed.size() ? named + kSlack : usual;
  return std::clamp<std::size_t>(size, 64, std::max<std::size_t>(std::min(limit, std::size_t{1} << 20), 64));
}

const char* whyFor(int result) {
  if (result == Z_BUF_ERROR || result == Z_OK) return "it is cut off";
  return result == Z_MEM_ERROR ? "there is not enough memory" : "it is no gzip data, or damaged";
}

/// How the unpacking of a whole stream ended. `bytes` is larger than `count` while it goes on.
struct Progress {
  int result = Z_OK;
  std::size_t count = 0;
};

/// Goes on until the stream ends, fails or has given more than `limit` bytes.
Progress unpack(z_stream& stream, std::size_t limit, PDXBytes& bytes) {
  Progress progress;
  // Said to be the last call, the library keeps no copy of what it wrote, which would cost more than the rest
  // for a small stream. That the room ran out is no failure then.
  do {
    if (progress.count == bytes.size()) bytes.resize(bytes.size() * 2);
    stream.next_out = bytes.data() + progress.count;
    stream.avail_out = static_cast<uInt>(std::min<std::size_t>(bytes.size() - progress.count, ~uInt{0}));
    const uInt room = stream.avail_out;
    progress.result = ::inflate(&stream, Z_FINISH);
    progress.count += room - stream.avail_out;
  } while (progress.result == Z_BUF_ERROR && stream.avail_out == 0 && progress.count <= limit);
  return progress;
}

}  // namespace

namespace PDXInflate {

std::string inflate(std::span<const std::uint8_t> packed, std::size_t limit, PDXBytes& bytes) {
  bytes.clear();
  if (packed.empty()) return "it is empty";
  thread_local Stream ofThread;
  z_stream* const stream = ofThread.fresh();
  if (stream == nullptr) return whyFor(Z_MEM_ERROR);
  stream->next_in = const_cast<Bytef*>(packed.data());
  stream->avail_in = static_cast<uInt>(std::min<std::size_t>(packed.size(), ~uInt{0}));
  bytes.resize(firstSize(packed, limit));
  const Progress progress = unpack(*stream, limit, bytes);
  const bool isTooLong = progress.count > limit;
  bytes.resize(progress.result == Z_STREAM_END && !isTooLong ? progress.count : 0);
  if (isTooLong) return "it would grow beyond " + std::to_string(limit >> 20) + " MB";
  return progress.result == Z_STREAM_END ? "" : whyFor(progress.result);
}

}  // namespace PDXInflate
