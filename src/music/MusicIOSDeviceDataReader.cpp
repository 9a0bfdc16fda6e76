#include "music/MusicIOSDeviceDataReader.h"

#include <charconv>
#include <cstdlib>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "backup/ReachableRows.h"
#include "backup/RowEstimate.h"
#include "backup/SQLiteHelper.h"
#include "music/TrackQuery.h"
#include "music/TrackRows.h"
#include "platform/Files.h"
#include "platform/Localisation.h"
#include "platform/Log.h"
#include "platform/Sqlite.h"

namespace {

void report(const std::string& path, const std::string& why) {
  PDXLog::report({.what = "music", .where = path, .why = why});
}

bool hasColumn(const PDXSQLiteDatabase& database, const char* table, const char* column) {
  return PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(database, table, column);
}

/// What of the statement for playlists the library has.
std::string playlistQuery(const PDXSQLiteDatabase& database) {
  std::string query =
      "SELECT rowid, name, container_pid, smart_is_genius, smart_is_dynamic, description FROM container "
      "WHERE "
      "is_hidden=0";
  if (database.prepare(query).isValid()) return query;
  query = "SELECT rowid, container_pid";
  for (const char* column : {"name", "smart_is_genius", "smart_is_dynamic", "description"}) {
    if (hasColumn(database, "container", column)) query += std::string(", ") + column;
  }
  return query + " FROM container WHERE " +
         (hasColumn(database, "container", "is_hidden") ? "is_hidden=0" : "1");
}

std::vector<TrackPlaylist> playlistsIn(const PDXSQLiteDatabase& database, const std::string& path) {
  if (!PDXSQLiteHelper::doesDatabaseContainTable(database, "container")) return {};
  std::vector<TrackPlaylist> playlists;
  const auto outcome = PDXReachableRows::forEach(
      database,
      {.table = "container",
       .select = playlistQuery(database),
       .number = "rowid",
       .order = hasColumn(database, "container", "name") ? " ORDER by name" : ""},
      [&](const PDXSQLiteStatement& row) {
        const auto column = [&row](const char* name) {
          return PDXSQLiteHelper::indexOfColumnNamedWithinStatment(name, row);
        };
        const bool isOfDevice =
            row.int64(column("smart_is_genius")) == 1 || row.int64(column("smart_is_dynamic")) == 1;
        if (!isOfDevice)
          playlists.push_back(
              {row.text(column("container_pid")), row.text(column("name")), row.text(column("description"))});
      });
  if (!outcome.isWhole() && !outcome.isInterrupted) report(path, outcome.why);
  return playlists;
}

/// Adds what the statement for all tracks did not come to, since it stopped at damage.
void addMissed(const PDXSQLiteDatabase& database, std::vector<TrackItem>& tracks, const std::string& path) {
  std::unordered_set<std::int64_t> read;
  for (const TrackItem& track : tracks) read.insert(std::strtoll(track.identifier.c_str(), nullptr, 10));
  const PDXTrackQuery query(database);
  auto whole = database.prepare(query.textForOne(true));
  auto bare = database.prepare(query.textForOne(false));
  PDXTrackRows wholeTracks(whole, path);
  PDXTrackRows bareTracks(bare, path);
  for (const std::int64_t number : PDXReachableRows::missed(database, "item_extra", read)) {
    whole.reset();
    whole.bind(1, number);
    if (whole.step()) {
      tracks.push_back(wholeTracks.track());
      continue;
    }
    bare.reset();
    bare.bind(1, number);
    if (whole.failed() && bare.step()) tracks.push_back(bareTracks.track());
  }
}

/// The answer to a statement for tracks; nothing when it does not compile.
std::optional<std::vector<TrackItem>> tracksOf(const PDXSQLiteDatabase& database, const std::string& query,
                                               const std::string& path, bool isOfAll) {
  auto rows = database.prepare(query);
  if (query.empty() || !rows.isValid()) {
    const std::string why = database.whyUnreadable();
    report(path, why.empty() ? "it has no table of tracks" : why);
    return std::nullopt;
  }
  PDXTrackRows items(rows, path);
  std::vector<TrackItem> tracks;
  if (isOfAll) tracks.reserve(PDXRowEstimate::of(database, "item_extra"));
  while (rows.step()) {
    TrackItem track = items.track();
    // Pictures of several sizes make a track come again, in a crafted library without end.
    const bool isAgain = isOfAll && !tracks.empty() && tracks.back().identifier == track.identifier;
    if (!isAgain) tracks.push_back(std::move(track));
  }
  if (rows.failed()) report(path, rows.error());
  if (rows.failed() && isOfAll) addMissed(database, tracks, path);
  return tracks;
}

std::optional<std::size_t> counted(const PDXSQLiteDatabase& database, const std::string& condition) {
  auto rows = database.prepare("SELECT count(1) FROM item_extra" + condition);
  if (!rows.step()) return std::nullopt;
  return static_cast<std::size_t>(rows.int64(0));
}

/// Where each track is, by its identifier. All but those of damaged libraries are numbers.
class Places {
 public:
  explicit Places(std::size_t count) { byNumber_.reserve(count); }

