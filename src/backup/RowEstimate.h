#pragma once

#include <cstddef>
#include <string>

class PDXSQLiteDatabase;

namespace PDXRowEstimate {

/// How many rows a table has, for making room for them in one go; 0 when that cannot be told. Never more than
/// the file really holds, whatever it says of itself.
/// @param table  goes into the SQL as it stands.
std::size_t of(const PDXSQLiteDatabase& database, const std::string& table);

}  // namespace PDXRowEstimate
