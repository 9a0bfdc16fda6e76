#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "backup/ReachableRows.h"
#include "calendars/CalendarDetail.h"

class PDXSQLiteDatabase;

/// Reads the device's calendars, and keeps which of them somebody has chosen.
///
/// Source: a local copy of "Library/Calendar/Calendar.sqlitedb": tables Store, Calendar, Recurrence and
/// CalendarItem with Location, or Event in the oldest stores.
/// Errors: none leave the reader. A store that is missing, damaged or of another kind gives an empty list;
/// rows read before the damage are kept. The log says why.
/// Threads: one reader, one thread.
class PDXCalendarsDbReader {
 public:
  /// UTF-8 path; need not exist.
  explicit PDXCalendarsDbReader(std::string calendarsDbPath);

  /// The accounts with calendars that the device shows.
  std::vector<PDXCalendarStore> getCalendarStores() const;

  /// The calendars of an account, without events; none that have no external id and no inboxes.
  /// @param index  the account's place in the list above; not asked.
  std::vector<PDXCalendarDetail> getCalendarDetailWithIndex(const PDXCalendarStore& store,
                                                            std::size_t index) const;

  /// The events of a calendar, or those that lie wholly between two moments. Without one of them there is no
  /// range.
  std::vector<PDXCalendarEvent> getCalendarEventsForCalendarDetailWithStartDateTo(
      const PDXCalendarDetail& calendar, const std::optional<PDXDate>& start,
      const std::optional<PDXDate>& to) const;

  /// Events by their ids. Of the oldest stores every event comes out, those with these ids once for each
  /// recurrence of the store; `getAllCalendars` gives each its own.
  std::vector<PDXCalendarEvent> getCalendarEventsWithIdsForCalendarDetail(
      const std::vector<std::int64_t>& ids, const PDXCalendarDetail& calendar) const;

  /// Every calendar but inboxes, listed or not, with its events in the store's order, an event once for each
  /// recurrence of its own. Behind them, without a title, those that events name and the store does not hold.
  /// @param start, to  as above; either may be missing.
  std::vector<PDXCalendarDetail> getAllCalendars(const std::optional<PDXDate>& start,
                                                 const std::optional<PDXDate>& to) const;

  /// Events in the store, counted apart from what reads them.
  struct RowCounts {
    std::size_t rows = 0;
    std::size_t repeated = 0;  ///< Further recurrences of events outside inboxes.
    std::size_t inInboxes = 0;
  };
  /// Nothing when they cannot be counted.
  std::optional<RowCounts> storedEventCounts() const;

  /// Whether the calendar is chosen. One that nobody asked for before is, from then on.
  bool getSelectedStatusForCalendarDetail(const PDXCalendarDetail& calendar);

  /// @param calendarId  of `generateCalendarIdFor`.
  void updateSelectedStatusForCalendarIdWithValue(const std::string& calendarId, bool value);
  void clearSelectedCalendarStatusRecord() { selected_.clear(); }

  /// "<store id>|<calendar id>".
  static std::string generateCalendarIdFor(const PDXCalendarDetail& calendar);

 private:
  std::vector<PDXCalendarDetail> readCalendars_(const PDXSQLiteDatabase& database,
                                                const PDXReachableRows::Query& query) const;
  void reportMissingTables_(const PDXSQLiteDatabase& database) const;
  void reportUnreadable_(const PDXSQLiteDatabase& database) const;

  std::string calendarsDbPath_;
  std::map<std::string, bool> selected_;
};