  /// Whether it was not there yet.
  bool add(const std::string& identifier) {
    const std::size_t place = byNumber_.size() + byText_.size();
    const auto number = numberOf(identifier);
    return number ? byNumber_.try_emplace(*number, place).second
                  : byText_.try_emplace(identifier, place).second;
  }

  std::optional<std::size_t> of(const PDXSQLiteStatement& rows, int column) const {
    if (rows.isNumber(column)) {
      const auto found = byNumber_.find(rows.int64(column));
      return found == byNumber_.end() ? std::nullopt : std::optional(found->second);
    }
    const auto found = byText_.find(rows.text(column));
    return found == byText_.end() ? std::nullopt : std::optional(found->second);
  }

 private:
  static std::optional<std::int64_t> numberOf(const std::string& text) {
    std::int64_t number = 0;
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    return parsed.ec == std::errc() && parsed.ptr == end ? std::optional(number) : std::nullopt;
  }

  std::unordered_map<std::int64_t, std::size_t> byNumber_;
  std::unordered_map<std::string, std::size_t> byText_;
};

/// Takes out what pictures of several sizes make come again, and tells where each track is.
Places uniqueTracks(std::vector<TrackItem>& tracks) {
  Places places(tracks.size());
  std::erase_if(tracks, [&places](const TrackItem& track) { return !places.add(track.identifier); });
  return places;
}

/// Entries that name no track of the list are films and the like.
void addMembers(const PDXSQLiteDatabase& database, const std::string& path, const Places& places,
                std::vector<PDXMusicLibrary::Playlist>& playlists) {
  std::unordered_map<std::string, std::size_t> byIdentifier;
  for (std::size_t i = 0; i < playlists.size(); ++i)
    byIdentifier.try_emplace(playlists[i].playlist.containerIdentifier, i);
  if (!PDXSQLiteHelper::doesDatabaseContainTable(database, "container_item")) return;
  const bool hasPositions = hasColumn(database, "container_item", "position");
  const auto outcome = PDXReachableRows::forEach(
      database,
      {.table = "container_item",
       .select = "SELECT rowid, container_pid, item_pid FROM container_item WHERE 1",
       .number = "rowid",
       .order = hasPositions ? " ORDER BY position" : ""},
      [&](const PDXSQLiteStatement& row) {
        const auto playlist = byIdentifier.find(row.text(1));
        if (playlist == byIdentifier.end()) return;
        if (const auto track = places.of(row, 2)) playlists[playlist->second].tracks.push_back(*track);
      });
  if (!outcome.isWhole() && !outcome.isInterrupted)
    PDXLog::report({.what = "playlists", .where = path, .why = outcome.why});
}

/// The libraries of all systems have these tables; one that is gone takes what it tells of the tracks along.
/// Asked before the members of playlists are put into a table of their own.
void reportMissingTables(const PDXSQLiteDatabase& database, const std::string& path) {
  const struct {
    const char* column;
    const char* table;  ///< What the column of item refers to.
  } references[] = {{"album_pid", "album"},
                    {"album_artist_pid", "album_artist"},
                    {"item_artist_pid", "item_artist"},
                    {"genre_id", "genre"},
                    {"base_location_id", "base_location"}};
  std::vector<std::string> tables = {"item", "item_stats"};
  for (const auto& reference : references) {
    if (hasColumn(database, "item", reference.column)) tables.emplace_back(reference.table);
  }
  const auto hasTable = [&](const char* table) {
    return PDXSQLiteHelper::doesDatabaseContainTable(database, table);
  };
  if (hasTable("container") && !hasTable("container_items")) tables.emplace_back("container_item");
  if (hasTable("container_item")) tables.emplace_back("container");
  PDXSQLiteHelper::reportMissingTables(database, tables, "music", path);
}

}  // namespace

