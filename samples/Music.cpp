#include "samples/Music.h"

#include <cmath>
#include <string_view>

#include "platform/Files.h"
#include "platform/Sqlite.h"
#include "samples/Table.h"

namespace {

/// What all layouts share.
constexpr const char* kSchema =
    "CREATE TABLE album (album_pid INTEGER PRIMARY KEY, album TEXT NOT NULL DEFAULT '', sort_album TEXT, "
    "album_artist_pid INTEGER NOT NULL DEFAULT 0);"
    "CREATE TABLE album_artist (album_artist_pid INTEGER PRIMARY KEY, album_artist TEXT NOT NULL DEFAULT '', "
    "sort_album_artist TEXT);"
    "CREATE TABLE base_location (base_location_id INTEGER PRIMARY KEY, path TEXT NOT NULL);"
    "CREATE TABLE container (container_pid INTEGER PRIMARY KEY, distinguished_kind INTEGER NOT NULL DEFAULT "
    "0, "
    "name TEXT NOT NULL DEFAULT '', parent_pid INTEGER NOT NULL DEFAULT 0, is_hidden INTEGER NOT NULL "
    "DEFAULT 0, "
    "description TEXT, smart_is_folder INTEGER NOT NULL DEFAULT 0, smart_is_dynamic INTEGER NOT NULL DEFAULT "
    "0, "
    "smart_is_genius INTEGER NOT NULL DEFAULT 0, filepath TEXT);"
    "CREATE TABLE container_item (container_item_pid INTEGER PRIMARY KEY, container_pid INTEGER NOT NULL "
    "DEFAULT "
    "0, item_pid INTEGER NOT NULL DEFAULT 0, position INTEGER NOT NULL DEFAULT 0, uuid TEXT NOT NULL DEFAULT "
    "'');"
    "CREATE TABLE genre (genre_id INTEGER PRIMARY KEY, genre TEXT NOT NULL DEFAULT '');"
    "CREATE TABLE item_artist (item_artist_pid INTEGER PRIMARY KEY, item_artist TEXT NOT NULL DEFAULT '', "
    "sort_item_artist TEXT);";

/// Columns that move from one table to another, and tables that come, with the versions.
std::string schemaOf(int version) {
  const bool isOldest = version < 7;
  const bool isNewer = version >= 8;
  std::string item =
      "CREATE TABLE item (item_pid INTEGER PRIMARY KEY, media_type INTEGER NOT NULL DEFAULT 0, "
      "item_artist_pid "
      "INTEGER NOT NULL DEFAULT 0, album_pid INTEGER NOT NULL DEFAULT 0, album_artist_pid INTEGER NOT NULL "
      "DEFAULT "
      "0, genre_id INTEGER NOT NULL DEFAULT 0, disc_number INTEGER DEFAULT 0, track_number INTEGER DEFAULT "
      "0, "
      "base_location_id INTEGER NOT NULL DEFAULT 0";
  item += isNewer ? ", in_my_library INTEGER NOT NULL DEFAULT 0, is_compilation INTEGER NOT NULL DEFAULT 0, "
                    "date_added INTEGER NOT NULL DEFAULT 0);"
                  : ", is_video INTEGER NOT NULL DEFAULT 0, is_podcast INTEGER NOT NULL DEFAULT 0);";
  std::string extra =
      "CREATE TABLE item_extra (item_pid INTEGER PRIMARY KEY, title TEXT NOT NULL DEFAULT '', sort_title "
      "TEXT, "
      "disc_count INTEGER DEFAULT 0, track_count INTEGER DEFAULT 0, total_time_ms REAL NOT NULL DEFAULT 0, "
      "year "
      "INTEGER DEFAULT 0, location TEXT NOT NULL DEFAULT '', file_size INTEGER NOT NULL DEFAULT 0, "
      "media_kind "
      "INTEGER NOT NULL DEFAULT 0, content_rating INTEGER NOT NULL DEFAULT 0, description TEXT, "
      "description_long "
      "TEXT";
  if (!isNewer)
    extra += ", is_compilation INTEGER NOT NULL DEFAULT 0, date_created INTEGER NOT NULL DEFAULT 0";
  if (isOldest) extra += ", bit_rate INTEGER";
  std::string stats =
      ");CREATE TABLE item_stats (item_pid INTEGER PRIMARY KEY, user_rating INTEGER DEFAULT 0, "
      "play_count_user "
      "INTEGER DEFAULT 0, date_played INTEGER DEFAULT 0";
  if (isNewer) stats += ", liked_state INTEGER NOT NULL DEFAULT 0";
  std::string more = ");";
  if (!isOldest)
    more +=
        "CREATE TABLE item_playback (item_pid INTEGER PRIMARY KEY, bit_rate INTEGER NOT NULL DEFAULT 0);"
        "CREATE TABLE item_store (item_pid INTEGER PRIMARY KEY, store_item_id INTEGER NOT NULL DEFAULT 0" +
        std::string(isNewer ? ", is_subscription INTEGER NOT NULL DEFAULT 0);" : ");");
  if (isNewer)
    more +=
        "CREATE TABLE artwork (artwork_token TEXT NOT NULL DEFAULT '', artwork_source_type INTEGER NOT NULL "
        "DEFAULT "
        "0, relative_path TEXT NOT NULL DEFAULT '', artwork_type INTEGER NOT NULL DEFAULT 0, UNIQUE "
        "(artwork_token, "
        "artwork_source_type));"
        "CREATE TABLE artwork_token (artwork_token TEXT NOT NULL DEFAULT '', artwork_source_type INTEGER NOT "
        "NULL "
        "DEFAULT 0, artwork_type INTEGER NOT NULL DEFAULT 0, entity_pid INTEGER NOT NULL DEFAULT 0);"
        "CREATE TABLE best_artwork_token (entity_pid INTEGER NOT NULL DEFAULT 0, entity_type INTEGER NOT "
        "NULL "
        "DEFAULT 0, artwork_type INTEGER NOT NULL DEFAULT 0, available_artwork_token TEXT NOT NULL DEFAULT "
        "'', "
        "fetchable_artwork_token TEXT NOT NULL DEFAULT '');";
  return kSchema + item + extra + stats + more;
}

constexpr int kMusic = 1;
constexpr int kPodcast = 4;
constexpr int kOnDevice = 1;  ///< A base location.
constexpr int kInCloud = 2;
constexpr std::int64_t kAdded = 700'000'000;  ///< 2023-03-08, seconds since 2001.

struct Track {
  std::int64_t id;
  std::string_view title;
  int artist;  ///< 0 for none.
  int album;
  int number;
  int milliseconds;
  std::string_view file;  ///< "" for none.
  int kind = kMusic;
  int base = kOnDevice;
};

/// The odd ones: markup, a formula, no title, in the cloud, a podcast, two with a file of one name.
constexpr Track kTracks[] = {
    {8'412'345'678'901'234'567, "Tides", 1, 1, 1, 215'400, "F00/AVER.wav"},
    {-3'000'000'000'000'000'001, "Saltmarsh <live> & \"free\"", 1, 1, 2, 187'000, "F01/MARS.wav"},
    {1003, "=1+1", 2, 1, 3, 61'500, "F02/GONE.m4a"},
    {1004, "Überfahrt 交接", 2, 2, 1, 301'999, "F03/UBER.m4a"},
    {1005, "", 0, 0, 0, 0, "F04/NONE.m4a"},
    {1006, "Above the clouds", 1, 2, 2, 240'000, "", kMusic, kInCloud},
    {1007, "The harbour hour", 2, 0, 0, 1'800'000, "F05/POD.m4a", kPodcast}};

struct Playlist {
  std::int64_t id;
  std::string_view name;
  bool isHidden, isDynamic, isGenius;
  std::initializer_list<std::int64_t> tracks;
};

const Playlist kPlaylists[] = {
    {-77, "Rowing", false, false, false, {1004, 8'412'345'678'901'234'567, 1006, -3'000'000'000'000'000'001}},
    {78, "Trip: south/west", false, false, false, {1003, 1007, 1005}},
    {79, "rowing", false, false, false, {}},
    {80, "Often played", false, true, false, {1003}},
    {81, "Genius", false, false, true, {1003}},
    {82, "Hidden", true, false, false, {1003}}};

bool addNames(const PDXSQLiteDatabase& library) {
  PDXSampleTable artists(library, "item_artist", "item_artist_pid, item_artist");
  artists.add({1, "The Avocets"});
  artists.add({2, "Café Môle"});
  PDXSampleTable albums(library, "album", "album_pid, album, album_artist_pid");
  albums.add({1, "Causeway", 1});
  albums.add({2, "Port, Averil", 1});
  PDXSampleTable albumArtists(library, "album_artist", "album_artist_pid, album_artist");
  albumArtists.add({1, "Various"});
  PDXSampleTable genres(library, "genre", "genre_id, genre");
  genres.add({1, "Folk"});
  PDXSampleTable places(library, "base_location", "base_location_id, path");
  places.add({0, ""});
  places.add({kOnDevice, "iTunes_Control/Music"});
  places.add({kInCloud, "CloudAssets"});
  return !artists.failed() && !albums.failed() && !albumArtists.failed() && !genres.failed() &&
         !places.failed();
}

bool addTracks(const PDXSQLiteDatabase& library, bool isNewer) {
  PDXSampleTable items(
      library, "item",
      "item_pid, media_type, item_artist_pid, album_pid, album_artist_pid, genre_id, disc_number, "
      "track_number, base_location_id");
  PDXSampleTable extras(library, "item_extra",
                        "item_pid, title, disc_count, track_count, total_time_ms, year, location, file_size, "
                        "media_kind, content_rating");
  PDXSampleTable stats(library, "item_stats", "item_pid, user_rating, play_count_user, date_played");
  for (const Track& track : kTracks) {
    const bool isFirst = track.number == 1;
    items.add({track.id, 8, track.artist, track.album, 1, 1, 1, track.number, track.base});
    extras.add({track.id, track.title, 1, 3, track.milliseconds, isFirst ? 2019 : 0, track.file,
                track.file.empty() ? 0 : 4'000'000 + track.number, track.kind, track.id == 1003 ? 1 : 0});
    stats.add({track.id, isFirst ? 80 : 0, track.number * 3, isFirst ? kAdded + 86'400 : 0});
  }
  if (!isNewer) library.run("UPDATE item_extra SET date_created = " + std::to_string(kAdded));
  if (isNewer) {
    library.run("UPDATE item SET in_my_library = 1, date_added = " + std::to_string(kAdded));
    library.run("UPDATE item_stats SET liked_state = 2 WHERE item_pid = 1004");
    PDXSampleTable best(library, "best_artwork_token",
                        "entity_pid, entity_type, artwork_type, available_artwork_token");
    best.add({1004, 0, 1, "token"});
    PDXSampleTable artwork(library, "artwork",
                           "artwork_token, artwork_source_type, relative_path, artwork_type");
    artwork.add({"token", 1, "3f/9ac0.jpg", 1});
    artwork.add({"token", 2, "3f/9ac0-large.jpg", 1});
    if (best.failed() || artwork.failed()) return false;
  }
  return !items.failed() && !extras.failed() && !stats.failed();
}

bool addPlaylists(const PDXSQLiteDatabase& library) {
  PDXSampleTable lists(library, "container",
                       "container_pid, name, is_hidden, smart_is_dynamic, smart_is_genius");
  PDXSampleTable members(library, "container_item", "container_pid, item_pid, position");
  for (const Playlist& list : kPlaylists) {
    lists.add({list.id, list.name, list.isHidden ? 1 : 0, list.isDynamic ? 1 : 0, list.isGenius ? 1 : 0});
    std::int64_t position = 0;
    for (const std::int64_t track : list.tracks) members.add({list.id, track, ++position});
  }
  return !lists.failed() && !members.failed();
}

void appendNumber(std::string& bytes, unsigned value, int size) {
  for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFFU);
}

/// A tenth of a second of a tone.
std::string sound(double pitch) {
  constexpr unsigned kRate = 8000;
  constexpr unsigned kSamples = kRate / 10;
  std::string bytes = "RIFF";
  appendNumber(bytes, 36 + kSamples, 4);
  bytes += "WAVEfmt ";
  appendNumber(bytes, 16, 4);
  appendNumber(bytes, 1, 2);
  appendNumber(bytes, 1, 2);
  appendNumber(bytes, kRate, 4);
  appendNumber(bytes, kRate, 4);
  appendNumber(bytes, 1, 2);
  appendNumber(bytes, 8, 2);
  bytes += "data";
  appendNumber(bytes, kSamples, 4);
  for (unsigned i = 0; i < kSamples; ++i)
    bytes += static_cast<char>(128 + std::lround(100 * std::sin(i * pitch * 6.283 / kRate)));
  return bytes;
}

}  // namespace

namespace PDXSampleMusic {

std::string writeLibrary(const std::string& path, int version) {
  const PDXSQLiteDatabase library(path, PDXSQLiteAccess::create);
  const bool written = library.run(schemaOf(version)) && library.run("PRAGMA synchronous=OFF; BEGIN") &&
                       addNames(library) && addTracks(library, version >= 8) && addPlaylists(library) &&
                       library.run("COMMIT");
  return written ? "" : "music: " + library.error();
}

std::string write(PDXSampleBackupFolder& folder, int version) {
  const std::string library = PDXFiles::joined(folder.workFolder(), "MediaLibrary.sqlitedb");
  std::string why = writeLibrary(library, version);
  if (!why.empty()) return why;
  const std::string domain = "MediaDomain";
  folder.takeFile(domain, "Media/iTunes_Control/iTunes/MediaLibrary.sqlitedb", library);
  folder.addFile(domain, "Media/iTunes_Control/Music/F00/AVER.wav", std::string_view(sound(440)));
  folder.addFile(domain, "Media/iTunes_Control/Music/F01/MARS.wav", std::string_view(sound(330)));
  folder.addMissingFile(domain, "Media/iTunes_Control/Music/F02/GONE.m4a", 4'000'003);
  return "";
}

}  // namespace PDXSampleMusic
