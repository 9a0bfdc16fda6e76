#pragma once

#include <cstdint>
#include <mutex>

#include "platform/Bytes.h"

/// What a picture may cost, for all that decode one. For this folder's own sources.
namespace PDXImageLimits {

/// What a picture says of itself ahead of its pixels.
struct Claim {
  std::uint64_t fileSize = 0;
  std::uint64_t width = 0;
  std::uint64_t height = 0;
  std::uint64_t pixelSize = 3;  ///< Bytes that a decoded pixel takes.
  std::uint64_t pages = 1;      ///< Or frames, of which only the first is decoded.
  std::uint64_t scans = 1;      ///< How often the decoder goes through all pixels.
  bool isTiled = false;         ///< HEIC: large areas of one colour cost next to nothing.

  constexpr std::uint64_t pixels() const { return width * height; }
};

/// Larger ones are not decoded.
constexpr std::uint64_t kMostPixels = 200'000'000;

/// Up to here each worker turns a picture of its own; larger ones take turns. Turning holds six bytes for a
/// pixel.
constexpr std::uint64_t kLargePixels = 25'000'000;

/// Memory of all decoded pixels.
constexpr std::uint64_t kMostBytes = 6 * kMostPixels;

/// Even an empty picture of most formats costs a bit for each block of 64 pixels. Some pack a single colour
/// into a few bytes whatever its size; a screen of that costs little. A header that claims more is made up.
constexpr std::uint64_t kPixelsForNothing = 4'000'000;
constexpr std::uint64_t kPixelsPerByte = 512;
constexpr std::uint64_t kTiledPixelsPerByte = 4096;

/// A progressive picture is gone through once for each scan, and a few bytes make a scan: no real one has
/// more pixels times scans.
constexpr std::uint64_t kMostWork = 4'000'000'000;

/// The libraries look for each frame from the first one on when they count them.
constexpr std::uint64_t kMostPages = 10'000;

/// To draw a line of text: fonts are mapped, and their libraries end the process without memory.
constexpr std::uint64_t kMemoryForText = std::uint64_t{48} << 20;

constexpr bool isAffordable(const Claim& claim) {
  constexpr std::uint64_t kMostSide = 1 << 20;  // Products stay far below what a number holds.
  if (claim.width > kMostSide || claim.height > kMostSide || claim.pages > kMostPages) return false;
  const std::uint64_t pixels = claim.pixels();
  return pixels <= kMostPixels &&
         (pixels <= kPixelsForNothing ||
          pixels / (claim.isTiled ? kTiledPixelsPerByte : kPixelsPerByte) <= claim.fileSize) &&
         claim.pixelSize <= kMostBytes / (pixels + 1) && claim.scans <= kMostWork / (pixels + 1);
}

/// For the pixels as decoded, turned and about to be written.
constexpr std::uint64_t memoryFor(const Claim& claim) {
  constexpr std::uint64_t kCopies = 3;
  return claim.pixels() * claim.pixelSize * kCopies + claim.fileSize;
}

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
