#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

class PDXSQLiteDatabase;

/// Finds the rows of a table that a statement did not come to, because it stopped at damage.
namespace PDXReachableRows {

/// Numbers of rows that can still be read: those before and behind the damage, and in between those that are
/// found by their number. In rising order.
/// @param table  with row numbers; goes into the SQL as it stands.
/// @param read   what the statement came to.
std::vector<std::int64_t> missed(const PDXSQLiteDatabase& database, const std::string& table,
                                 const std::unordered_set<std::int64_t>& read);

}  // namespace PDXReachableRows
