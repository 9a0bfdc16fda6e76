#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bookmarks/BookmarkReader.h"

/// Everything that one browser's store holds as a tree, whatever the state of its folders: what lies in
/// itself, or in something that is no folder or is not there, stands in the root, and the log says so.
///
/// Walks down once, without a stack of calls: folders may lie in each other as deep as they like.
class PDXBookmarkTree {
 public:
  enum class Order {
    listed,   ///< Folders first, then by title, as the browser's tree is shown.
    arranged  ///< As the owner arranged them: by index.
  };

  struct Entry {
    const PDXBookmarkItem* item;
    std::size_t depth;   ///< 0 in the root.
    std::size_t holder;  ///< Place of the folder's entry; `PDXBookmarkReader::kRoot` in the root.
  };

  /// @param reader  must outlive the tree.
  PDXBookmarkTree(const PDXBookmarkReader& reader, Order order);

  /// Every entry behind the folder that holds it, and before what comes behind that folder.
  const std::vector<Entry>& entries() const { return entries_; }

  const PDXBookmarkItem& root() const { return root_; }

  /// Keeps what a search finds (see `PDXBookmarkReader::searchFor`), all that lies in a folder that it finds,
  /// and the folders above. An empty text keeps all.
  void keepMatching(const std::string& text);

 private:
  const PDXBookmarkItem& root_;
  std::vector<Entry> entries_;
};
