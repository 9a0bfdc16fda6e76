#include <gtest/gtest.h>

#include <limits>

#include "music/MusicIOSDeviceDataReader.h"
#include "music/PlaylistM3UGenerator.h"
#include "music/TrackCSVGenerator.h"
#include "platform/Log.h"
#include "platform/PropertyList.h"
#include "samples/Music.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

/// What the log was told while it lives, a line each.
class Heard {
 public:
  Heard() : before_(PDXLog::listen([this](const PDXProblem& p) { text += p.where + ": " + p.why + "\n"; })) {}
  ~Heard() { PDXLog::listen(before_); }
  Heard(const Heard&) = delete;
  Heard& operator=(const Heard&) = delete;

  std::string text;

 private:
  PDXLog::Listener before_;
};

std::string dateText(const std::optional<PDXDate>& date) { return date ? PDXDates::isoText(*date) : "-"; }

std::string text(const TrackItem& t) {
  const auto number = [](auto value) { return " " + std::to_string(value); };
  return t.identifier + " " + t.name + "|" + t.artist + "|" + t.album + "|" + t.albumArtist + "|" + t.genre +
         number(t.year) + number(t.trackNumber) + number(t.trackCount) + number(t.duration) + number(t.size) +
         number(t.playCount) + number(t.rating) + " " + dateText(t.dateAdded) + " " + dateText(t.datePlayed) +
         " " + t.filePath.value_or("-") + " " + t.artworkPath.value_or("-") +
         (t.isAvailableOnDevice ? " here" : "") + (t.isLiked ? " liked" : "") +
         (t.isExplicit ? " explicit" : "") + "\n";
}

std::string text(const std::optional<std::vector<TrackItem>>& tracks) {
  std::string all;
  for (const TrackItem& track : tracks.value_or(std::vector<TrackItem>())) all += text(track);
  return tracks ? all : "absent";
}

std::string names(const std::vector<TrackItem>& tracks) {
  std::string all;
  for (const TrackItem& track : tracks) all += track.identifier + " ";
  return all;
}

class MusicReader : public testing::Test {
 protected:
  MusicIOSDeviceDataReader reader(const PDXSampleDatabase& sample) const {
    return MusicIOSDeviceDataReader(sample.writeTo(folder_ / "test.db"));
  }

  PDXTestFolder folder_;
};

TEST_F(MusicReader, ReadsEveryLayout) {
  for (const int version : {5, 7, 9, 17}) {
    const std::string path = folder_ / std::to_string(version);
    ASSERT_EQ(PDXSampleMusic::writeLibrary(path, version), "");
    const bool isNewer = version >= 8;
    const std::string added = isNewer ? " 2023-03-08T20:26:40Z" : " -";
    const Heard heard;
    const MusicIOSDeviceDataReader reader(path);
    const auto tracks = reader.tracks();
    ASSERT_TRUE(tracks);
    // A picture of two sizes makes its track come twice.
    EXPECT_EQ(names(*tracks), std::string("-3000000000000000001 1003 1004 ") + (isNewer ? "1004 " : "") +
                                  "1005 1006 8412345678901234567 ");
    const auto library = reader.everything();
    ASSERT_TRUE(library);
    EXPECT_EQ(
        text(library->tracks),
        "-3000000000000000001 Saltmarsh <live> & \"free\"|The Avocets|Causeway|Various|Folk 0 2 3 187000 "
        "4000002 6 0" +
            added +
            " - iTunes_Control/Music/F01/MARS.wav - here\n"
            "1003 =1+1|Café Môle|Causeway|Various|Folk 0 3 3 61500 4000003 9 0" +
            added +
            " - iTunes_Control/Music/F02/GONE.m4a - here explicit\n"
            "1004 Überfahrt 交接|Café Môle|Port, Averil|Various|Folk 2019 1 3 301999 4000001 3 80" +
            added + " 2023-03-09T20:26:40Z iTunes_Control/Music/F03/UBER.m4a " +
            (isNewer ? "3f/9ac0.jpg here liked" : "- here") +
            "\n"
            "1005 |||Various|Folk 0 0 3 0 4000000 0 0" +
            added +
            " - iTunes_Control/Music/F04/NONE.m4a - here\n"
            "1006 Above the clouds|The Avocets|Port, Averil|Various|Folk 0 2 3 240000 0 6 0" +
            added +
            " - - -\n"
            "8412345678901234567 Tides|The Avocets|Causeway|Various|Folk 2019 1 3 215400 4000001 3 80" +
            added + " 2023-03-09T20:26:40Z iTunes_Control/Music/F00/AVER.wav - here\n");
    EXPECT_EQ(library->rows, 7U);
    EXPECT_EQ(library->noMusic, 1U);
    std::string lists;
    for (const auto& [playlist, places] : library->playlists) {
      lists += playlist.name + " " + playlist.containerIdentifier + ":";
      for (const std::size_t place : places) lists += " " + library->tracks[place].identifier;
      lists += "\n";
    }
    EXPECT_EQ(lists,
              "Rowing -77: 1004 8412345678901234567 1006 -3000000000000000001\n"
              "Trip: south/west 78: 1003 1005\nrowing 79:\n");
    const auto rowing = reader.tracks(reader.playlists()[0]);
    EXPECT_EQ(names(*rowing), std::string("1004 ") + (isNewer ? "1004 " : "") +
                                  "8412345678901234567 1006 -3000000000000000001 ");
    EXPECT_EQ(heard.text, "");
  }
}

