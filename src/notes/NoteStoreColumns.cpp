#include "notes/NoteStoreColumns.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "backup/SQLiteHelper.h"

namespace {

using FolderMap = std::unordered_map<std::int64_t, std::int64_t>;

constexpr const char* kObjects = "ZICCLOUDSYNCINGOBJECT";
constexpr const char* kNone = "NULL";

bool isDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::int64_t numberOf(const PDXSQLiteDatabase& database, const std::string& query) {
  auto rows = database.prepare(query);
  return rows.step() ? rows.int64(0) : 0;
}

/// Counts the notes whose column fulfils a condition.
std::int64_t notesWith(const PDXSQLiteDatabase& database, const PDXNoteStoreKeyData& keys,
                       const std::string& column, const std::string& condition) {
  return numberOf(database, "SELECT count(*) FROM ZICCLOUDSYNCINGOBJECT WHERE Z_ENT == " +
                                std::to_string(keys.noteKey) + " AND " + column + " " + condition);
}

bool isFilled(const PDXSQLiteDatabase& database, const PDXNoteStoreKeyData& keys, const std::string& column) {
  return numberOf(database, "SELECT EXISTS (SELECT 1 FROM ZICCLOUDSYNCINGOBJECT WHERE Z_ENT == " +
                                std::to_string(keys.noteKey) + " AND " + column + " IS NOT NULL)") != 0;
}

/// `usual` when notes have it filled, else the one of `family` that fulfils the condition for most of them.
std::string chosen(const PDXSQLiteDatabase& database, const PDXNoteStoreKeyData& keys,
                   const std::string& usual, const std::vector<std::string>& family,
                   const std::string& condition) {
  const bool hasUsual = std::find(family.begin(), family.end(), usual) != family.end();
  if (hasUsual && isFilled(database, keys, usual)) return usual;
  std::pair<std::int64_t, std::string> best{0, hasUsual ? usual : kNone};
  for (const std::string& column : family) {
    const std::int64_t notes = notesWith(database, keys, column, condition);
    if (notes > best.first) best = {notes, column};
  }
  return best.second;
}

FolderMap mapOf(const PDXSQLiteDatabase& database, const std::string& query) {
  FolderMap folders;
  auto rows = database.prepare(query);
  while (rows.step()) {
    if (rows.int64(0) != 0) folders[rows.int64(1)] = rows.int64(0);
  }
  return folders;
}

FolderMap mapOfTable(const PDXSQLiteDatabase& database, const std::string& table,
                     const std::string& folderColumn, const std::string& noteColumn) {
  return mapOf(database, "SELECT " + folderColumn + ", " + noteColumn + " FROM " + table);
}

FolderMap mapOfColumn(const PDXSQLiteDatabase& database, const PDXNoteStoreKeyData& keys) {
  return mapOf(database,
               "SELECT ZFOLDER, Z_PK FROM ZICCLOUDSYNCINGOBJECT WHERE Z_ENT=" + std::to_string(keys.noteKey));
}

/// Tables that look like the one that joins folders and notes, under whatever numbers.
FolderMap mapOfAnyTable(const PDXSQLiteDatabase& database) {
  auto tables = database.prepare(
      "SELECT m.name, f.name, n.name FROM sqlite_master m JOIN pragma_table_info(m.name) f JOIN "
      "pragma_table_info(m.name) n WHERE m.type = 'table' AND m.name GLOB 'Z_[0-9]*NOTES' AND f.name GLOB "
      "'Z_[0-9]*FOLDERS' AND n.name GLOB 'Z_[0-9]*NOTES' ORDER BY m.name");
  while (tables.step()) {
    FolderMap folders = mapOfTable(database, "\"" + tables.text(0) + "\"", "\"" + tables.text(1) + "\"",
                                   "\"" + tables.text(2) + "\"");
    if (!folders.empty()) return folders;
  }
  return {};
}

}  // namespace

PDXNoteStoreColumns::PDXNoteStoreColumns(const PDXSQLiteDatabase& database, const PDXNoteStoreKeyData& keys) {
  auto names = database.prepare("SELECT name FROM pragma_table_info('" + std::string(kObjects) + "')");
  while (names.step()) columns_.push_back(names.text(0));

  const bool hasLaterDate = columnOrNull("ZCREATIONDATE1") != kNone;
  account = chosen(
      database, keys, keys.noteKey == 8 ? "ZACCOUNT2" : "ZACCOUNT3", family_("ZACCOUNT"),
      "IN (SELECT Z_PK FROM ZICCLOUDSYNCINGOBJECT WHERE Z_ENT == " + std::to_string(keys.accountKey) + ")");
  creation = chosen(database, keys, hasLaterDate ? "ZCREATIONDATE1" : "ZCREATIONDATE",
                    family_("ZCREATIONDATE"), "IS NOT NULL");
  modification = chosen(database, keys, "ZMODIFICATIONDATE1", family_("ZMODIFICATIONDATE"), "IS NOT NULL");
  isKept = "IFNULL(" + columnOrNull("ZMARKEDFORDELETION") + ", 0) == 0";
  isOpen = columnOrNull("ZISPASSWORDPROTECTED") == kNone ? "1" : "ZISPASSWORDPROTECTED IS NOT '1'";
}

std::string PDXNoteStoreColumns::columnOrNull(std::string_view column) const {
  const bool isThere = std::find(columns_.begin(), columns_.end(), column) != columns_.end();
  return isThere ? std::string(column) : kNone;
}

/// The columns that are called so, with or without a number behind.
std::vector<std::string> PDXNoteStoreColumns::family_(std::string_view stem) const {
  std::vector<std::string> family;
  for (const std::string& column : columns_) {
    if (column.starts_with(stem) && isDigits(std::string_view(column).substr(stem.size())))
      family.push_back(column);
  }
  return family;
}

FolderMap PDXNoteStoreColumns::foldersOfNotes(const PDXSQLiteDatabase& database,
                                              const PDXNoteStoreKeyData& keys) {
  FolderMap folders;
  if (PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(database, keys.fnTableName(),
                                                               keys.fnNotesColumnTableName())) {
    folders = mapOfTable(database, keys.fnTableName(), keys.fnFolderColumnTableName(),
                         keys.fnNotesColumnTableName());
  }
  // A device that moved on keeps the table and fills the column; one that lost its list of kinds has other
  // numbers.
  if (folders.empty()) folders = mapOfColumn(database, keys);
  return folders.empty() ? mapOfAnyTable(database) : folders;
}
