#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include "bookmarks/BookmarkHTMLGenerator.h"
#include "bookmarks/BookmarkTree.h"
#include "bookmarks/SafariBookmarks.h"
#include "calendars/CalendarICSGenerator.h"
#include "calendars/CalendarsDbReader.h"
#include "calllogs/CallLogCSVGenerator.h"
#include "calllogs/CallLogDbReader.h"
#include "calllogs/CallLogHTMLGenerator.h"
#include "calllogs/CallLogStoreDataReader.h"
#include "music/MusicIOSDeviceDataReader.h"
#include "music/PlaylistM3UGenerator.h"
#include "music/TrackCSVGenerator.h"
#include "platform/Text.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

/// Costly to make.
PDXLocalTimes& localTimes() {
  static PDXLocalTimes times;
  return times;
}

void checkText(const PDXCalendarDetail& calendar) {
  static PDXCalendarICSWriter writer;
  std::string text = writer.generateFileHeaderForCalendar_(calendar);
  for (const PDXCalendarEvent& event : calendar.calendarEvents) writer.appendEvent(text, event);
  require(PDXText::isValid(text));
}

void readCalendars(const std::string& path) {
  const PDXCalendarsDbReader reader(path);
  for (const PDXCalendarStore& store : reader.getCalendarStores()) {
    for (const PDXCalendarDetail& calendar : reader.getCalendarDetailWithIndex(store, 0))
      reader.getCalendarEventsForCalendarDetailWithStartDateTo(calendar, std::nullopt, std::nullopt);
  }
  for (const PDXCalendarDetail& calendar : reader.getAllCalendars(std::nullopt, std::nullopt))
    checkText(calendar);
  reader.storedEventCounts();
}

void readCalls(PDXCallLogReader& reader) {
  for (const PDXCallLogParticipantGroup& group : reader.getCallLogParticipantList())
    reader.getCallLogForParticipantGroup(group);
  PDXLocalTimes& times = localTimes();
  std::string text;
  std::size_t rows = 0;
  for (const PDXCallLog& log : reader.getCallLogs()) {
    text += PDXCallLogHTMLGenerator::section(log, times);
    for (const PDXCallLogEntry& entry : log.entries)
      PDXCallLogCSVGenerator::appendRow(text, entry, log.participantGroup.displayName(), times);
    rows += log.entries.size();
  }
  require(PDXText::isValid(text));
  const auto counted = reader.storedCallCount();
  require(!counted || rows <= *counted + 1'000'000);
}

void readBookmarks(const std::string& path) {
  PDXSafariBookmarks bookmarks;
  bookmarks.loadBookmarksFromDatabaseFile(path);
  const PDXBookmarkTree tree(bookmarks, PDXBookmarkTree::Order::arranged);
  require(tree.entries().size() == bookmarks.storedItems().size());
  std::string html;
  PDXBookmarkHTMLGenerator::write(tree, [&html](const std::string& text) { html += text; });
  require(PDXText::isValid(html));
  bookmarks.rowCounts();
  bookmarks.childrenForIdentifier(0);
}

void readMusic(const std::string& path) {
  const MusicIOSDeviceDataReader reader(path);
  for (const TrackPlaylist& playlist : reader.playlists()) reader.tracks(playlist);
  reader.tracks();
  const auto library = reader.everything();
  if (!library) return;
  PDXLocalTimes& times = localTimes();
  std::string text;
  for (const TrackItem& track : library->tracks)
    PDXTrackCSVGenerator::appendRow(text, track, track.filePath.value_or(""), times);
  for (const PDXMusicLibrary::Playlist& playlist : library->playlists) {
    text += PDXPlaylistM3UGenerator::beginning(playlist.playlist);
    for (const std::size_t track : playlist.tracks)
      PDXPlaylistM3UGenerator::appendTrack(text, library->tracks.at(track), "");
  }
  require(PDXText::isValid(text));
}

}  // namespace

/// The first byte tells whose store the others are: a file of a database, damaged.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // In memory: nobody waits for a disk.
  static const std::string path = "/dev/shm/pocketdex-fuzz-store-" + std::to_string(::getpid());
  if (size == 0) return 0;
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(data) + 1, static_cast<std::streamsize>(size - 1));
  switch (data[0] % 5) {
    case 0:
      readCalendars(path);
      break;
    case 1: {
      PDXCallLogStoreDataReader reader(path, "", "");
      readCalls(reader);
      break;
    }
    case 2: {
      PDXCallLogDbReader reader(path, "", "");
      readCalls(reader);
      break;
    }
    case 3:
      readBookmarks(path);
      break;
    default:
      readMusic(path);
  }
  for (const char* companion : {"", "-wal", "-shm", "-journal"}) ::unlink((path + companion).c_str());
  return 0;
}
