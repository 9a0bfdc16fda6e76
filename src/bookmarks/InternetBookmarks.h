#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bookmarks/BookmarkReader.h"

/// The bookmarks of several browsers as one tree.
///
/// Items are answered by pointers into the readers.
class PDXInternetBookmarks {
 public:
  using Reader = std::shared_ptr<const PDXBookmarkReader>;

  void addReader(Reader reader);
  void addReaders(const std::vector<Reader>& readers);
  void removeReader(const Reader& reader);
  void removeAllReaders() { readers_.clear(); }

  /// The root of every reader that has bookmarks, in the order in which they were added.
  std::vector<const PDXBookmarkItem*> roots() const;

  /// What lies in a folder of one browser; see `PDXBookmarkReader::childrenForIdentifier`.
  std::vector<const PDXBookmarkItem*> childrenForIdentifierOfType(std::int64_t identifier,
                                                                  std::int32_t type) const;

  /// What every reader finds, one reader's after another's.
  std::vector<const PDXBookmarkItem*> search(const std::string& text) const;

 private:
  std::vector<Reader> readers_;
};
