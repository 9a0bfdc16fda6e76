#pragma once

#include <string>

#include "bookmarks/BookmarkTree.h"

/// The file in which browsers export and import bookmarks: lists in lists, a heading for each folder.
namespace PDXBookmarkHTMLGenerator {

/// What stands before the first browser's folder.
std::string beginning();

/// Calls `append` with one piece of text after another: the browser's folder with all it holds.
template <typename Append>
void write(const PDXBookmarkTree& tree, const Append& append);

std::string end();

/// The pieces that `write` is made of. They append to `html`. A bookmark without a title goes by its address,
/// and the built-in browser's own folders by the names that people know, "Reading List".
void openFolder(std::string& html, const PDXBookmarkItem& folder, std::size_t depth);
void closeFolder(std::string& html, std::size_t depth);
void appendBookmark(std::string& html, const PDXBookmarkItem& bookmark, std::size_t depth);

}  // namespace PDXBookmarkHTMLGenerator

template <typename Append>
void PDXBookmarkHTMLGenerator::write(const PDXBookmarkTree& tree, const Append& append) {
  std::string html;
  openFolder(html, tree.root(), 1);
  std::size_t open = 1;  // Folders that are open, the browser's own included.
  for (const PDXBookmarkTree::Entry& entry : tree.entries()) {
    for (; open > entry.depth + 1; --open) closeFolder(html, open);
    if (entry.item->isFolder) {
      openFolder(html, *entry.item, ++open);
    } else {
      appendBookmark(html, *entry.item, open + 1);
    }
    append(html);
    html.clear();
  }
  for (; open > 0; --open) closeFolder(html, open);
  append(html);
}
