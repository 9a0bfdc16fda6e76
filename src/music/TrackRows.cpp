#include "music/TrackRows.h"

#include <cmath>
#include <limits>

#include "backup/SQLiteHelper.h"

PDXTrackRows::PDXTrackRows(const PDXSQLiteStatement& rows, const std::string& store)
    : rows_(rows),
      dates_("date of a track", store),
      numbers_("number of a track", store),
      records_("track", store) {
  const auto column = [&rows](const char* name) {
    return PDXSQLiteHelper::indexOfColumnNamedWithinStatment(name, rows);
  };
  identifier_ = column("item_pid");
  path_ = column("path");
  location_ = column("location");
  title_ = column("title");
  album_ = column("album");
  artist_ = column("item_artist");
  albumArtist_ = column("album_artist");
  genre_ = column("genre");
  yearColumn_ = column("year");
  trackCount_ = column("track_count");
  trackNumber_ = column("track_number");
  diskNumber_ = column("disc_number");
  diskCount_ = column("disc_count");
  duration_ = column("total_time_ms");
  size_ = column("file_size");
  added_ = column("date_added");
  played_ = column("date_played");
  playCount_ = column("play_count_user");
  rating_ = column("user_rating");
  liked_ = column("liked_state");
  inLibrary_ = column("in_my_library");
  contentRating_ = column("content_rating");
  artwork_ = column("artwork_relative_path");
  extra_ = column("extra_pid");
}

std::string PDXTrackRows::text_(int column) const {
  return PDXSQLiteHelper::stringValueForColumnFromStatment(column, rows_);
}

std::uint32_t PDXTrackRows::number_(int column) {
  if (rows_.isNull(column)) return 0;
  const std::int64_t number = rows_.int64(column);
  if (rows_.isNumber(column) && number >= 0 && number <= std::numeric_limits<std::uint32_t>::max())
    return static_cast<std::uint32_t>(number);
  numbers_.add(place_(), "no " + rows_.columnName(column) + " is stored as " + text_(column));
  return 0;
}

std::int32_t PDXTrackRows::year_() {
  constexpr std::int64_t kLastYear = 9999;
  if (rows_.isNull(yearColumn_)) return 0;
  const std::int64_t year = rows_.int64(yearColumn_);
  if (rows_.isNumber(yearColumn_) && year >= 0 && year <= kLastYear) return static_cast<std::int32_t>(year);
  numbers_.add(place_(), "no year is stored as " + text_(yearColumn_));
  return 0;
}

std::optional<PDXDate> PDXTrackRows::date_(int column) {
  if (rows_.isNull(column)) return std::nullopt;
  const double seconds = std::trunc(rows_.real(column));
  if (rows_.isNumber(column) && seconds == 0) return std::nullopt;
  const auto date = rows_.isNumber(column) ? PDXDates::fromReferenceFraction(seconds) : std::nullopt;
  if (!date) dates_.add(place_(), "no date is stored as " + text_(column));
  return date;
}

void PDXTrackRows::setFile_(TrackItem& track) const {
  const std::string path = text_(path_);
  const std::string location = text_(location_);
  if (path.empty() || location.empty() || path == "CloudAssets") return;
  track.filePath = path + "/" + location;
  track.isAvailableOnDevice = inLibrary_ < 0 || rows_.int64(inLibrary_) != 0;
}

TrackItem PDXTrackRows::track() {
  TrackItem track(text_(identifier_));
  if (track.identifier.empty() && extra_ >= 0) {
    track.identifier = text_(extra_);
    records_.add("record " + track.identifier, "its row in the table of items is not in the library");
  }
  track.name = text_(title_);
  track.album = text_(album_);
  track.artist = text_(artist_);
  track.albumArtist = text_(albumArtist_);
  track.genre = text_(genre_);
  track.year = year_();
  track.trackCount = number_(trackCount_);
  track.trackNumber = number_(trackNumber_);
  track.diskCount = number_(diskCount_);
  track.diskNumber = number_(diskNumber_);
  track.duration = number_(duration_);
  track.size = number_(size_);
  track.dateAdded = date_(added_);
  track.datePlayed = date_(played_);
  track.playCount = number_(playCount_);
  track.rating = number_(rating_);
  setFile_(track);
  track.isLiked = rows_.int64(liked_) != 0;
  track.isExplicit = rows_.int64(contentRating_) == 1;
  if (std::string artwork = text_(artwork_); !artwork.empty()) track.artworkPath = std::move(artwork);
  return track;
}
