#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/Date.h"

struct PDXCalendarDetail;

/// When an event takes place. A moment is missing when the store has 0, nothing, or what is no date.
/// Source: columns start_date, end_date and all_day, seconds since 2001 in UTC.
struct PDXCalendarDateTimeProperties {
  std::optional<PDXDate> dtstart;
  std::optional<PDXDate> dtend;
  bool isAllDay = false;
};

/// How an event comes again. Source: table Recurrence.
struct PDXCalendarRecurranceProperties {
  std::int32_t frequency = 0;       ///< 1 daily, 2 weekly, 3 monthly, 4 yearly.
  std::int32_t interval = 0;        ///< In days, weeks and so on; 0 when the store does not tell.
  std::int32_t occurenceCount = 0;  ///< 0 when the number does not end it.
  std::optional<PDXDate> endDate;   ///< Missing when no date ends it.
};

/// One event. Source: table CalendarItem, or Event in the oldest stores.
struct PDXCalendarEvent {
  std::int64_t id = 0;  ///< Source: ROWID; 0 where a list does not tell it.
  std::string summary;
  std::string eventDescription;
  std::string location;
  std::string comment;  ///< Never told by a store.
  PDXCalendarDateTimeProperties dateTimeProperties;
  std::optional<PDXCalendarRecurranceProperties> recurrenceProperties;

  /// The calendar that the event was read for; the reader's caller keeps it at its place. Null when it was
  /// read for none.
  const PDXCalendarDetail* relationshipParent = nullptr;
};