/// A library of the devices before 5, and of players: the little that the statement cannot do without.
PDXSampleDatabase oldest() {
  return PDXSampleDatabase()
      .table("item_extra", "item_pid, title, location, media_kind")
      .table("item", "item_pid, base_location_id, is_podcast, in_my_library")
      .table("base_location", "base_location_id, path")
      .row("base_location", 1, "Music");
}

PDXSampleDatabase withTrack(const PDXSampleDatabase& library, std::int64_t id) {
  return library.row("item_extra", id, "T" + std::to_string(id), "t.m4a", 1).row("item", id, 1, 0, 1);
}

PDXBytes entries(const std::vector<std::int64_t>& tracks, std::size_t more = 0) {
  PDXBytes bytes;
  for (const std::int64_t track : tracks)
    for (int i = 0; i < 8; ++i)
      bytes.push_back(static_cast<std::uint8_t>(static_cast<std::uint64_t>(track) >> (8 * i)));
  bytes.resize(bytes.size() + more, 1);
  return bytes;
}

TEST_F(MusicReader, ReadsPlaylistsWhereverTheyAreKept) {
  const auto library = withTrack(withTrack(withTrack(oldest(), 1), -2), 3);
  const auto lists =
      library.table("container", "container_pid INTEGER, name, is_hidden").row("container", 9, "P", 0);
  const TrackPlaylist playlist{"9", "P", ""};
  const struct {
    const char* fault;
    PDXSampleDatabase sample;
    const char* expected;
    const char* heard;
  } cases[] = {
      {"in its order, one twice, one unknown",
       lists.table("container_items", "container_pid INTEGER, item_pid_data")
           .row("container_items", 9, entries({3, -2, 3, 77, 1}))
           .row("container_items", 8, entries({1})),
       "3 -2 1 ", ""},
      {"a blob of odd length",
       lists.table("container_items", "container_pid INTEGER, item_pid_data")
           .row("container_items", 9, entries({3}, 7)),
       "3 ", "record 9: the last of its 15 bytes are no track\n"},
      {"a blob too short, an empty one, none",
       lists.table("container_items", "container_pid INTEGER, item_pid_data")
           .row("container_items", 9, entries({}, 3))
           .row("container_items", 9, entries({}))
           .row("container_items", 9, nullptr),
       "", "record 9: the last of its 3 bytes are no track\n"},
      {"in both tables",
       lists.table("container_items", "container_pid INTEGER, item_pid_data")
           .row("container_items", 9, entries({1, 3}))
           .table("container_item", "container_pid INTEGER, item_pid INTEGER, position")
           .row("container_item", 9, 3, 0),
       "3 1 ", ""},
  };
  for (const auto& c : cases) {
    const auto reader = this->reader(c.sample);
    const Heard heard;
    EXPECT_EQ(names(reader.tracks(playlist).value_or(std::vector<TrackItem>())), c.expected) << c.fault;
    EXPECT_EQ(heard.text, c.heard) << c.fault;
    std::string again;
    const auto all = reader.everything();
    for (const std::size_t place : all->playlists[0].tracks) again += all->tracks[place].identifier + " ";
    EXPECT_EQ(again, c.expected) << c.fault;
  }

  const auto withFile = library.table("container", "container_pid INTEGER, name, is_hidden, filepath")
                            .row("container", 9, "P", 0, "iTunes_Control/iTunes/p.itdb");
  const std::string path = withFile.writeTo(folder_ / "file.db");
  const auto ofFile = [&](const PDXPropertyList& list) {
    const PDXBytes bytes = list.binary();
    folder_.write("p", std::string(bytes.begin(), bytes.end()));
    std::string asked;
    const MusicIOSDeviceDataReader reader(path, [&](const std::string& wanted) {
      asked = wanted;
      return folder_ / "p";
    });
    const std::string found = text(reader.tracks(playlist));
    EXPECT_EQ(asked, "iTunes_Control/iTunes/p.itdb");
    return found.substr(0, found.find('|'));
  };
  const Heard heard;
  EXPECT_EQ(ofFile(PDXPropertyList::Dictionary{{"other", 1}}), "");
  EXPECT_TRUE(heard.text.starts_with("iTunes_Control/iTunes/p.itdb: it has no list of tracks\n"));
  EXPECT_EQ(ofFile(PDXPropertyList::Dictionary{{"trackPersistentIDs", PDXPropertyList::Array{-2, "x", 1}}}),
            "-2 T-2");
  EXPECT_NE(heard.text.find("some of its entries are no tracks"), std::string::npos);
}

