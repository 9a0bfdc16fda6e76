#include "music/PlaylistM3UGenerator.h"

namespace {

/// Appends a text to a line that must not end before its time.
void appendOnLine(std::string& line, const std::string& text) {
  for (const char c : text) line += static_cast<unsigned char>(c) < ' ' || c == 0x7F ? ' ' : c;
}

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
  text += file.empty() ? "# Not on the device: " : "#EXTINF:" + std::to_string(seconds) + ",";
  appendOnLine(text, track.artist.empty() ? track.name : track.artist + " - " + track.name);
  text += '\n';
  if (file.empty()) return;
  if (file.front() == '#') text += "./";
  appendOnLine(text, file);
  text += '\n';
}

}  // namespace PDXPlaylistM3UGenerator
