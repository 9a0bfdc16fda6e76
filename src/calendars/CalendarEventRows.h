#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "calendars/CalendarEvent.h"
#include "platform/Log.h"
#include "platform/Sqlite.h"

/// Turns the rows of a statement into events, by the names of its columns. What makes no sense costs itself
/// alone, and the log says so.
class PDXCalendarEventRows {
 public:
  /// @param store  the path of the database, for the log.
  PDXCalendarEventRows(const PDXSQLiteStatement& rows, const std::string& store);

  /// The event of the current row.
  PDXCalendarEvent event();

 private:
  std::optional<PDXDate> date_(int column);
  std::int32_t number_(int column);
  std::string text_(int column) const;
  std::string place_() const;

  const PDXSQLiteStatement& rows_;
  int id_, summary_, description_, location_, allDay_, start_, end_, frequency_, interval_, recurrenceEnd_,
      count_;
  PDXProblemSeries dates_;
  PDXProblemSeries numbers_;
};
