#include "contacts/SearchTexts.h"

#include "backup/SQLiteHelper.h"

namespace {

/// A column's number is part of its name, and one more name before it moved it.
std::string columnOf(const PDXSQLiteDatabase& database, const std::string& newer, const std::string& older) {
  const bool isNewer =
      PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(database, PDXSearchTexts::kTable, newer);
  return isNewer ? newer : older;
}

}  // namespace

bool PDXSearchTexts::existIn(const PDXSQLiteDatabase& database) {
  return PDXSQLiteHelper::doesDatabaseContainTable(database, kTable);
}

std::string PDXSearchTexts::phoneColumn(const PDXSQLiteDatabase& database) {
  return columnOf(database, "c16Phone", "c15Phone");
}

std::string PDXSearchTexts::emailColumn(const PDXSQLiteDatabase& database) {
  return columnOf(database, "c17Email", "c16Email");
}
