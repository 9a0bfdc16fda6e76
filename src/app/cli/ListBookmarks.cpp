#include <algorithm>

#include "app/cli/Listing.h"
#include "app/cli/Options.h"
#include "app/export/BookmarksExport.h"

namespace {

/// Folders that lie deeper stand no further to the right.
constexpr std::size_t kDeepestIndent = 16;

std::string lineOf(const PDXBookmarkTree::Entry& entry) {
  std::string line(2 * (1 + std::min(entry.depth, kDeepestIndent)), ' ');
  line += entry.item->title;
  if (entry.item->isFolder) return line + "/";
  return line + "  " + entry.item->url;
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
  const auto folders = [](const PDXBookmarkTree& tree) {
    return std::count_if(tree.entries().begin(), tree.entries().end(),
                         [](const auto& entry) { return entry.item->isFolder; });
  };
  std::size_t inFolders = 0;
  for (const PDXBookmarkTree& tree : list.trees) inFolders += static_cast<std::size_t>(folders(tree));
  listing.summary = countedEntries(list.entries - inFolders, "bookmark", "bookmarks") + " in " +
                    countedEntries(inFolders, "folder", "folders");
  return listing;
}
