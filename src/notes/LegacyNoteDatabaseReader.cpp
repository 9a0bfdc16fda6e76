#include "notes/LegacyNoteDatabaseReader.h"

#include <optional>
#include <utility>

#include "backup/ReachableRows.h"
#include "backup/SQLiteHelper.h"
#include "notes/LegacyNoteBody.h"
#include "platform/Files.h"

namespace {

const PDXReachableRows::Query& newerLayout() {
  static const std::string columns =
      "a.ZTITLE, a.ZINTEGERID, a.ZSUMMARY, a.ZMODIFICATIONDATE, a.ZCREATIONDATE FROM ZNOTE a";
  static const PDXReachableRows::Query query{
      .table = "ZNOTE",
      .select = "SELECT a.Z_PK, b.ZCONTENT, " + columns + " JOIN ZNOTEBODY b ON b.ZOWNER = a.Z_PK WHERE 1",
      .number = "a.Z_PK",
      .bare = "SELECT a.Z_PK, NULL AS ZCONTENT, " + columns + " WHERE 1"};
  return query;
}

const PDXReachableRows::Query& oldestLayout() {
  static const PDXReachableRows::Query query{
      .table = "Note",
      .select =
          "SELECT Note.ROWID AS number, data, title FROM note_bodies body INNER JOIN Note ON Note.ROWID = "
          "body.note_id WHERE 1",
      .number = "Note.ROWID",
      .bare = "SELECT Note.ROWID AS number, NULL AS data, title FROM Note WHERE 1"};
  return query;
}

/// The query for the layout that the store has; null when it holds no notes.
const PDXReachableRows::Query* queryForLayout(const PDXSQLiteDatabase& store) {
  if (PDXSQLiteHelper::doesDatabaseContainTable(store, "ZNOTE")) return &newerLayout();
  return PDXSQLiteHelper::doesDatabaseContainTable(store, "Note") ? &oldestLayout() : nullptr;
}

/// Where the query has what; -1 where it does not.
struct Columns {
  explicit Columns(const PDXSQLiteStatement& rows)
      : id(either(rows, "ROWID", "ZINTEGERID")),
        title(either(rows, "ZTITLE", "title")),
        body(either(rows, "ZCONTENT", "data")),
        summary(either(rows, "ZSUMMARY", "")),
        created(either(rows, "ZCREATIONDATE", "")),
        modified(either(rows, "ZMODIFICATIONDATE", "")) {}

  static int either(const PDXSQLiteStatement& rows, const char* name, const char* other) {
    const int column = PDXSQLiteHelper::indexOfColumnNamedWithinStatment(name, rows);
    return column >= 0 ? column : PDXSQLiteHelper::indexOfColumnNamedWithinStatment(other, rows);
  }

  int id;
  int title;
  int body;
  int summary;
  int created;
  int modified;
};

std::optional<PDXDate> dateAt(const PDXSQLiteStatement& rows, int column) {
  if (!rows.isNumber(column)) return std::nullopt;
  return PDXLegacyNoteDatabaseReader::dateFromDatabaseLong(rows.int64(column));
}

PDXLegacyNoteDetail noteOf(const PDXSQLiteStatement& rows, const Columns& columns) {
  PDXLegacyNoteDetail note;
  const std::string body = PDXSQLiteHelper::stringValueForColumnFromStatment(columns.body, rows);
  note.noteId = rows.int64(columns.id);
  note.title = PDXSQLiteHelper::stringValueForColumnFromStatment(columns.title, rows);
  note.summary = PDXSQLiteHelper::stringValueForColumnFromStatment(columns.summary, rows);
  note.text = PDXLegacyNoteBody::plainText(body);
  note.creationDate = dateAt(rows, columns.created);
  note.lastModified = dateAt(rows, columns.modified);
  if (PDXLegacyNoteBody::holdsAttachment(body)) {
    note.unreached.push_back({.what = "part of a note",
                              .where = "a picture or file in its text",
                              .why = "the written note does not show it"});
  }
  return note;
}

}  // namespace

PDXLegacyNoteDatabaseReader::PDXLegacyNoteDatabaseReader(std::string notesDbPath)
    : notesDbPath_(std::move(notesDbPath)) {}

std::vector<PDXLegacyNoteDetail> PDXLegacyNoteDatabaseReader::getAllNotes() const {
  if (notesDbPath_.empty() || !PDXFiles::exists(notesDbPath_)) return {};
  const PDXSQLiteDatabase store(notesDbPath_);
  const auto* query = queryForLayout(store);
  if (query == nullptr || !store.prepare(query->select).isValid()) {
    const std::string why = store.whyUnreadable();
    PDXLog::report(
        {.what = "notes", .where = notesDbPath_, .why = why.empty() ? "it has no tables of notes" : why});
    return {};
  }
  std::vector<PDXLegacyNoteDetail> notes;
  const auto outcome = PDXReachableRows::forEach(
      store, *query, [&](const PDXSQLiteStatement& row) { notes.push_back(noteOf(row, Columns(row))); });
  if (!outcome.isWhole() && !outcome.isInterrupted)
    PDXLog::report({.what = "notes", .where = notesDbPath_, .why = outcome.why});
  return notes;
}

PDXDate PDXLegacyNoteDatabaseReader::dateFromDatabaseLong(std::int64_t seconds) {
  return PDXDates::fromReferenceSeconds(seconds);
}
