#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/Date.h"

/// A bookmark, or a folder of bookmarks.
struct PDXBookmarkItem {
  /// Within one browser. Source: bookmarks.id; "id" of a Chrome node.
  std::int64_t identifier = 0;

  /// The folder that holds it; 0 for the browser's own. Source: bookmarks.parent.
  std::int64_t parent = 0;

  /// Its place in that folder. Source: bookmarks.order_index; of Chrome its place in "children".
  std::int64_t index = 0;

  std::string title;  ///< May be empty. Source: bookmarks.title; "name".
  std::string url;    ///< Empty for folders. Source: bookmarks.url; "url".

  /// Source: bookmarks.type is 1; "type" is "folder".
  bool isFolder = false;

  /// The browser: 0 the built-in one, 1 Chrome.
  std::int32_t type = 0;

  /// Where a view shows it; readers leave it empty.
  std::string outlinePath;

  /// Missing for the built-in browser. Source: "date_added", microseconds since 1601 as text.
  std::optional<PDXDate> dateAdded;

  /// Source: bookmarks.last_modified, seconds since 1970; "date_modified" of Chrome's folders.
  std::optional<PDXDate> lastModified;
};
