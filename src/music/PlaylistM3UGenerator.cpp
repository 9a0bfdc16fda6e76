#include "music/PlaylistM3UGenerator.h"

#include "music/TrackName.h"
#include "platform/Text.h"

namespace {

/// Appends a text to a line that must not end before its time.
void appendOnLine(std::string& line, const std::string& text) { line += PDXText::onOneLine(text); }

}  // namespace

namespace PDXPlaylistM3UGenerator {

std::string beginning(const TrackPlaylist& playlist) {
  std::string text = "#EXTM3U\n#EXTENC:UTF-8\n#PLAYLIST:";
  appendOnLine(text, playlist.name);
  return text + "\n";
}

void appendTrack(std::string& text, const TrackItem& track, const std::string& file) {
  constexpr std::uint32_t kSecond = 1000;
  const std::uint32_t seconds = track.duration / kSecond + (track.duration % kSecond >= kSecond / 2 ? 1 : 0);
  if (file.empty()) {
    text += track.filePath ? "# Not in the backup: " : "# Not on the device: ";
  } else {
    text += "#EXTINF:" + std::to_string(seconds) + ",";
  }
  appendOnLine(text, track.artist);
  if (!track.artist.empty()) text += " - ";
  appendOnLine(text, PDXTrackName::shown(track));
  text += '\n';
  if (file.empty()) return;
  if (file.front() == '#') text += "./";
  appendOnLine(text, file);
  text += '\n';
}

}  // namespace PDXPlaylistM3UGenerator
