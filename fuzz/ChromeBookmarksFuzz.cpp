#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "bookmarks/BookmarkHTMLGenerator.h"
#include "bookmarks/BookmarkTree.h"
#include "bookmarks/ChromeBookmarks.h"
#include "platform/Text.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

/// Every item stands in the tree once, and what is written of it is as deep as the tree.
void check(const PDXChromeBookmarks& bookmarks, PDXBookmarkTree::Order order) {
  PDXBookmarkTree tree(bookmarks, order);
  require(tree.entries().size() == bookmarks.storedItems().size());
  std::size_t folders = 1;
  for (const PDXBookmarkTree::Entry& entry : tree.entries()) {
    require(PDXText::isValid(entry.item->title) && PDXText::isValid(entry.item->url));
    if (entry.holder == PDXBookmarkReader::kRoot) {
      require(entry.depth == 0);
    } else {
      require(entry.depth == tree.entries()[entry.holder].depth + 1);
    }
    if (entry.item->isFolder) ++folders;
  }
  std::string html;
  PDXBookmarkHTMLGenerator::write(tree, [&html](const std::string& text) { html += text; });
  std::size_t opened = 0;
  for (std::size_t at = html.find("<DL><p>"); at != std::string::npos; at = html.find("<DL><p>", at + 1))
    ++opened;
  require(opened == folders);
  tree.keepMatching("a");
  require(tree.entries().size() <= bookmarks.storedItems().size());
}

}  // namespace

/// Any bytes as the browser's file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  PDXChromeBookmarks bookmarks;
  bookmarks.loadBookmarksFromJsonData(PDXBytes(data, data + size));
  check(bookmarks, PDXBookmarkTree::Order::listed);
  check(bookmarks, PDXBookmarkTree::Order::arranged);
  const auto counts = bookmarks.rowCounts();
  require(*counts.rows == bookmarks.storedItems().size() + counts.ofUnknownType);
  for (const auto& [identifier, item] : bookmarks.items())
    require(bookmarks.itemWithIdentifier(identifier) == item);
  require(bookmarks.searchFor("").size() == bookmarks.items().size());
  bookmarks.childrenForIdentifier(0);
  return 0;
}
