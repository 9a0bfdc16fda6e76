#include "backup/RowEstimate.h"

#include <algorithm>

#include "platform/Sqlite.h"

namespace PDXRowEstimate {

std::size_t of(const PDXSQLiteDatabase& database, const std::string& table) {
  // Counted row by row, in the smallest index where there is one. Without an argument the count would be made
  // in one step, which nothing ends where pages of a damaged file lead to each other.
  auto rows = database.prepare("SELECT count(1) FROM " + table);
  constexpr std::int64_t kMost = 10'000'000;
  return rows.step() ? static_cast<std::size_t>(std::min(rows.int64(0), kMost)) : 0;
}

}  // namespace PDXRowEstimate
