#pragma once

#include <string>

#include "music/TrackCollection.h"
#include "music/TrackItem.h"

/// Playlists as players read them: UTF-8, a line of description and one of the file's path for each track.
namespace PDXPlaylistM3UGenerator {

std::string beginning(const TrackPlaylist& playlist);

/// @param file  path of the track's file, relative to the playlist; "" when it is not there: a comment then
///              keeps the track's place.
void appendTrack(std::string& text, const TrackItem& track, const std::string& file);

}  // namespace PDXPlaylistM3UGenerator
