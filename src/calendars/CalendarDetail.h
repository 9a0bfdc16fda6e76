#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "calendars/CalendarEvent.h"

/// An account with calendars.
struct PDXCalendarStore {
  std::int64_t storeId = 0;  ///< Source: Store.ROWID.
  std::string storeName;     ///< Source: Store.name.

  std::int64_t calendarCount = 0;  ///< Those that the device shows.
};

/// One calendar.
struct PDXCalendarDetail {
  std::int64_t id = 0;       ///< Source: Calendar.ROWID.
  std::int64_t storeId = 0;  ///< Source: Calendar.store_id.
  std::string storeName;     ///< "" when the account is not known.
  std::string title;         ///< Source: Calendar.title.

  /// From 0 to 255; missing when the store tells no colour. Source: Calendar.color, else color_r and so on.
  std::optional<std::int32_t> colorRed;
  std::optional<std::int32_t> colorGreen;
  std::optional<std::int32_t> colorBlue;

  /// "#" and six hexadecimal digits; of a text that is no colour the text as it is. "" without a colour.
  std::string colorHTMLCode;

  std::vector<PDXCalendarEvent> calendarEvents;
};
