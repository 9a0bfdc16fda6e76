#pragma once

#include <cstdint>
#include <optional>

#include "platform/Bytes.h"

/// What a JPEG says ahead of its pixels. Numbers are as the file gives them: nothing may be sized by them
/// unchecked.
struct PDXJpegHead {
  /// How a viewer has to turn the pixels, 1 to 8; 1 is not at all, also when the file does not say or says
  /// nonsense. Source: EXIF tag 0x0112 of the first directory.
  int orientation = 1;

  /// Whether the file says anything of its orientation.
  bool tellsOrientation = false;

  std::uint32_t width = 0;   ///< Pixels as they are stored; 0 without a frame header.
  std::uint32_t height = 0;  ///< Likewise.

  /// Whether the pixels begin within the bytes that were looked at.
  bool reachesPixels = false;
};

/// Reads and corrects the metadata of JPEG files byte by byte, so that the many pictures that stand upright
/// cost no image library. Bytes may be cut or hostile anywhere.
namespace PDXImageOrientation {

/// @param jpeg  the file or its beginning.
/// @return nothing when the bytes are not the beginning of a JPEG.
std::optional<PDXJpegHead> headOf(const PDXBytes& jpeg);

/// Tells viewers that the pixels stand upright now: the orientation in EXIF and XMP metadata becomes 1, and
/// the EXIF thumbnail, which still lies on its side, is unlinked. The size does not change.
void markUpright(PDXBytes& jpeg);

}  // namespace PDXImageOrientation
