#pragma once

#include <string>

#include "bookmarks/BookmarkReader.h"
#include "platform/Sqlite.h"

/// The bookmarks of the built-in browser, its reading list included.
///
/// Source: a local copy of "Library/Safari/Bookmarks.db", table bookmarks.
/// Errors: none leave the reader. A store that is missing, damaged or of another kind gives no items; rows
/// read before the damage are kept. The log says why.
class PDXSafariBookmarks : public PDXBookmarkReader {
 public:
  PDXSafariBookmarks();

  /// Replaces what was loaded before. Whether there are items now.
  /// @param access  how the file may be opened.
  bool loadBookmarksFromDatabaseFile(const std::string& path,
                                     PDXSQLiteAccess access = PDXSQLiteAccess::scratch);

  RowCounts rowCounts() const override;

 private:
  void read_(const PDXSQLiteDatabase& database);
  void readMissed_(const PDXSQLiteDatabase& database);
  void findHolders_(const PDXSQLiteDatabase& database);

  PDXSQLiteAccess access_ = PDXSQLiteAccess::scratch;
};
