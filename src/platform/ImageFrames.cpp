#include "platform/ImageFrames.h"

#include <algorithm>
#include <cstddef>

namespace {

/// A place in a file; reads behind the end give 0 and end the walk.
class Walk {
 public:
  explicit Walk(const PDXBytes& file, std::size_t at = 0) : file_(file), at_(at) {}

  bool isAtEnd() const { return at_ >= file_.size(); }
  void skip(std::uint64_t count) { at_ = std::min<std::uint64_t>(file_.size(), at_ + count); }
  void goTo(std::uint64_t place) { at_ = std::min<std::uint64_t>(file_.size(), place); }

  std::uint32_t number(int size, bool isBigEndian = false) {
    std::uint32_t value = 0;
    for (int i = 0; i < size; ++i) {
      const std::uint32_t byte = isAtEnd() ? 0 : file_[at_++];
      value = isBigEndian ? value << 8 | byte : value | byte << 8 * i;
    }
    return value;
  }

 private:
  const PDXBytes& file_;
  std::uint64_t at_;
};

/// Behind the table of colours that a byte of flags announces.
void skipColours(Walk& gif, std::uint32_t flags) {
  if ((flags & 0x80U) != 0) gif.skip(std::uint64_t{3} << ((flags & 7U) + 1));
}

std::uint64_t gifFrames(const PDXBytes& file, std::uint64_t most) {
  Walk gif(file, 10);
  const std::uint32_t flags = gif.number(1);
  gif.skip(2);
  skipColours(gif, flags);
  std::uint64_t count = 0;
  while (!gif.isAtEnd() && count < most) {
    const std::uint32_t kind = gif.number(1);
    if (kind == ',') {
      ++count;
      gif.skip(8);
      skipColours(gif, gif.number(1));
      gif.skip(1);
    } else if (kind == '!') {
      gif.skip(1);
    } else if (kind == ';') {
      break;
    } else {
      continue;  // As the library does, which looks on for something that it knows.
    }
    for (std::uint32_t size = gif.number(1); size != 0; size = gif.number(1)) gif.skip(size);
  }
  return count;
}

std::uint64_t webpFrames(const PDXBytes& file, std::uint64_t most) {
  Walk webp(file, 12);
  std::uint64_t count = 0;
  while (!webp.isAtEnd() && count < most) {
    constexpr std::uint32_t kFrame = 0x464D4E41;  // "ANMF"
    if (webp.number(4) == kFrame) ++count;
    const std::uint64_t size = webp.number(4);
    webp.skip(size + size % 2);
  }
  return count;
}

std::uint64_t tiffPages(const PDXBytes& file, std::uint64_t most) {
  const bool isBigEndian = !file.empty() && file[0] == 'M';
  Walk tiff(file, 4);
  std::uint64_t count = 0;
  for (std::uint32_t next = tiff.number(4, isBigEndian); next != 0 && count < most; ++count) {
    tiff.goTo(next);
    if (tiff.isAtEnd()) break;
    constexpr std::uint64_t kEntry = 12;
    tiff.skip(kEntry * tiff.number(2, isBigEndian));
    next = tiff.number(4, isBigEndian);
  }
  return count;
}

}  // namespace

namespace PDXImageFrames {

std::uint64_t count(const PDXBytes& file, const std::string& format, std::uint64_t most) {
  if (format == "gif") return gifFrames(file, most);
  if (format == "webp") return webpFrames(file, most);
  if (format == "tiff") return tiffPages(file, most);
  return 1;
}

}  // namespace PDXImageFrames
