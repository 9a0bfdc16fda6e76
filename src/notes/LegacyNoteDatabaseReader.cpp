#include "notes/LegacyNoteDatabaseReader.h"

#include <optional>
#include <utility>

#include "backup/SQLiteHelper.h"
#include "notes/LegacyNoteBody.h"
#include "platform/Files.h"

namespace {

constexpr const char* kNewerLayout =
    "SELECT b.ZCONTENT, a.ZTITLE, a.ZINTEGERID, a.ZSUMMARY, a.ZMODIFICATIONDATE, a.ZCREATIONDATE FROM ZNOTE "
    "a "
    "JOIN ZNOTEBODY b ON b.ZOWNER = a.Z_PK";
constexpr const char* kOldestLayout =
    "SELECT data, title FROM note_bodies body INNER JOIN Note ON Note.ROWID = body.note_id";

/// The query for the layout that the store has; "" when it holds no notes.
const char* queryForLayout(const PDXSQLiteDatabase& store) {
  if (PDXSQLiteHelper::doesDatabaseContainTable(store, "ZNOTE")) return kNewerLayout;
  return PDXSQLiteHelper::doesDatabaseContainTable(store, "Note") ? kOldestLayout : "";
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
  auto rows = store.prepare(queryForLayout(store));
  if (!rows.isValid()) {
    const std::string why = store.whyUnreadable();
    PDXLog::report(
        {.what = "notes", .where = notesDbPath_, .why = why.empty() ? "it has no tables of notes" : why});
    return {};
  }
  std::vector<PDXLegacyNoteDetail> notes;
  const Columns columns(rows);
  while (rows.step()) notes.push_back(noteOf(rows, columns));
  if (rows.failed()) PDXLog::report({.what = "notes", .where = notesDbPath_, .why = rows.error()});
  return notes;
}

PDXDate PDXLegacyNoteDatabaseReader::dateFromDatabaseLong(std::int64_t seconds) {
  return PDXDates::fromReferenceSeconds(seconds);
}