TEST_F(MusicReader, ReadsWhatIsThereOfADamagedLibrary) {
  const auto whole =
      PDXSampleDatabase()
          .table("item_extra",
                 "item_pid, title, location, media_kind, year, track_count, total_time_ms, file_size")
          .table("item", "item_pid, base_location_id, date_added, in_my_library")
          .table("base_location", "base_location_id, path")
          .table("item_stats", "item_pid, date_played, play_count_user")
          .row("base_location", 1, "Music");
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  const struct {
    const char* fault;
    PDXSampleDatabase sample;
    const char* expected;
    const char* heard;
  } cases[] = {
      {"of another kind", PDXSampleDatabase().table("song", "title"), "absent",
       "it has no table of tracks\n"},
      {"titles only", PDXSampleDatabase().table("item_extra", "item_pid, title").row("item_extra", 1, "A"),
       "1 A|||| 0 0 0 0 0 0 0 - - - -\n", "tables that every store has are missing: item, item_stats\n"},
      {"no table of places",
       PDXSampleDatabase()
           .table("item_extra", "item_pid, title, media_kind")
           .table("item", "item_pid")
           .row("item_extra", 1, "A", 1)
           .row("item", 1)
           .row("item_extra", 2, "film", 2)
           .row("item", 2),
       "1 A|||| 0 0 0 0 0 0 0 - - - -\n", "tables that every store has are missing: item_stats\n"},
      {"no row for the item, none for its place",
       whole.row("item_extra", 1, "A", "a", 1).row("item_extra", 2, "B", "b", 1).row("item", 2, 99),
       "1 A|||| 0 0 0 0 0 0 0 - - - -\n2 B|||| 0 0 0 0 0 0 0 - - - -\n",
       "record 1: its row in the table of items is not in the library\n"},
      {"dates that are none",
       whole.row("item_extra", 1, "A", "a", 1)
           .row("item", 1, 1, "soon", 1)
           .row("item_stats", 1, kInfinite, 1)
           .row("item_extra", 2, "B", "", 1)
           .row("item", 2, 1, -86'400, 0)
           .row("item_stats", 2, 260'000'000'000.0, 0)
           .row("item_extra", 3, "C", "c", 1)
           .row("item", 3, 1, std::numeric_limits<double>::quiet_NaN(), 0),
       "1 A|||| 0 0 0 0 0 1 0 - - Music/a - here\n2 B|||| 0 0 0 0 0 0 0 2000-12-31T00:00:00Z - - -\n"
       "3 C|||| 0 0 0 0 0 0 0 - - Music/c -\n",
       "record 1: no date is stored as soon\nrecord 1: no date is stored as Inf\n"
       "record 2: no date is stored as 260000000000.0\n"},
      {"numbers out of range",
       whole.row("item_extra", 1, "A", "a", 1, 10'000, -1, 1e300, "big").row("item", 1, 1, 0, 1),
       "1 A|||| 0 0 0 0 0 0 0 - - Music/a - here\n",
       "record 1: no year is stored as 10000\nrecord 1: no track_count is stored as -1\n"
       "record 1: no total_time_ms is stored as 1.0e+300\nrecord 1: no file_size is stored as big\n"},
      {"files outside the device's folder",
       whole.row("base_location", 2, "CloudAssets")
           .row("base_location", 3, "")
           .row("item_extra", 1, "A", "a", 1)
           .row("item", 1, 2, 0, 1)
           .row("item_extra", 2, "B", "b", 1)
           .row("item", 2, 3, 0, 1),
       "1 A|||| 0 0 0 0 0 0 0 - - - -\n2 B|||| 0 0 0 0 0 0 0 - - - -\n", ""},
  };
  for (const auto& c : cases) {
    const auto reader = this->reader(c.sample);
    const Heard heard;
    const auto library = reader.everything();
    EXPECT_EQ(library ? text(library->tracks) : "absent", c.expected) << c.fault;
    EXPECT_TRUE(heard.text.ends_with(c.heard)) << c.fault << ": " << heard.text;
    EXPECT_EQ(heard.text.empty(), *c.heard == 0) << c.fault << ": " << heard.text;
    EXPECT_EQ(reader.tracks({{"1", "no such playlist", ""}}).value_or(std::vector<TrackItem>()).size(), 0U);
  }
  EXPECT_EQ(text(MusicIOSDeviceDataReader(folder_ / "nothing").tracks()), "absent");
}

TEST_F(MusicReader, CraftedLibrariesMultiplyNothing) {
  auto pictures = PDXSampleDatabase()
                      .table("item_extra", "item_pid, title, media_kind")
                      .table("item", "item_pid, title")
                      .table("item_artwork", "item_pid, best_artwork_token")
                      .table("artwork", "artwork_token, relative_path")
                      .table("container", "container_pid INTEGER, name, is_hidden")
                      .table("container_items", "container_pid INTEGER, item_pid_data")
                      .row("container", 7, "a", 0)
                      .row("container", 7, "b", 0)
                      .row("container_items", 7, PDXBytes{2, 0, 0, 0, 0, 0, 0, 0});
  for (int id = 1; id <= 2; ++id)
    pictures = pictures.row("item_extra", id, "t", 1).row("item", id, "t").row("item_artwork", id, "x");
  const std::string count = "(WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT 20000)";
  pictures = pictures.sql("INSERT INTO artwork SELECT 'x', 'p' FROM " + count + " SELECT i FROM n)");
  const auto reading = reader(pictures);
  const auto library = reading.everything();
  ASSERT_TRUE(library);
  EXPECT_EQ(names(library->tracks), "1 2 ");
  EXPECT_LE(library->tracks.capacity(), 1000U) << "no room for the same track again and again";
  ASSERT_EQ(library->playlists.size(), 2U);
  EXPECT_EQ(library->playlists[0].tracks, std::vector<std::size_t>{1});
  EXPECT_EQ(names(*reading.tracks(TrackPlaylist{"0' OR '1'='1", "", ""})), "") << "is no part of a statement";
}

TEST_F(MusicReader, WritesWhatOthersRead) {
  TrackItem track("1");
  track.name = "=Tides\n#2";
  track.artist = "Ann; Bob";
  track.album = std::string("\0=1", 3);
  track.duration = 61'500;
  PDXLocalTimes times;
  std::string row;
  PDXTrackCSVGenerator::appendRow(row, track, "-f", times);
  EXPECT_EQ(row, "\"'=Tides\n#2\",\"Ann; Bob\",'=1,,,,,,,,61.5,,,,,,no,no,no,'-f,1\r\n");
  std::string list = PDXPlaylistM3UGenerator::beginning({"1", "Two\nlines", ""});
  PDXPlaylistM3UGenerator::appendTrack(list, track, "#dir/\nfile");
  PDXPlaylistM3UGenerator::appendTrack(list, track, "");
  EXPECT_EQ(list,
            "#EXTM3U\n#EXTENC:UTF-8\n#PLAYLIST:Two lines\n#EXTINF:62,Ann; Bob - =Tides #2\n./#dir/ file\n"
            "# Not on the device: Ann; Bob - =Tides #2\n");
  EXPECT_EQ(MusicIOSDeviceDataReader::collections()[2].identifier, "recent");
}

}  // namespace
