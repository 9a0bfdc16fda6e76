#pragma once

#include <string>

#include "music/TrackItem.h"

/// Tracks as a table, one row a track.
namespace PDXTrackCSVGenerator {

std::string header();

/// @param file   where the track's file is, as playlists name it; "" when it is nowhere.
/// @param times  of the caller, since making one is costly.
void appendRow(std::string& text, const TrackItem& track, const std::string& file, PDXLocalTimes& times);

}  // namespace PDXTrackCSVGenerator
