#include <fmt/format.h>

#include "app/cli/Listing.h"
#include "app/export/MusicExport.h"
#include "music/TrackName.h"

namespace {

using Json = nlohmann::ordered_json;

/// "  Ann Fletcher - Tides (Saltmarsh)".
std::string lineOf(const TrackItem& track) {
  std::string line = "  ";
  if (!track.artist.empty()) line += track.artist + " - ";
  line += PDXTrackName::shown(track);
  if (!track.album.empty()) line += " (" + track.album + ")";
  return line;
}

Json playlistsJson(const PDXMusicLibrary& library) {
  auto playlists = Json::array();
  for (const auto& [playlist, tracks] : library.playlists) {
    auto identifiers = Json::array();
    for (const std::size_t track : tracks) identifiers.push_back(library.tracks[track].identifier);
    playlists.push_back({{"containerIdentifier", playlist.containerIdentifier},
                         {"name", playlist.name},
                         {"description", playlist.description},
                         {"tracks", std::move(identifiers)}});
  }
  return playlists;
}

}  // namespace

PDXListing listMusic(const PDXListRequest& request) {
  PDXListing listing;
  const auto library = PDXMusicExport::read(request.deviceData, request.library).value_or(PDXMusicLibrary());
  if (request.wantsItems) {
    for (const TrackItem& track : library.tracks) {
      if (!listing.itemsText.empty()) listing.itemsText += ",\n";
      PDXMusicExport::appendJson(listing.itemsText, track);
    }
    listing.more = {{"playlists", playlistsJson(library)}};
  } else {
    for (const auto& [playlist, tracks] : library.playlists)
      listing.lines.push_back(fmt::format("{:>9}  {}", tracks.size(), playlist.name));
    for (const TrackItem& track : library.tracks) listing.lines.push_back(lineOf(track));
  }
  listing.summary = countedEntries(library.tracks.size(), "track", "tracks") + ", " +
                    countedEntries(library.playlists.size(), "playlist", "playlists");
  return listing;
}
