#pragma once

#include <optional>
#include <string>

#include "platform/Bytes.h"

namespace PDXImages {

/// A picture of a place, drawn without a map, since a map would have to come from the network: a pin on a
/// grid, with a label and the coordinates below it. A PNG of 640 by 400 pixels; the same place gives the same
/// bytes on one machine (letters depend on its fonts).
/// @param label      may be empty; a long one is cut.
/// @param latitude   degrees, north positive, -90 to 90.
/// @param longitude  degrees, east positive, -180 to 180.
/// @return nothing when the system's library cannot write it. Without fonts the texts are left out.
std::optional<PDXBytes> locationPicture(const std::string& label, double latitude, double longitude);

}  // namespace PDXImages
