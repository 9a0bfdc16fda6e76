#pragma once

#include <cstdint>

#include "platform/Images.h"

/// The pictures of a sample. `variety` decides colours and places; the same number gives the same pixels.
namespace PDXSamplePictures {

/// What the photographs of a sample show.
enum class Scene { harbour, hills, city, garden, screen };

PDXRaster scene(Scene scene, int width, int height, std::uint64_t variety);

/// A person, in a square of `size` pixels.
PDXRaster portrait(int size, std::uint64_t variety);

/// An arrow that points up and the letter F, so that every way to turn or mirror it can be told.
PDXRaster signpost(int width, int height);

/// The picture as a camera stores it that was held so.
/// @param orientation  1 to 8, as EXIF counts them: which sides the stored first row and column are.
PDXRaster heldAs(const PDXRaster& picture, int orientation);

/// A JPEG file whose metadata names that orientation, and no other metadata.
PDXBytes markedAs(const PDXBytes& jpeg, int orientation);

}  // namespace PDXSamplePictures
