#pragma once

#include <cstdint>
#include <mutex>

#include "platform/Bytes.h"

/// How much memory a picture may claim. For this folder's own sources.
namespace PDXImageLimits {

/// Larger ones are not decoded.
constexpr std::uint64_t kMostPixels = 200'000'000;

/// Up to here each worker turns a picture of its own; larger ones take turns. Turning holds six bytes for a
/// pixel.
constexpr std::uint64_t kLargePixels = 25'000'000;

/// Even an empty picture costs a bit for each block of 64 pixels. A header that claims more is made up.
constexpr bool canHold(std::uint64_t fileSize, std::uint64_t pixels) {
  return pixels <= kMostPixels && pixels / 512 <= fileSize;
}

/// A progressive picture is gone through once for each scan, and a few bytes make a scan: no real one has
/// more pixels times scans.
constexpr std::uint64_t kMostWork = 4'000'000'000;

/// Scans of all pictures in a JPEG file, its thumbnail included.
inline std::uint64_t scanCount(const PDXBytes& jpeg) {
  std::uint64_t count = 0;
  for (std::size_t i = 1; i < jpeg.size(); ++i) {
    if (jpeg[i] == 0xDA && jpeg[i - 1] == 0xFF) ++count;
  }
  return count;
}

/// Held while a picture of that many pixels is in memory.
inline std::unique_lock<std::mutex> turnFor(std::uint64_t pixels) {
  static std::mutex large;
  return pixels > kLargePixels ? std::unique_lock(large) : std::unique_lock<std::mutex>();
}

}  // namespace PDXImageLimits
