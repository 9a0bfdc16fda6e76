#include <algorithm>

#include "app/cli/Listing.h"
#include "app/cli/Options.h"
#include "app/export/BookmarksExport.h"
#include "platform/Text.h"

namespace {

/// Folders that lie deeper stand no further to the right.
constexpr std::size_t kDeepestIndent = 16;

std::string lineOf(const PDXBookmarkTree::Entry& entry) {
  std::string line(2 * (1 + std::min(entry.depth, kDeepestIndent)), ' ');
  if (entry.item->isFolder) return line + entry.item->title + "/";
  if (!PDXText::trimmed(entry.item->title).empty()) line += entry.item->title + "  ";
  return line + entry.item->url;
}

}  // namespace

PDXListing listBookmarks(const PDXListRequest& request) {
  const PDXBookmarkList list =
      PDXBookmarksExport::read(request.deviceData, PDXBookmarkTree::Order::listed, request.range.search);
  PDXListing listing;
  for (const PDXBookmarkTree& tree : list.trees) {
    if (request.stop.stop_requested()) return listing;
    if (!request.wantsItems && !tree.entries().empty()) listing.lines.push_back(tree.root().title);
    for (const PDXBookmarkTree::Entry& entry : tree.entries()) {
      if (request.wantsItems) {
        if (!listing.itemsText.empty()) listing.itemsText += ",\n";
        PDXBookmarksExport::appendJson(listing.itemsText, entry);
      } else {
        listing.lines.push_back(lineOf(entry));
      }
    }
  }
  listing.summary = countedEntries(list.entries - list.folders, "bookmark", "bookmarks") + " in " +
                    countedEntries(list.folders, "folder", "folders");
  return listing;
}
