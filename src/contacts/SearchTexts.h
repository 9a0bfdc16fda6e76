#pragma once

#include <string>

#include "platform/Sqlite.h"

/// The texts by which the device finds people: one row for each, with every spelling of their numbers and all
/// their addresses in one column. They belong to a search table that only the device's SQLite can open;
/// the table behind it can be read by anybody.
namespace PDXSearchTexts {

inline const std::string kTable = "ABPersonFullTextSearch_content";

/// Whether the address book keeps such texts; the oldest ones do not.
bool existIn(const PDXSQLiteDatabase& database);

/// The column with all spellings of a person's phone numbers.
std::string phoneColumn(const PDXSQLiteDatabase& database);

/// The column with a person's e-mail addresses.
std::string emailColumn(const PDXSQLiteDatabase& database);

}  // namespace PDXSearchTexts
