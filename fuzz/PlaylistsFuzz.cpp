#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "music/MusicIOSDeviceDataReader.h"
#include "music/PlaylistM3UGenerator.h"
#include "music/PlaylistMembers.h"
#include "music/TrackCSVGenerator.h"
#include "platform/Sqlite.h"
#include "platform/Text.h"

namespace {

using Bytes = std::span<const std::uint8_t>;

void require(bool holds) {
  if (!holds) std::abort();
}

/// A library in memory that keeps one playlist, 7, in all the ways in which libraries do.
PDXSQLiteDatabase library() {
  PDXSQLiteDatabase database(":memory:");
  require(
      database.run("CREATE TABLE container (container_pid INTEGER PRIMARY KEY, filepath TEXT);"
                   "CREATE TABLE container_items (container_pid INTEGER PRIMARY KEY, item_pid_data BLOB)"));
  return database;
}

std::vector<std::int64_t> members(const PDXSQLiteDatabase& database) {
  std::vector<std::int64_t> members;
  auto rows =
      database.prepare("SELECT item_pid FROM container_item WHERE container_pid = 7 ORDER BY position, id");
  while (rows.step()) members.push_back(rows.int64(0));
  return members;
}

/// What a list of tracks holds, each track once.
std::vector<std::int64_t> expected(Bytes bytes) {
  std::vector<std::int64_t> tracks;
  std::unordered_set<std::int64_t> known;
  for (; bytes.size() >= 8; bytes = bytes.subspan(8)) {
    std::uint64_t track = 0;
    for (unsigned i = 0; i < 8; ++i) track |= std::uint64_t{bytes[i]} << (8 * i);
    if (known.insert(static_cast<std::int64_t>(track)).second)
      tracks.push_back(static_cast<std::int64_t>(track));
  }
  return tracks;
}

void checkBlob(const PDXSQLiteDatabase& database, Bytes bytes) {
  database.run("DELETE FROM container; DELETE FROM container_items; DROP TABLE IF EXISTS container_item");
  auto insert = database.prepare("INSERT INTO container_items VALUES (7, ?1)");
  insert.bind(1, PDXBytes(bytes.begin(), bytes.end()));
  insert.step();
  insert.reset();
  PDXPlaylistMembers(database, "library", {}).fill("7");
  require(members(database) == expected(bytes));
}

/// Any bytes as the file of a playlist.
void checkFile(const PDXSQLiteDatabase& database, Bytes bytes) {
  static const std::string file = "/tmp/pocketdex-fuzz-playlist-" + std::to_string(::getpid());
  std::ofstream(file, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  database.run(
      "DELETE FROM container_items; DROP TABLE IF EXISTS container_item;"
      "INSERT OR REPLACE INTO container VALUES (7, 'a.playlist')");
  PDXPlaylistMembers(database, "library", [](const std::string&) { return file; }).fill("7");
  const auto tracks = members(database);
  require(std::unordered_set<std::int64_t>(tracks.begin(), tracks.end()).size() == tracks.size());
  ::unlink(file.c_str());
}

/// The cells of one line of a table, as a second reader takes them.
std::vector<std::string> cellsOf(std::string_view line) {
  std::vector<std::string> cells(1);
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '"' && quoted && i + 1 < line.size() && line[i + 1] == '"') {
      cells.back() += line[i++];
    } else if (line[i] == '"') {
      quoted = !quoted;
    } else if (line[i] == ',' && !quoted) {
      cells.emplace_back();
    } else {
      cells.back() += line[i];
    }
  }
  require(!quoted);
  return cells;
}

bool isFormula(const std::string& cell) {
  if (cell.empty() || std::string_view("=+-@\t\r\n").find(cell.front()) == std::string_view::npos)
    return false;
  const bool hasSign = cell.front() == '+' || cell.front() == '-';
  return !hasSign || cell.size() == 1 || cell.find_first_not_of("0123456789 ", 1) != std::string::npos;
}

/// Texts of a library must neither leave their line of a playlist nor their cell of a table.
void checkTexts(Bytes bytes) {
  std::array<std::string, 4> texts;
  std::size_t text = 0;
  for (const std::uint8_t byte : bytes) {
    if (byte == 0xFF) {
      text = std::min(text + 1, texts.size() - 1);
    } else {
      texts.at(text) += static_cast<char>(byte);
    }
  }
  for (std::string& each : texts) each = PDXText::valid(each);
  TrackItem track(texts[0]);
  track.name = texts[1];
  track.artist = texts[2];
  track.duration = 0xFFFFFFFF;

  std::string playlist = PDXPlaylistM3UGenerator::beginning({"7", texts[0], ""});
  require(std::count(playlist.begin(), playlist.end(), '\n') == 3);
  playlist.clear();
  PDXPlaylistM3UGenerator::appendTrack(playlist, track, texts[3]);
  const std::ptrdiff_t lines = std::count(playlist.begin(), playlist.end(), '\n');
  require(lines == (texts[3].empty() ? 1 : 2) && playlist.front() == '#');
  const auto isControl = [](char c) { return c != '\n' && static_cast<unsigned char>(c) < ' '; };
  require(std::none_of(playlist.begin(), playlist.end(), isControl));

  PDXLocalTimes times;
  std::string row;
  PDXTrackCSVGenerator::appendRow(row, track, texts[3], times);
  require(row.ends_with("\r\n"));
  const auto cells = cellsOf(std::string_view(row).substr(0, row.size() - 2));
  require(cells.size() == cellsOf(PDXTrackCSVGenerator::header()).size());
  require(std::none_of(cells.begin(), cells.end(), isFormula));
}

}  // namespace

/// The first byte tells what the others are: a playlist's list of tracks, its file, or texts of the library
/// with 0xFF between them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const PDXSQLiteDatabase database = library();
  if (size == 0) return 0;
  const Bytes bytes(data + 1, size - 1);
  if (data[0] % 3 == 0) checkBlob(database, bytes);
  if (data[0] % 3 == 1) checkFile(database, bytes);
  if (data[0] % 3 == 2) checkTexts(bytes);
  return 0;
}
