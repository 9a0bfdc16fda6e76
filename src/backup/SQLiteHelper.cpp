#include "backup/SQLiteHelper.h"

#include <algorithm>

#include "platform/Log.h"
#include "platform/Text.h"

namespace {

/// The names of a table's columns; empty for a table that does not exist.
std::vector<std::string> columnsOf(const PDXSQLiteDatabase& database, const std::string& table) {
  std::vector<std::string> columns;
  auto rows = database.prepare("PRAGMA table_info(" + table + ");");
  const int name = PDXSQLiteHelper::indexOfColumnNamedWithinStatment("name", rows);
  while (name >= 0 && rows.step()) columns.push_back(rows.text(name));
  return columns;
}

}  // namespace

bool PDXSQLiteHelper::doesDatabaseContainTable(const PDXSQLiteDatabase& database, const std::string& table) {
  auto rows =
      database.prepare("SELECT COUNT(*) FROM sqlite_master WHERE tbl_name='" + table + "' AND type='table';");
  return rows.step() && rows.int64(0) > 0;
}

bool PDXSQLiteHelper::doesDatabaseContainTableWithColumnNames(const PDXSQLiteDatabase& database,
                                                              const std::string& table,
                                                              const std::vector<std::string>& columns) {
  if (!database.isOpen()) return false;
  const auto existing = columnsOf(database, table);
  const auto found = std::count_if(existing.begin(), existing.end(), [&](const std::string& column) {
    return std::find(columns.begin(), columns.end(), column) != columns.end();
  });
  return static_cast<std::size_t>(found) == columns.size();
}

bool PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(const PDXSQLiteDatabase& database,
                                                              const std::string& table,
                                                              const std::string& column) {
  const auto existing = columnsOf(database, table);
  const std::string wanted = PDXText::lowercased(column);
  return std::any_of(existing.begin(), existing.end(),
                     [&](const std::string& name) { return PDXText::lowercased(name) == wanted; });
}

void PDXSQLiteHelper::reportMissingTables(const PDXSQLiteDatabase& database,
                                          const std::vector<std::string>& tables, const std::string& what,
                                          const std::string& where) {
  if (!database.whyUnreadable().empty()) return;
  std::string missing;
  for (const std::string& table : tables) {
    if (!doesDatabaseContainTable(database, table)) missing += (missing.empty() ? "" : ", ") + table;
  }
  if (missing.empty()) return;
  PDXLog::report(
      {.what = what, .where = where, .why = "tables that every store has are missing: " + missing});
}

int PDXSQLiteHelper::indexOfColumnNamedWithinStatment(const std::string& column,
                                                      const PDXSQLiteStatement& statement) {
  for (int i = 0; i < statement.columnCount(); ++i) {
    if (statement.columnName(i) == column) return i;
  }
  return -1;
}

bool PDXSQLiteHelper::doesStatmentContainColumn(const PDXSQLiteStatement& statement,
                                                const std::string& column) {
  return indexOfColumnNamedWithinStatment(column, statement) >= 0;
}

std::string PDXSQLiteHelper::stringValueForColumnFromStatment(int column,
                                                              const PDXSQLiteStatement& statement) {
  return statement.text(column);
}
