#pragma once

#include <string>
#include <vector>

#include "bookmarks/BookmarkReader.h"
#include "platform/Bytes.h"

struct PDXChromeNode;

/// The bookmarks of Chrome.
///
/// Source: a local copy of "Library/Application Support/Google/Chrome/Default/Bookmarks", a JSON document,
/// deciphered or not: what a cipher leaves behind its end is ignored.
/// Errors: none leave the reader. A document that is damaged gives no items; what stands before the damage is
/// among the stored items. The log says why. Folders may lie in each other as deep as they like.
/// Each operation replaces what was loaded before and tells whether there are items now.
class PDXChromeBookmarks : public PDXBookmarkReader {
 public:
  PDXChromeBookmarks();

  bool loadBookmarksFromJsonFile(const std::string& path);
  bool loadBookmarksFromJsonString(const std::string& text);
  bool loadBookmarksFromJsonData(const PDXBytes& data);

 private:
  bool load_(const std::string& document);
  void take_(std::vector<PDXChromeNode>& nodes, bool isWhole);
};
