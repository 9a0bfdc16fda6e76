#include "music/TrackName.h"

#include "platform/Text.h"

std::string PDXTrackName::shown(const TrackItem& track) {
  if (!PDXText::trimmed(track.name).empty()) return track.name;
  const std::string_view file = track.filePath ? PDXText::lastPathComponent(*track.filePath) : "";
  return file.empty() ? "record " + track.identifier : std::string(file);
}
