#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

class PDXSQLiteDatabase;
class PDXSQLiteStatement;

/// Reads a table around damage: a statement ends at the first page that cannot be read, but the rows before
/// it and behind it are there.
namespace PDXReachableRows {

/// A statement over the rows of one table.
struct Query {
  std::string table;   ///< With row numbers; goes into the SQL as it stands.
  std::string select;  ///< Up to its WHERE with a condition. The first column is the row's number.
  std::string number;  ///< What the statement calls the row's number, e.g. "cal.ROWID".
  std::string order =
      {};  ///< " ORDER BY …"; may be empty. What is found around damage comes behind all else.
  std::string bare =
      {};  ///< For rows whose joined tables are damaged: as `select`, without them; may be empty.
};

/// What became of the rows.
struct Outcome {
  std::string why;                 ///< Why not all came; "" when they did.
  bool isInterrupted = false;      ///< Whether a stop request ended it: then `why` is not to be reported.
  std::vector<std::int64_t> lost;  ///< Rows that are there, but not readable as a whole.

  bool isWhole() const { return why.empty(); }
};

/// Hands each row to `use`, and around damage those that can still be read.
Outcome forEach(const PDXSQLiteDatabase& database, const Query& query,
                const std::function<void(const PDXSQLiteStatement&)>& use);

/// How many rows a table has; nothing when damage keeps it from being counted. An index may tell it where the
/// table itself cannot.
/// @param why  receives the reason.
std::optional<std::size_t> count(const PDXSQLiteDatabase& database, const std::string& table,
                                 std::string& why);

/// Numbers of rows that can still be read: those before and behind the damage, and in between those that are
/// found by their number. In rising order.
/// @param table  with row numbers; goes into the SQL as it stands.
/// @param read   what the statement came to.
std::vector<std::int64_t> missed(const PDXSQLiteDatabase& database, const std::string& table,
                                 const std::unordered_set<std::int64_t>& read);

}  // namespace PDXReachableRows
