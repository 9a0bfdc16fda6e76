#pragma once

#include <optional>
#include <string>

#include "platform/Date.h"
#include "platform/Log.h"
#include "platform/Sqlite.h"

/// Reads the values of calls by what is stored, and says in the log what makes no sense.
class PDXCallLogValues {
 public:
  explicit PDXCallLogValues(const std::string& store)
      : dates_("date of a call", store), durations_("duration of a call", store) {}

  /// Seconds since 2001; nothing for NULL and for what is no date.
  std::optional<PDXDate> date(const PDXSQLiteStatement& rows, int column, std::int64_t record);

  /// Seconds; 0 for NULL and for what is no duration.
  double duration(const PDXSQLiteStatement& rows, int column, std::int64_t record);

 private:
  PDXProblemSeries dates_;
  PDXProblemSeries durations_;
};
