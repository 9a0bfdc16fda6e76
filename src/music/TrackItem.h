#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "platform/Date.h"

/// One track of a device's media library. Texts that the library does not have are empty.
struct TrackItem {
  TrackItem() = default;
  explicit TrackItem(std::string ofTrack) : identifier(std::move(ofTrack)) {}

  /// A signed number of 64 bits. Source: item.item_pid.
  std::string identifier;

  std::string name;         ///< Source: item_extra.title.
  std::string album;        ///< Source: album.album.
  std::string artist;       ///< Source: item_artist.item_artist.
  std::string albumArtist;  ///< Source: album_artist.album_artist.
  std::string genre;        ///< Source: genre.genre.

  std::int32_t year = 0;          ///< 0 when unknown. Source: item_extra.year.
  std::uint32_t trackCount = 0;   ///< Source: item_extra.track_count.
  std::uint32_t trackNumber = 0;  ///< Source: item.track_number.
  std::uint32_t diskCount = 0;    ///< Source: item_extra.disc_count.
  std::uint32_t diskNumber = 0;   ///< Source: item.disc_number.
  std::uint32_t duration = 0;     ///< Milliseconds. Source: item_extra.total_time_ms.
  std::uint32_t size = 0;         ///< Bytes. Source: item_extra.file_size.

  /// Missing where item_extra has its own date_created. Source: item.date_added, seconds since 2001.
  std::optional<PDXDate> dateAdded;

  /// Source: item_stats.date_played, seconds since 2001; 0 is never.
  std::optional<PDXDate> datePlayed;

  std::uint32_t playCount = 0;  ///< Source: item_stats.play_count_user.
  std::uint32_t rating = 0;     ///< 0 to 100, 20 for a star. Source: item_stats.user_rating.

  /// Below the device's media folder; missing when no file lies on the device.
  /// Source: base_location.path and item_extra.location.
  std::optional<std::string> filePath;

  bool isAvailableOnDevice = false;  ///< Source: as above, and item.in_my_library.
  bool isLiked = false;              ///< Source: item_stats.liked_state.
  bool isExplicit = false;           ///< Source: item_extra.content_rating is 1.

  /// Missing when there is none. Source: artwork.relative_path.
  std::optional<std::string> artworkPath;
};
