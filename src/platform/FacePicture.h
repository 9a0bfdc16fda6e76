#pragma once

#include <optional>
#include <string>

#include "platform/Bytes.h"

/// A small round picture: rows from the top, four bytes a pixel (red, green, blue, opacity).
struct PDXFacePicture {
  int width = 0;
  int height = 0;
  PDXBytes pixels;

  bool empty() const { return pixels.empty(); }
};

/// Round pictures of people. Safe on any thread.
namespace PDXFaces {

/// The middle of a picture, upright, as a disc.
/// @param file  a JPEG, PNG, GIF, HEIC, TIFF or WebP file, which nobody has checked.
/// @param size  width and height of the result in pixels.
/// @return nothing when the file is cut, damaged, no picture or larger than `PDXImageLimits` allow.
std::optional<PDXFacePicture> fromPicture(const PDXBytes& file, int size);

/// A disc with letters on it.
/// @param letters   one or two characters as readers count them, of any script; emoji keep their colours. A
///                  text that the fonts cannot draw leaves the disc bare.
/// @param colourOf  the disc's colour depends on this alone, without regard to case; white can be read on it.
PDXFacePicture fromLetters(const std::string& letters, const std::string& colourOf, int size);

/// The picture as a PNG file; nothing when it is empty.
std::optional<PDXBytes> asPng(const PDXFacePicture& face);

/// A picture that `asPng` made; nothing when the file is anything else.
std::optional<PDXFacePicture> fromPng(const PDXBytes& file);

}  // namespace PDXFaces
