#include "samples/Bookmarks.h"

#include <string_view>

#include "platform/Files.h"
#include "platform/Sqlite.h"
#include "samples/Table.h"

namespace {

constexpr const char* kFirstColumns =
    "CREATE TABLE bookmarks (id INTEGER PRIMARY KEY AUTOINCREMENT, special_id INTEGER DEFAULT 0, parent "
    "INTEGER, "
    "type INTEGER, title TEXT, url TEXT COLLATE NOCASE, num_children INTEGER DEFAULT 0, editable INTEGER "
    "DEFAULT "
    "1, deletable INTEGER DEFAULT 1, hidden INTEGER DEFAULT 0, hidden_ancestor_count INTEGER DEFAULT 0, "
    "order_index INTEGER NOT NULL, external_uuid TEXT UNIQUE, read INTEGER DEFAULT NULL, last_modified REAL "
    "DEFAULT NULL, server_id TEXT, sync_key TEXT, sync_data BLOB, added INTEGER DEFAULT 1, deleted INTEGER "
    "DEFAULT 0, extra_attributes BLOB DEFAULT NULL";
constexpr const char* kColumnsFrom6 =
    ", local_attributes BLOB DEFAULT NULL, fetched_icon BOOL DEFAULT 0, icon BLOB DEFAULT NULL, "
    "dav_generation "
    "INTEGER DEFAULT 0, locally_added BOOL DEFAULT 0, archive_status INTEGER DEFAULT 0, syncable BOOL "
    "DEFAULT 1, "
    "web_filter_status INTEGER DEFAULT 0, modified_attributes UNSIGNED BIG INT DEFAULT 0";
constexpr const char* kColumnsFrom15 =
    ", date_closed REAL DEFAULT NULL, last_selected_child INTEGER DEFAULT NULL, subtype INTEGER DEFAULT 0, "
    "topic_title TEXT, feature_text TEXT, fetched_feature_text BOOL DEFAULT 0, is_marked_for_expiration BOOL "
    "DEFAULT 0";
constexpr const char* kOtherTables =
    "CREATE TABLE bookmark_title_words (id INTEGER PRIMARY KEY, bookmark_id INTEGER NOT NULL REFERENCES "
    "bookmarks(id) ON DELETE CASCADE, word TEXT, word_index INTEGER);"
    "CREATE TABLE folder_ancestors (id INTEGER PRIMARY KEY AUTOINCREMENT, folder_id INTEGER NOT NULL, "
    "ancestor_id "
    "INTEGER NOT NULL);"
    "CREATE INDEX bookmarks_parent_type_order_index ON bookmarks (parent, type, order_index);";

struct Bookmark {
  int id;
  int special;
  int parent;
  int order;
  std::string_view title;
  std::string_view url;  ///< "" for a folder.
  bool isHidden = false;
};

/// The odd ones: markup and quotes, no title, a program for an address, two of one name, something hidden.
constexpr Bookmark kBookmarks[] = {
    {1, 1, 0, 0, "BookmarksBar", ""},
    {2, 2, 0, 1, "BookmarksMenu", ""},
    {3, 3, 0, 2, "com.apple.ReadingList", ""},
    {4, 0, 1, 0, "Tide tables", "https://tides.example.com/averil?day=1&unit=m"},
    {5, 0, 1, 1, "Travel", ""},
    {6, 0, 5, 1, "Saltmarsh \"by boat\" <timetable>", "https://boats.example.org/saltmarsh"},
    {7, 0, 5, 0, "Zum Übersetzen 交接", "https://example.net/%C3%BC"},
    {8, 0, 5, 2, "Empty folder", ""},
    {9, 0, 2, 0, "", "https://example.com/untitled"},
    {10, 0, 2, 1, "Larger text", "javascript:document.body.style.zoom='150%'"},
    {11, 0, 3, 0, "Avocets return to the causeway", "https://news.example.com/avocets"},
    {12, 0, 2, 2, "Hidden", "https://example.com/hidden", true},
    {13, 0, 2, 3, "Travel", "https://travel.example.com/"}};

constexpr std::int64_t kModified = 1690000000;  // 2023-07-22, seconds since 1970.

bool addBookmarks(const PDXSQLiteDatabase& store) {
  PDXSampleTable rows(
      store, "bookmarks",
      "id, special_id, parent, type, title, url, hidden, order_index, external_uuid, last_modified");
  rows.add({0, 0, nullptr, 1, "Root", nullptr, 0, 0, "Root", nullptr});
  for (const Bookmark& bookmark : kBookmarks) {
    const std::string uuid = "5A3C7D10-0000-4000-8000-0000000000" + std::to_string(10 + bookmark.id);
    rows.add({bookmark.id, bookmark.special, bookmark.parent, bookmark.url.empty() ? 1 : 0,
              PDXSampleTable::textOrNull(bookmark.title), PDXSampleTable::textOrNull(bookmark.url),
              bookmark.isHidden ? 1 : 0, bookmark.order, uuid, kModified + bookmark.id});
  }
  return !rows.failed();
}

}  // namespace

namespace PDXSampleBookmarks {

std::string writeStore(const std::string& path, int version) {
  std::string schema = kFirstColumns;
  if (version >= 6) schema += kColumnsFrom6;
  if (version >= 15) schema += kColumnsFrom15;
  const PDXSQLiteDatabase store(path, PDXSQLiteAccess::create);
  const bool written = store.run(schema + ");" + kOtherTables) &&
                       store.run("PRAGMA synchronous=OFF; BEGIN") && addBookmarks(store) &&
                       store.run("COMMIT");
  return written ? "" : "bookmarks: " + store.error();
}

std::string chromeDocument() {
  return R"({
   "checksum": "0f343b0931126a20f133d67c2b018a3b",
   "roots": {
      "bookmark_bar": {
         "children": [ {
            "date_added": "13330000000000000",
            "guid": "5a3c7d10-0000-4000-8000-000000000104",
            "id": "4",
            "meta_info": { "last_visited": "0" },
            "name": "Soup & more",
            "type": "url",
            "url": "https://recipes.example.com/soup"
         }, {
            "children": [ {
               "date_added": "13340000000000000",
               "id": "6",
               "name": "Crêpes",
               "type": "url",
               "url": "https://recipes.example.com/cr%C3%AApes"
            } ],
            "date_added": "13335000000000000",
            "date_modified": "13341000000000000",
            "id": "5",
            "name": "Recipes",
            "type": "folder"
         } ],
         "date_added": "13330000000000000",
         "date_modified": "0",
         "id": "1",
         "name": "Bookmarks bar",
         "type": "folder"
      },
      "other": {
         "children": [  ],
         "id": "2",
         "name": "Other bookmarks",
         "type": "folder"
      },
      "synced": {
         "children": [ {
            "date_added": "13345000000000000",
            "id": "7",
            "name": "Stove manual",
            "type": "url",
            "url": "https://stoves.example.com/manual.pdf"
         } ],
         "id": "3",
         "name": "Mobile bookmarks",
         "type": "folder"
      }
   },
   "version": 1
}
)";
}

std::string write(PDXSampleBackupFolder& folder, int version) {
  const std::string store = PDXFiles::joined(folder.workFolder(), "Bookmarks.db");
  std::string why = writeStore(store, version);
  if (!why.empty()) return why;
  folder.takeFile("HomeDomain", "Library/Safari/Bookmarks.db", store);
  folder.addFile("AppDomain-com.google.chrome.ios",
                 "Library/Application Support/Google/Chrome/Default/Bookmarks",
                 std::string_view(chromeDocument()));
  return "";
}

}  // namespace PDXSampleBookmarks
