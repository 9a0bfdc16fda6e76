#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "music/TrackItem.h"
#include "platform/Log.h"
#include "platform/Sqlite.h"

/// Turns the rows of a statement into tracks, by the names of its columns. What makes no sense costs itself
/// alone, and the log says so.
class PDXTrackRows {
 public:
  /// @param store  the path of the database, for the log.
  PDXTrackRows(const PDXSQLiteStatement& rows, const std::string& store);

  /// The track of the current row.
  TrackItem track();

 private:
  std::string text_(int column) const;
  std::uint32_t number_(int column);
  std::int32_t year_();
  std::optional<PDXDate> date_(int column);
  void setFile_(TrackItem& track) const;
  std::string place_() const { return "record " + text_(identifier_); }

  const PDXSQLiteStatement& rows_;
  int identifier_, path_, location_, title_, album_, artist_, albumArtist_, genre_, yearColumn_, trackCount_,
      trackNumber_, diskNumber_, diskCount_, duration_, size_, added_, played_, playCount_, rating_, liked_,
      inLibrary_, contentRating_, artwork_, extra_;
  PDXProblemSeries dates_;
  PDXProblemSeries numbers_;
  PDXProblemSeries records_;
};