MusicIOSDeviceDataReader::MusicIOSDeviceDataReader(std::string libraryPath,
                                                   PDXPlaylistMembers::MediaFile mediaFile)
    : libraryPath_(std::move(libraryPath)), mediaFile_(std::move(mediaFile)) {}

std::string MusicIOSDeviceDataReader::wantedFolder() { return "iTunes_Control/iTunes"; }

std::vector<std::string> MusicIOSDeviceDataReader::wantedFiles() {
  return {"MediaLibrary.sqlitedb", "MediaLibrary.sqlitedb-shm", "MediaLibrary.sqlitedb-wal"};
}

std::vector<TrackCollection> MusicIOSDeviceDataReader::collections() {
  return {{PDXLocalised("Songs"), "songs", "music.note"},
          {PDXLocalised("Downloaded"), "downloaded", "arrow.down.circle"},
          {PDXLocalised("Recently Added"), "recent", "clock"}};
}

std::vector<TrackPlaylist> MusicIOSDeviceDataReader::playlists() const {
  if (!PDXFiles::exists(libraryPath_)) return {};
  return playlistsIn(PDXSQLiteDatabase(libraryPath_), libraryPath_);
}

std::optional<std::vector<TrackItem>> MusicIOSDeviceDataReader::tracks(
    const std::optional<TrackPlaylist>& playlist) const {
  if (!PDXFiles::exists(libraryPath_)) return std::nullopt;
  const PDXSQLiteDatabase database(libraryPath_);
  const auto identifier = playlist ? std::optional(playlist->containerIdentifier) : std::nullopt;
  if (identifier) PDXPlaylistMembers(database, libraryPath_, mediaFile_).fill(*identifier);
  return tracksOf(database, PDXTrackQuery(database).text(identifier), libraryPath_, false);
}

std::optional<PDXMusicLibrary> MusicIOSDeviceDataReader::everything() const {
  if (!PDXFiles::exists(libraryPath_)) return std::nullopt;
  const PDXSQLiteDatabase database(libraryPath_);
  auto tracks = tracksOf(database, PDXTrackQuery(database).textForAll(), libraryPath_, true);
  if (!tracks) return std::nullopt;
  PDXMusicLibrary library;
  library.tracks = std::move(*tracks);
  const Places places = uniqueTracks(library.tracks);
  const PDXPlaylistMembers members(database, libraryPath_, mediaFile_);
  reportMissingTables(database, libraryPath_);
  std::unordered_set<std::string> filled;
  for (TrackPlaylist& playlist : playlistsIn(database, libraryPath_)) {
    if (members.mustBeFilled() && filled.insert(playlist.containerIdentifier).second)
      members.fill(playlist.containerIdentifier);
    library.playlists.push_back({std::move(playlist), {}});
  }
  addMembers(database, libraryPath_, places, library.playlists);
  library.rows = counted(database, "");
  library.noMusic = counted(database, " WHERE ifnull(media_kind, 0) != 1").value_or(0);
  return library;
}
