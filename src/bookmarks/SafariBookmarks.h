#pragma once

#include <string>

#include "bookmarks/BookmarkReader.h"

class PDXSQLiteDatabase;

/// The bookmarks of the built-in browser, its reading list included.
///
/// Source: a local copy of "Library/Safari/Bookmarks.db", table bookmarks.
/// Errors: none leave the reader. A store that is missing, damaged or of another kind gives no items; rows
/// read before the damage are kept. The log says why.
class PDXSafariBookmarks : public PDXBookmarkReader {
 public:
  PDXSafariBookmarks();

  /// Replaces what was loaded before. Whether there are items now.
  bool loadBookmarksFromDatabaseFile(const std::string& path);

 private:
  void read_(const PDXSQLiteDatabase& database);
  void findHolders_(const PDXSQLiteDatabase& database);
};
