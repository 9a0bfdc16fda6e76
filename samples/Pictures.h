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

/// The picture, lying on its left side.
PDXRaster turnedLeft(const PDXRaster& picture);

/// A JPEG file whose metadata tells a viewer to turn its pixels to the right by 90 degrees, as a camera does
/// that was held upright.
PDXBytes markedAsTurned(const PDXBytes& jpeg);

}  // namespace PDXSamplePictures
