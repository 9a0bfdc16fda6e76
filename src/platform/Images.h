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

/// A picture in another form.
struct PDXRewrittenPicture {
  enum class Outcome {
    done,
    damaged,  ///< Cut, damaged or of another format.
    tooLarge  ///< It would cost more than `PDXImageLimits` allow, or than there is memory.
  } outcome = Outcome::damaged;
  PDXBytes file;  ///< Empty unless done.
};

/// Pictures. The image library starts when the first picture needs it.
namespace PDXImages {

/// The picture as a file of that format. Nothing when the raster is empty or the system's library cannot
/// write the format.
/// @param quality  1 to 100, for JPEG and HEIC.
std::optional<PDXBytes> encoded(const PDXRaster& raster, PDXPictureFormat format, int quality = 85);

/// The picture in a JPEG or HEIC file as a JPEG of high quality, with its metadata as it was. Decoded by
/// libraries that are kept up against hostile files, once its size is known.
/// @param orientation  1 to 8, as EXIF counts them: how the decoded pixels have to be turned.
PDXRewrittenPicture turned(const std::string& path, PDXPictureFormat format, int orientation);

/// The picture in a JPEG, PNG, GIF, HEIC, TIFF or WebP file as a JPEG of the highest quality or a PNG,
/// upright; of several frames or pages the first. Its metadata stays.
/// @param orientation  1 to 8: how to turn a picture that does not say so itself.
PDXRewrittenPicture converted(const std::string& path, PDXPictureFormat format, int orientation);

/// The file extension ("jpg", "png", "heic", "avif", "gif", "tiff", "webp") that the first bytes of a picture
/// call for; "" when they are no picture's. Some 64 bytes are enough.
std::string extensionFor(const PDXBytes& picture);

/// Starts the image library when it has not been yet. False when it cannot be used.
bool isReady();

}  // namespace PDXImages
