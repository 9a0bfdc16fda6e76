#include "app/export/BookmarksExport.h"

#include <algorithm>

#include "backup/BackupNavigation.h"
#include "backup/DeviceData.h"
#include "bookmarks/BookmarkHTMLGenerator.h"
#include "bookmarks/ChromeBookmarks.h"
#include "bookmarks/SafariBookmarks.h"
#include "platform/Files.h"
#include "platform/JsonText.h"

namespace {

constexpr const char* kFolder = "Bookmarks";

/// Whether all was written. A stop leaves nothing behind.
class Writer {
 public:
  Writer(const PDXBookmarkList& list, const PDXExportOptions& options, PDXKindReport& kind,
         PDXExportReport& report, const std::stop_token& stop)
      : list_(list), options_(options), kind_(kind), report_(report), stop_(stop) {}

  void writePage() {
    PDXAtomicFile file(options_.placeOf("Bookmarks/Bookmarks.html"));
    file.append(PDXBookmarkHTMLGenerator::beginning());
    for (const PDXBookmarkTree& tree : list_.trees)
      PDXBookmarkHTMLGenerator::write(tree, [&](const std::string& text) { file.append(text); });
    file.append(PDXBookmarkHTMLGenerator::end());
    commit(file, "Bookmarks for browsers");
  }

  void writeJson() {
    PDXAtomicFile file(options_.placeOf("Bookmarks/Bookmarks.json"));
    file.append("{\"schema\":1,\"kind\":\"bookmarks\",\"items\":[");
    std::string json;
    for (const PDXBookmarkTree& tree : list_.trees) {
      for (const PDXBookmarkTree::Entry& entry : tree.entries()) {
        file.append(json.empty() ? "\n" : ",\n");
        json.clear();
        PDXBookmarksExport::appendJson(json, entry);
        file.append(json);
      }
    }
    file.append("\n]}\n");
    commit(file, "Bookmarks as JSON");
  }

 private:
  void commit(PDXAtomicFile& file, const std::string& title) {
    if (stop_.stop_requested() || !report_.commit(file, kind_)) return;
    kind_.written.push_back(
        {.title = title, .path = options_.relative(file.path()), .entries = list_.entries});
  }

  const PDXBookmarkList& list_;
  const PDXExportOptions& options_;
  PDXKindReport& kind_;
  PDXExportReport& report_;
  const std::stop_token& stop_;
};

/// Nothing when a store could not be counted.
std::optional<PDXRowAccount> accountOf(const PDXBookmarkList& list) {
  PDXBookmarkReader::RowCounts sum;
  for (const auto& reader : list.readers) {
    const auto counts = reader->rowCounts();
    if (!counts.rows) return std::nullopt;
    *sum.rows += *counts.rows;
    sum.hidden += counts.hidden;
    sum.roots += counts.roots;
    sum.ofUnknownType += counts.ofUnknownType;
  }
  PDXRowAccount account{.rows = *sum.rows,
                        .repeated = 0,
                        .leftOut = {{"hidden on the device", sum.hidden},
                                    {"the store's own root", sum.roots},
                                    {"of an unknown type", sum.ofUnknownType},
                                    {"filtered", list.filtered}},
                        .unaccounted = 0};
  account.unaccounted = static_cast<std::int64_t>(account.rows) -
                        static_cast<std::int64_t>(list.entries + account.leftOutRows());
  return account;
}

/// One for each store that the backup has.
std::vector<PDXStoreAccount> accountsOf(const PDXBookmarkList& list) {
  std::vector<PDXStoreAccount> accounts;
  std::size_t tree = 0;
  for (const auto& reader : list.readers) {
    if (reader->storePath().empty()) continue;
    const std::size_t stored = reader->storedItems().size();
    const std::size_t written = stored == 0 ? 0 : list.trees[tree++].entries().size();
    const auto counts = reader->rowCounts();
    std::optional<PDXRowAccount> rows;
    if (counts.rows)
      rows = {.rows = *counts.rows,
              .repeated = 0,
              .leftOut = {{"hidden on the device", counts.hidden},
                          {"the store's own root", counts.roots},
                          {"of an unknown type", counts.ofUnknownType},
                          {"filtered", stored - written}}};
    const bool isOfSafari = reader == list.readers.front();
    accounts.push_back(PDXStoreAccount::of(isOfSafari ? "Bookmarks.db" : "Bookmarks", rows, written));
  }
  return accounts;
}

}  // namespace

PDXBookmarkList PDXBookmarksExport::read(PDXDeviceData& deviceData, PDXBookmarkTree::Order order,
                                         const std::string& search) {
  PDXBookmarkList list;
  const auto safari = std::make_shared<PDXSafariBookmarks>();
  const auto chrome = std::make_shared<PDXChromeBookmarks>();
  const PDXDatabaseFile store = deviceData.readableDatabaseOfFeature(PDXFeature::SafariBookmarks);
  safari->loadBookmarksFromDatabaseFile(store.path, store.access);
  chrome->loadBookmarksFromJsonFile(deviceData.databaseOfFeature(PDXFeature::ChromeBookmarks));
  list.readers = {safari, chrome};
  for (const auto& reader : list.readers) {
    if (reader->storedItems().empty()) continue;
    PDXBookmarkTree& tree = list.trees.emplace_back(*reader, order);
    tree.keepMatching(search);
    list.entries += tree.entries().size();
    list.folders += static_cast<std::size_t>(
        std::count_if(tree.entries().begin(), tree.entries().end(),
                      [](const PDXBookmarkTree::Entry& entry) { return entry.item->isFolder; }));
    list.filtered += reader->storedItems().size() - tree.entries().size();
  }
  return list;
}

void PDXBookmarksExport::appendJson(std::string& json, const PDXBookmarkTree::Entry& entry) {
  const PDXBookmarkItem& item = *entry.item;
  PDXJsonObjectText object(json);
  object.number("identifier", item.identifier);
  object.number("parent", item.parent);
  object.number("index", item.index);
  object.number("depth", static_cast<std::int64_t>(entry.depth));
  object.text("title", std::string_view(item.title));
  object.text("url", std::string_view(item.url));
  object.flag("isFolder", item.isFolder);
  object.number("type", item.type);
  object.text("browser", std::string_view(PDXBookmarkReader::browserOfType(item.type)));
  object.date("dateAdded", item.dateAdded);
  object.date("lastModified", item.lastModified);
}

PDXKindReport PDXBookmarksExport::run(PDXDeviceData& deviceData, const PDXExportOptions& options,
                                      PDXExportReport& report, const std::stop_token& stop) {
  const PDXBookmarkList list = read(deviceData, PDXBookmarkTree::Order::arranged, options.searchTerm);
  PDXKindReport kind;
  kind.kind = "bookmarks";
  kind.title = kFolder;
  kind.found = list.entries + list.filtered;
  kind.filtered = list.filtered;
  kind.entries = PDXEntriesReport{.one = "bookmark", .many = "bookmarks", .written = 0, .rows = {}};
  if (list.entries > 0) {
    Writer writer(list, options, kind, report, stop);
    writer.writePage();
    if (report.goesOn()) writer.writeJson();
    if (kind.written.empty() || !report.goesOn() || stop.stop_requested()) return kind;
  }
  kind.entries->written = list.entries;
  kind.entries->folders = list.folders;
  kind.entries->rows = accountOf(list);
  kind.accounts = accountsOf(list);
  return kind;
}
