#include "music/TrackCSVGenerator.h"

#include <fmt/format.h>

#include "platform/Csv.h"

namespace {

void appendNumber(std::string& text, std::int64_t number) {
  text += ',';
  if (number != 0) text += std::to_string(number);
}

/// "61.5" of 61500 milliseconds.
void appendSeconds(std::string& text, std::uint32_t milliseconds) {
  constexpr std::uint32_t kSecond = 1000;
  text += ',' + std::to_string(milliseconds / kSecond);
  if (milliseconds % kSecond == 0) return;
  text += fmt::format(".{:03}", milliseconds % kSecond);
  text.erase(text.find_last_not_of('0') + 1);
}

void appendDate(std::string& text, const std::optional<PDXDate>& date, PDXLocalTimes& times) {
  text += ',';
  if (date) text += times.text(*date);
}

void appendFlag(std::string& text, bool flag) { text += flag ? ",yes" : ",no"; }

}  // namespace

namespace PDXTrackCSVGenerator {

std::string header() {
  return "Title,Artist,Album,Album artist,Genre,Year,Track,Tracks,Disc,Discs,Duration in seconds,Bytes,Date "
         "added,Last played,Plays,Rating,Liked,Explicit,On the device,File,Identifier\r\n";
}

void appendRow(std::string& text, const TrackItem& track, const std::string& file, PDXLocalTimes& times) {
  PDXCsv::appendCell(text, track.name);
  for (const std::string* cell : {&track.artist, &track.album, &track.albumArtist, &track.genre}) {
    text += ',';
    PDXCsv::appendCell(text, *cell);
  }
  appendNumber(text, track.year);
  appendNumber(text, track.trackNumber);
  appendNumber(text, track.trackCount);
  appendNumber(text, track.diskNumber);
  appendNumber(text, track.diskCount);
  appendSeconds(text, track.duration);
  appendNumber(text, track.size);
  appendDate(text, track.dateAdded, times);
  appendDate(text, track.datePlayed, times);
  appendNumber(text, track.playCount);
  appendNumber(text, track.rating);
  appendFlag(text, track.isLiked);
  appendFlag(text, track.isExplicit);
  appendFlag(text, track.isAvailableOnDevice);
  text += ',';
  PDXCsv::appendCell(text, file);
  text += ',';
  PDXCsv::appendCell(text, track.identifier);
  text += "\r\n";
}

}  // namespace PDXTrackCSVGenerator
