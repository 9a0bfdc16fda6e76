#include "calllogs/CallLogValues.h"

#include <cmath>

namespace {

std::string place(std::int64_t record) { return "record " + std::to_string(record); }

}  // namespace

std::optional<PDXDate> PDXCallLogValues::date(const PDXSQLiteStatement& rows, int column,
                                              std::int64_t record) {
  if (rows.isNull(column)) return std::nullopt;
  const auto date = rows.isNumber(column) ? PDXDates::fromReferenceFraction(rows.real(column)) : std::nullopt;
  if (!date) dates_.add(place(record), "no date is stored as " + rows.text(column));
  return date;
}

double PDXCallLogValues::duration(const PDXSQLiteStatement& rows, int column, std::int64_t record) {
  constexpr double kMost = 1e9;  // Thirty years.
  if (rows.isNull(column)) return 0;
  const double seconds = rows.isNumber(column) ? rows.real(column) : -1;
  if (seconds >= 0 && seconds < kMost) return seconds;
  durations_.add(place(record), "no duration is stored as " + rows.text(column));
  return 0;
}
