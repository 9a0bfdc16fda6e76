#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "music/PlaylistMembers.h"
#include "music/TrackCollection.h"
#include "music/TrackItem.h"

/// Everything that a library holds of music, for lists and exports.
struct PDXMusicLibrary {
  struct Playlist {
    TrackPlaylist playlist;
    std::vector<std::size_t> tracks;  ///< Places among the tracks, in the playlist's order.
  };

  std::vector<TrackItem> tracks;  ///< Each once, in the library's order.
  std::vector<Playlist> playlists;

  /// Entries of the library, counted apart from what reads them; nothing when they cannot be counted.
  std::optional<std::size_t> rows;
  std::size_t noMusic = 0;  ///< Of them films, podcasts and the like.
};

/// Reads the music catalogue of a device.
///
/// Source: a local copy of "iTunes_Control/iTunes/MediaLibrary.sqlitedb" with its "-wal" beside it. The copy
/// is written to: members of playlists are gathered in a table of it.
/// Errors: none leave the reader; the log says why an answer is missing or empty.
/// Threads: one reader, one thread.
class MusicIOSDeviceDataReader {
 public:
  /// @param libraryPath  UTF-8 path; need not exist.
  /// @param mediaFile    for playlists that are kept as files.
  explicit MusicIOSDeviceDataReader(std::string libraryPath, PDXPlaylistMembers::MediaFile mediaFile = {});

  /// The folder below the device's media folder, and the files there, that the reader wants copies of.
  static std::string wantedFolder();
  static std::vector<std::string> wantedFiles();

  /// "Songs", "Downloaded", "Recently Added".
  static std::vector<TrackCollection> collections();

  /// The playlists that somebody made, by name: none that are hidden, and none that the device fills.
  std::vector<TrackPlaylist> playlists() const;

  /// The music of the library in its own order, or of a playlist in the playlist's. Nothing when the database
  /// cannot be opened or asked.
  std::optional<std::vector<TrackItem>> tracks(const std::optional<TrackPlaylist>& playlist = {}) const;

  /// All of it at once, with the tracks that the operation above drops (see `PDXTrackQuery`). Nothing as
  /// above.
  std::optional<PDXMusicLibrary> everything() const;

 private:
  std::string libraryPath_;
  PDXPlaylistMembers::MediaFile mediaFile_;
};
