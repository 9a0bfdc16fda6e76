#pragma once

#include <string>

#include "music/TrackItem.h"

namespace PDXTrackName {

/// What people see of a track: its title, without one the name of its file, "UBER.m4a", and without a file
/// "record 1005". Never empty.
std::string shown(const TrackItem& track);

}  // namespace PDXTrackName
