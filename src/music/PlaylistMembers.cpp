#include "music/PlaylistMembers.h"

#include <cstdint>
#include <unordered_set>
#include <utility>

#include "backup/SQLiteHelper.h"
#include "platform/Log.h"
#include "platform/PropertyList.h"

namespace {

constexpr std::size_t kEntrySize = 8;

/// A little-endian number of 64 bits.
std::int64_t numberAt(std::span<const std::uint8_t> bytes, std::size_t at) {
  std::uint64_t value = 0;
  for (std::size_t i = kEntrySize; i-- > 0;) value = value << 8 | bytes[at + i];
  return static_cast<std::int64_t>(value);
}

}  // namespace

PDXPlaylistMembers::PDXPlaylistMembers(const PDXSQLiteDatabase& database, std::string store,
                                       MediaFile mediaFile)
    : database_(database),
      store_(std::move(store)),
      mediaFile_(std::move(mediaFile)),
      hasBlobs_(PDXSQLiteHelper::doesDatabaseContainTable(database, "container_items")),
      hasFiles_(PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(database, "container", "filepath")) {
}

void PDXPlaylistMembers::fill(const std::string& playlist) const {
  if (!mustBeFilled()) return;
  if (!PDXSQLiteHelper::doesDatabaseContainTable(database_, "container_item"))
    database_.run(
        "CREATE TABLE container_item(id INTEGER PRIMARY KEY AUTOINCREMENT, container_pid INT NOT NULL, "
        "item_pid INT NOT NULL, position NOT NULL)");
  // It is a copy: nobody misses what a power cut takes from it. Where an index cannot be made, the statements
  // below find the same rows more slowly, and say what they cannot read.
  database_.run("PRAGMA synchronous=OFF");
  database_.run("CREATE INDEX IF NOT EXISTS pocketdex_members ON container_item (container_pid)");
  if (hasBlobs_)
    database_.run("CREATE INDEX IF NOT EXISTS pocketdex_lists ON container_items (container_pid)");
  if (hasFiles_)
    database_.run("CREATE INDEX IF NOT EXISTS pocketdex_containers ON container (container_pid)");
  if (hasBlobs_) fillFromBlobs_(playlist);
  if (hasFiles_) fillFromFile_(playlist);
}

void PDXPlaylistMembers::fillFromBlobs_(const std::string& playlist) const {
  auto rows = database_.prepare(
      "SELECT item_pid_data, LENGTH(item_pid_data) AS data_length FROM container_items WHERE container_pid = "
      "?1");
  rows.bind(1, playlist);
  std::vector<std::int64_t> tracks;
  PDXProblemSeries odd("list of tracks of a playlist", store_);
  while (rows.step()) {
    const auto bytes = rows.blobInPlace(0);
    if (bytes.size() % kEntrySize != 0)
      odd.add("record " + playlist,
              "the last of its " + std::to_string(bytes.size()) + " bytes are no track");
    for (std::size_t at = 0; at + kEntrySize <= bytes.size(); at += kEntrySize)
      tracks.push_back(numberAt(bytes, at));
  }
  if (!rows.error().empty()) odd.add("record " + playlist, rows.error());
  add_(playlist, tracks);
}

void PDXPlaylistMembers::fillFromFile_(const std::string& playlist) const {
  auto rows = database_.prepare("SELECT filepath FROM container WHERE container_pid = ?1");
  rows.bind(1, playlist);
  const std::string path = rows.step() ? rows.text(0) : "";
  if (rows.failed()) PDXLog::report({.what = "playlist", .where = store_, .why = rows.error()});
  const std::string file = path.empty() || !mediaFile_ ? "" : mediaFile_(path);
  if (file.empty()) return;
  const auto list = PDXPropertyList::parseFile(file);
  const auto* found = list ? list->find("trackPersistentIDs") : nullptr;
  if (found == nullptr || found->array() == nullptr)
    return PDXLog::report({.what = "playlist", .where = path, .why = "it has no list of tracks"});
  std::vector<std::int64_t> tracks;
  for (const PDXPropertyList& entry : *found->array()) {
    if (const std::int64_t* track = entry.integer()) tracks.push_back(*track);
  }
  if (tracks.size() != found->array()->size())
    PDXLog::report({.what = "playlist", .where = path, .why = "some of its entries are no tracks"});
  add_(playlist, tracks);
}

void PDXPlaylistMembers::add_(const std::string& playlist, const std::vector<std::int64_t>& tracks) const {
  std::unordered_set<std::int64_t> members;
  auto present = database_.prepare("SELECT item_pid FROM container_item WHERE container_pid = ?1");
  present.bind(1, playlist);
  while (present.step()) members.insert(present.int64(0));
  if (present.failed()) PDXLog::report({.what = "playlist", .where = store_, .why = present.error()});
  auto insert =
      database_.prepare("INSERT INTO container_item (container_pid, item_pid, position) SELECT ?1,?2,?3");
  std::int64_t position = 0;
  database_.run("BEGIN");
  for (const std::int64_t track : tracks) {
    ++position;
    if (!members.insert(track).second) continue;
    insert.bind(1, playlist);
    insert.bind(2, track);
    insert.bind(3, position);
    insert.step();
    insert.reset();
  }
  database_.run("COMMIT");
  if (!insert.error().empty()) PDXLog::report({.what = "playlist", .where = store_, .why = insert.error()});
}
