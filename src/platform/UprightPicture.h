#pragma once

#include <optional>
#include <string>

#include "platform/Images.h"

/// Pictures that stand upright in every viewer. A phone stores pixels as its sensor lies and only notes how
/// it was held, and its HEIC files open on few other systems.
/// Safe on any thread. Pictures above 200 megapixels are not decoded.
namespace PDXUprightPicture {

/// Whether the file at `path` can be taken as it is: a JPEG without orientation or with 1, or a format that
/// has none (PNG, GIF). No image library is started.
bool isUpright(const std::string& path);

/// Writes the picture in the file `from` as an upright JPEG to `to`, which may be the same file. Dates,
/// place and other metadata stay. A JPEG that is upright already is copied, another is turned without loss
/// where its size allows and else encoded again.
/// @return nothing on success, else one line that says why; then nothing is written.
std::optional<std::string> write(const std::string& from, const std::string& to);

/// Whether the file begins as a picture of a format that can be read: JPEG, PNG, GIF, HEIC, TIFF or WebP.
bool isPicture(const std::string& path);

/// Writes the picture in the file `from` upright to `to`, which is another file, as JPEG or PNG. One that is
/// upright and of that format already is copied; of several in one file, such as a moving GIF's, the first is
/// taken, and what can be seen through becomes white in a JPEG.
/// @param format       JPEG of the highest quality, or PNG.
/// @param orientation  1 to 8, as EXIF counts them: how to turn a picture that does not say so itself. Any
///                     other number is 1.
/// @return nothing on success, else one line that says why; then nothing is written.
std::optional<std::string> writeAs(const std::string& from, PDXPictureFormat format, int orientation,
                                   const std::string& to);

}  // namespace PDXUprightPicture
