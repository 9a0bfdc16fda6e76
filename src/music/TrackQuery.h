#pragma once

#include <optional>
#include <string>

class PDXSQLiteDatabase;

/// The statement that reads tracks, made to suit the tables that a library has.
class PDXTrackQuery {
 public:
  /// @param database  must outlive the query.
  explicit PDXTrackQuery(const PDXSQLiteDatabase& database) : database_(database) {}

  /// The music, in the library's own order, or that of a playlist in the playlist's; its members must be in
  /// the table container_item. A table or column that the library lacks is left out of the statement; "" when
  /// it then makes no sense.
  /// @param playlist  a container identifier; goes into the statement as it stands.
  std::string text(const std::optional<std::string>& playlist) const;

  /// The music with the tracks that the statement above drops, since the library does not hold the place of
  /// their file. Has one more column, "extra_pid", the identifier of tracks that have no other.
  std::string textForAll() const;

  /// The same for the one track whose row number in item_extra is bound to it; what only other tables hold is
  /// left out unless asked for, so that damage there costs no track.
  std::string textForOne(bool withOtherTables) const;

 private:
  std::string given_() const;
  std::string fitted_(const std::string& query) const;
  bool hasTable_(const char* table) const;
  bool hasColumn_(const std::string& table, const std::string& column) const;

  const PDXSQLiteDatabase& database_;
};
