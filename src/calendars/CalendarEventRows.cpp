#include "calendars/CalendarEventRows.h"

#include <limits>

#include "backup/SQLiteHelper.h"

PDXCalendarEventRows::PDXCalendarEventRows(const PDXSQLiteStatement& rows, const std::string& store)
    : rows_(rows), dates_("date of an event", store), numbers_("recurrence of an event", store) {
  const auto column = [&rows](const char* name) {
    return PDXSQLiteHelper::indexOfColumnNamedWithinStatment(name, rows);
  };
  id_ = column("ROWID");
  summary_ = column("summary");
  description_ = column("description");
  location_ = column("location");
  allDay_ = column("all_day");
  start_ = column("start_date");
  end_ = column("end_date");
  frequency_ = column("frequency");
  interval_ = column("interval");
  recurrenceEnd_ = column("recur_end_date");
  count_ = column("count");
}

std::string PDXCalendarEventRows::place_() const {
  return id_ < 0 ? "\"" + text_(summary_) + "\"" : "record " + std::to_string(rows_.int64(id_));
}

std::string PDXCalendarEventRows::text_(int column) const {
  return PDXSQLiteHelper::stringValueForColumnFromStatment(column, rows_);
}

std::optional<PDXDate> PDXCalendarEventRows::date_(int column) {
  if (rows_.isNull(column)) return std::nullopt;
  if (rows_.isNumber(column) && rows_.real(column) == 0) return std::nullopt;
  const auto date =
      rows_.isNumber(column) ? PDXDates::fromReferenceFraction(rows_.real(column)) : std::nullopt;
  if (!date) dates_.add(place_(), "no date is stored as " + text_(column));
  return date;
}

std::int32_t PDXCalendarEventRows::number_(int column) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (rows_.isNull(column)) return 0;
  const std::int64_t number = rows_.int64(column);
  if (rows_.isNumber(column) && number >= Limits::min() && number <= Limits::max())
    return static_cast<std::int32_t>(number);
  numbers_.add(place_(), "no number is stored as " + text_(column));
  return 0;
}

PDXCalendarEvent PDXCalendarEventRows::event() {
  PDXCalendarEvent event;
  event.id = rows_.int64(id_);
  event.summary = text_(summary_);
  event.eventDescription = text_(description_);
  event.location = text_(location_);
  event.dateTimeProperties = {
      .dtstart = date_(start_), .dtend = date_(end_), .isAllDay = rows_.int64(allDay_) == 1};
  if (const std::int32_t frequency = number_(frequency_); frequency != 0) {
    event.recurrenceProperties = {.frequency = frequency,
                                  .interval = number_(interval_),
                                  .occurenceCount = number_(count_),
                                  .endDate = date_(recurrenceEnd_)};
  }
  return event;
}
