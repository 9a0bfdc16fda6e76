#pragma once

#include <cstdint>
#include <string>

class PDXSQLiteDatabase;

/// The numbers by which the newer note store tells its kinds of objects apart, all of which lie in one table.
/// They differ from one system version to the next.
struct PDXNoteStoreKeyData {
  std::int32_t noteKey = 0;
  std::int32_t noteDataKey = 0;
  std::int32_t accountKey = 0;
  std::int32_t folderKey = 0;
  std::int32_t mediaKey = 0;

  PDXNoteStoreKeyData() = default;

  /// What was wrong with Z_PRIMARYKEY, so that the rows had to tell the numbers; "" when nothing was.
  std::string damage;

  /// Source: Z_PRIMARYKEY. A kind that it does not name gets the number of the objects that have the kind's
  /// columns filled; without such objects that of the system version that the tables look like.
  explicit PDXNoteStoreKeyData(const PDXSQLiteDatabase& connection);

  /// The table that says which note lies in which folder, and its columns. Newer stores have none.
  std::string fnTableName() const;
  std::string fnFolderColumnTableName() const;
  std::string fnNotesColumnTableName() const;

 private:
  void tryDetermineDataFromRows_(const PDXSQLiteDatabase& connection);
  void tryDetermineDataFromConnection_(const PDXSQLiteDatabase& connection);
};
