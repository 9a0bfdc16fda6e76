#pragma once

#include <cstddef>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "app/export/ExportOptions.h"
#include "app/export/ExportReport.h"
#include "bookmarks/BookmarkTree.h"

class PDXDeviceData;

/// The bookmarks of a backup, for lists and exports.
struct PDXBookmarkList {
  std::vector<std::shared_ptr<const PDXBookmarkReader>> readers;
  std::vector<PDXBookmarkTree> trees;  ///< Of every browser that has any.

  std::size_t entries = 0;   ///< In the trees: bookmarks and folders.
  std::size_t folders = 0;   ///< Of them.
  std::size_t filtered = 0;  ///< Taken out of them.
};

namespace PDXBookmarksExport {

/// @param search  keeps what matches, and the folders above; "" keeps all.
PDXBookmarkList read(PDXDeviceData& deviceData, PDXBookmarkTree::Order order, const std::string& search);

/// Appends an entry as a JSON object. Its keys are the record's field names; "depth" tells with the order of
/// the entries which folder holds which, "browser" which browser it is from.
void appendJson(std::string& json, const PDXBookmarkTree::Entry& entry);

/// Writes "Bookmarks/Bookmarks.html" and "Bookmarks/Bookmarks.json", unless there are none.
/// @param report  receives the failure when they cannot be written.
PDXKindReport run(PDXDeviceData& deviceData, const PDXExportOptions& options, PDXExportReport& report,
                  const std::stop_token& stop);

}  // namespace PDXBookmarksExport
