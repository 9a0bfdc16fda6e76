#include "bookmarks/SafariBookmarks.h"

#include <cmath>
#include <unordered_set>
#include <utility>

#include "backup/ReachableRows.h"
#include "backup/RowEstimate.h"
#include "backup/SQLiteHelper.h"
#include "platform/Files.h"
#include "platform/Localisation.h"
#include "platform/Log.h"

namespace {

constexpr std::int64_t kFolderType = 1;

bool hasColumn(const PDXSQLiteDatabase& database, const char* column) {
  return PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(database, "bookmarks", column);
}

std::string columnOrNull(const PDXSQLiteDatabase& database, const char* column) {
  return hasColumn(database, column) ? column : "NULL";
}

/// "1" for what the store hides; "0" where it hides nothing.
std::string hides(const PDXSQLiteDatabase& database) {
  return hasColumn(database, "hidden") ? "ifnull(hidden, 0) != 0" : "0";
}

/// A row whose hidden flag nobody set is no more hidden than others, but the browser does not list it.
std::string query(const PDXSQLiteDatabase& database) {
  std::string columns;
  for (const char* column : {"id", "parent", "type", "title", "url", "order_index", "last_modified"})
    columns += columnOrNull(database, column) + ", ";
  return "SELECT " + columns + (hasColumn(database, "hidden") ? "hidden = 0" : "1") +
         " FROM bookmarks WHERE id != 0 AND NOT " + hides(database);
}

/// The rows of a statement as items.
class Rows {
 public:
  Rows(const PDXSQLiteStatement& rows, const std::string& store)
      : rows_(rows), numbers_("number of a bookmark", store), dates_("date of a bookmark", store) {}

  PDXBookmarkItem item() {
    PDXBookmarkItem item;
    item.identifier = number(0);
    item.parent = number(1);
    item.isFolder = number(2) == kFolderType;
    item.title = rows_.text(3);
    item.url = rows_.text(4);
    item.index = number(5);
    item.lastModified = date(6);
    return item;
  }

  bool isListed() const { return rows_.int64(7) != 0; }

 private:
  std::string place() const { return "record " + rows_.text(0); }

  std::int64_t number(int column) {
    if (!rows_.isNull(column) && !rows_.isNumber(column))
      numbers_.add(place(), "no number is stored as " + rows_.text(column));
    return rows_.int64(column);
  }

  /// Unlike most dates of the device these count from 1970.
  std::optional<PDXDate> date(int column) {
    constexpr double kReference = 978307200;
    if (rows_.isNull(column)) return std::nullopt;
    const double seconds = rows_.real(column);
    if (rows_.isNumber(column) && seconds == 0) return std::nullopt;
    const auto date = rows_.isNumber(column) ? PDXDates::fromReferenceFraction(seconds - kReference)
                                             : std::optional<PDXDate>();
    if (!date) dates_.add(place(), "no date is stored as " + rows_.text(column));
    return date;
  }

  const PDXSQLiteStatement& rows_;
  PDXProblemSeries numbers_;
  PDXProblemSeries dates_;
};

}  // namespace

PDXSafariBookmarks::PDXSafariBookmarks() : PDXBookmarkReader(kSafari, PDXLocalised("Safari Bookmarks")) {}

bool PDXSafariBookmarks::loadBookmarksFromDatabaseFile(const std::string& path, PDXSQLiteAccess access) {
  clear_(path);
  access_ = access;
  if (path.empty() || !PDXFiles::exists(path)) return false;
  const PDXSQLiteDatabase database(path, access);
  if (!PDXSQLiteHelper::doesDatabaseContainTable(database, "bookmarks")) {
    const std::string why = database.whyUnreadable();
    PDXLog::report(
        {.what = "bookmarks", .where = path, .why = why.empty() ? "it has no table of bookmarks" : why});
    return false;
  }
  read_(database);
  findHolders_(database);
  return hasItems();
}

void PDXSafariBookmarks::read_(const PDXSQLiteDatabase& database) {
  reserve_(PDXRowEstimate::of(database, "bookmarks"));
  auto rows = database.prepare(query(database));
  Rows items(rows, storePath_);
  while (rows.step()) add_(items.item(), kRoot, items.isListed());
  if (!rows.error().empty()) PDXLog::report({.what = "bookmarks", .where = storePath_, .why = rows.error()});
  if (rows.failed()) readMissed_(database);
}

PDXBookmarkReader::RowCounts PDXSafariBookmarks::rowCounts() const {
  const PDXSQLiteDatabase database(storePath_, access_);
  if (!PDXSQLiteHelper::doesDatabaseContainTable(database, "bookmarks")) return counts_;
  auto rows = database.prepare("SELECT count(*), sum(" + hides(database) + "), sum(id = 0 AND NOT " +
                               hides(database) + ") FROM bookmarks NOT INDEXED");
  if (!rows.step()) return {.rows = std::nullopt};
  const auto count = [&rows](int column) { return static_cast<std::size_t>(rows.int64(column)); };
  return {.rows = count(0), .hidden = count(1), .roots = count(2)};
}

void PDXSafariBookmarks::readMissed_(const PDXSQLiteDatabase& database) {
  std::unordered_set<std::int64_t> read;
  for (const PDXBookmarkItem& item : stored_) read.insert(item.identifier);
  auto row = database.prepare(query(database) + " AND rowid = ?1");
  Rows items(row, storePath_);
  for (const std::int64_t number : PDXReachableRows::missed(database, "bookmarks", read)) {
    row.reset();
    row.bind(1, number);
    if (row.step()) add_(items.item(), kRoot, items.isListed());
  }
}

void PDXSafariBookmarks::findHolders_(const PDXSQLiteDatabase& database) {
  // Those that are not listed by their identifier hold others all the same.
  std::unordered_map<std::int64_t, std::size_t> unlisted;
  for (std::size_t i = 0; places_.size() < stored_.size() && i < stored_.size(); ++i)
    unlisted[stored_[i].identifier] = i;
  const auto& all = unlisted.empty() ? places_ : unlisted;
  bool isAnyLost = false;
  for (std::size_t i = 0; i < stored_.size(); ++i) {
    if (stored_[i].parent == 0) continue;
    const auto found = all.find(stored_[i].parent);
    holders_[i] = found == all.end() ? kLost : found->second;
    isAnyLost = isAnyLost || found == all.end();
  }
  if (!isAnyLost) return;
  // What lies in a hidden folder and is not hidden itself is not lost: it stands beside the folders.
  std::unordered_set<std::int64_t> hidden;
  auto rows = database.prepare("SELECT id FROM bookmarks WHERE " + hides(database));
  while (rows.step()) hidden.insert(rows.int64(0));
  for (std::size_t i = 0; i < stored_.size(); ++i) {
    if (holders_[i] == kLost && hidden.contains(stored_[i].parent)) holders_[i] = kRoot;
  }
}
