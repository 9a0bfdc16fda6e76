#include "backup/RowEstimate.h"

#include "platform/Sqlite.h"

namespace PDXRowEstimate {

std::size_t of(const PDXSQLiteDatabase& database, const std::string& table) {
  // Counted row by row, in the smallest index where there is one.
  auto rows = database.prepare("SELECT count(*) FROM " + table);
  return rows.step() ? static_cast<std::size_t>(rows.int64(0)) : 0;
}

}  // namespace PDXRowEstimate
