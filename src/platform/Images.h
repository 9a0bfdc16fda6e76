#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/Bytes.h"

enum class PDXPictureFormat { jpeg, png, heic };

/// A picture in memory: rows from the top, pixels from the left, three bytes each (red, green, blue).
struct PDXRaster {
  int width = 0;
  int height = 0;
  PDXBytes pixels;
};

/// Pictures. The image library starts when the first picture needs it.
namespace PDXImages {

/// The picture as a file of that format. Nothing when the raster is empty or the system's library cannot
/// write the format.
/// @param quality  1 to 100, for JPEG and HEIC.
std::optional<PDXBytes> encoded(const PDXRaster& raster, PDXPictureFormat format, int quality = 85);

/// The picture in a JPEG or HEIC file as a JPEG of high quality, with its metadata as it was. Decoded by
/// libraries that are kept up against hostile files; see `PDXUprightPicture` for the limits.
/// @param orientation  1 to 8, as EXIF counts them: how the decoded pixels have to be turned.
/// @return nothing when the file is cut, damaged, larger than its kind may be or of another format.
std::optional<PDXBytes> turned(const std::string& path, PDXPictureFormat format, int orientation);

/// The picture in a JPEG, PNG, GIF, HEIC, TIFF or WebP file as a JPEG of the highest quality or a PNG,
/// upright. Its metadata stays.
/// @param orientation  1 to 8: how to turn a picture that does not say so itself.
/// @return nothing when the file is cut, damaged, too large or of another format.
std::optional<PDXBytes> converted(const std::string& path, PDXPictureFormat format, int orientation);

/// The file extension ("jpg", "png", "heic", "avif", "gif", "tiff", "webp") that the first bytes of a picture
/// call for; "" when they are no picture's. Some 64 bytes are enough.
std::string extensionFor(const PDXBytes& picture);

/// Starts the image library when it has not been yet. False when it cannot be used.
bool isReady();

}  // namespace PDXImages
