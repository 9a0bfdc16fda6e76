#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "notes/NoteStoreKeyData.h"

class PDXSQLiteDatabase;

/// Which columns of ZICCLOUDSYNCINGOBJECT hold what. A new kind of object takes over a column's name and the
/// notes move to another with a higher number, so a column may be there and empty for every note.
class PDXNoteStoreColumns {
 public:
  /// Neither the database nor the keys are kept.
  PDXNoteStoreColumns(const PDXSQLiteDatabase& database, const PDXNoteStoreKeyData& keys);

  // Each is a column's name, or "NULL" when the store has none that is filled.
  std::string account;       ///< The note's account: a row.
  std::string creation;      ///< Seconds since 2001 in UTC.
  std::string modification;  ///< Likewise.

  /// The condition of a row that is not marked for deletion. A row that does not say is not.
  std::string isKept;

  /// The condition of a note that is not locked by a password; "1" in stores that know no such notes.
  std::string isOpen;

  /// The column, or "NULL" when the table does not have it.
  std::string columnOrNull(std::string_view column) const;

  /// Which note lies in which folder: rows. A note in none is not in it.
  static std::unordered_map<std::int64_t, std::int64_t> foldersOfNotes(const PDXSQLiteDatabase& database,
                                                                       const PDXNoteStoreKeyData& keys);

 private:
  std::vector<std::string> family_(std::string_view stem) const;

  std::vector<std::string> columns_;
};
