#include "notes/NoteRowCounts.h"

#include "backup/ReachableRows.h"
#include "backup/SQLiteHelper.h"
#include "notes/NoteStoreColumns.h"
#include "notes/NoteStoreKeyData.h"

namespace {

std::optional<std::size_t> counted(const PDXSQLiteDatabase& store, const std::string& query) {
  auto rows = store.prepare(query);
  if (!rows.step()) return std::nullopt;
  return static_cast<std::size_t>(rows.int64(0));
}

std::vector<std::string> texts(const PDXSQLiteDatabase& store, const std::string& query) {
  std::vector<std::string> found;
  auto rows = store.prepare(query);
  while (rows.step()) found.push_back(rows.text(0));
  return found;
}

/// The older store beside a newer one, of which only other accounts' notes count.
bool addOtherAccounts(const PDXSQLiteDatabase& store, PDXNoteRowCounts& counts) {
  std::string why;
  const auto rows = PDXReachableRows::count(store, "ZNOTE", why);
  if (!rows) return false;
  const bool hasStore =
      PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(store, "ZACCOUNT", "ZDEFAULTSTORE");
  const std::string key = hasStore ? "ZDEFAULTSTORE" : "Z_PK";
  const std::string others = "IFNULL(ZSTORE IN (SELECT " + key + " FROM ZACCOUNT WHERE " + key + " > 1), 0)";
  counts.rows += *rows;
  counts.inOwnAccount = counted(store, "SELECT count(*) FROM ZNOTE WHERE NOT " + others).value_or(0);
  counts.withoutBody = counted(store, "SELECT count(*) FROM ZNOTE WHERE " + others +
                                          " AND NOT IFNULL(ZBODY IN (SELECT Z_PK FROM ZNOTEBODY), 0)")
                           .value_or(0);
  counts.repeated =
      counted(store, "SELECT count(*) - count(DISTINCT n.Z_PK) FROM ZNOTE n JOIN ZACCOUNT a ON a." + key +
                         " = n.ZSTORE AND a." + key + " > 1 JOIN ZNOTEBODY b ON b.Z_PK = n.ZBODY")
          .value_or(0);
  return true;
}

}  // namespace

std::optional<PDXNoteRowCounts> PDXNoteRowCounts::ofOlderStoreBesideNewer(const std::string& legacyPath) {
  PDXNoteRowCounts counts;
  return addOtherAccounts(PDXSQLiteDatabase(legacyPath), counts) ? std::optional(counts) : std::nullopt;
}

std::optional<PDXNoteRowCounts> PDXNoteRowCounts::ofStores(const std::string& notesDbPath,
                                                           const std::string& legacyPath) {
  const PDXSQLiteDatabase store(notesDbPath);
  const PDXNoteStoreKeyData keys(store);
  const PDXNoteStoreColumns columns(store, keys);
  const std::string ofNotes =
      "FROM ZICCLOUDSYNCINGOBJECT NOT INDEXED WHERE Z_ENT == " + std::to_string(keys.noteKey);
  const auto rows = counted(store, "SELECT count(*) " + ofNotes);
  if (!rows) return std::nullopt;
  PDXNoteRowCounts counts;
  counts.rows = *rows;
  counts.isNewerEmpty = *rows == 0;
  counts.deleted =
      counted(store, "SELECT count(*) " + ofNotes + " AND NOT (" + columns.isKept + ")").value_or(0);
  counts.locked = texts(store, "SELECT ZTITLE1 " + ofNotes + " AND " + columns.isKept + " AND NOT (" +
                                   columns.isOpen + ") ORDER BY Z_PK");
  counts.untitled = counted(store, "SELECT count(*) " + ofNotes + " AND " + columns.isKept + " AND " +
                                       columns.isOpen + " AND ZTITLE1 IS NULL")
                        .value_or(0);
  if (!legacyPath.empty()) addOtherAccounts(PDXSQLiteDatabase(legacyPath), counts);
  return counts;
}

std::optional<PDXNoteRowCounts> PDXNoteRowCounts::ofLegacyStore(const std::string& path) {
  const PDXSQLiteDatabase store(path);
  const bool isNewer = PDXSQLiteHelper::doesDatabaseContainTable(store, "ZNOTE");
  const std::string note = isNewer ? "ZNOTE" : "Note";
  const std::string key = isNewer ? "Z_PK" : "ROWID";
  const std::string body = isNewer ? "ZNOTEBODY" : "note_bodies";
  const std::string owner = isNewer ? "ZOWNER" : "note_id";
  const auto rows = counted(store, "SELECT count(1) FROM " + note);
  if (!rows) return std::nullopt;
  PDXNoteRowCounts counts;
  counts.rows = *rows;
  counts.withoutBody = counted(store, "SELECT count(*) FROM " + note + " n WHERE NOT EXISTS (SELECT 1 FROM " +
                                          body + " WHERE " + owner + " = n." + key + ")")
                           .value_or(0);
  counts.repeated = counted(store, "SELECT count(*) - count(DISTINCT n." + key + ") FROM " + note +
                                       " n JOIN " + body + " b ON b." + owner + " = n." + key)
                        .value_or(0);
  return counts;
}
