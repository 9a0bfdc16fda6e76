#pragma once

#include <memory>
#include <optional>
#include <string>

#include "calendars/CalendarDetail.h"

/// Writes calendars as iCalendar text. Lines end in "\r\n"; values stand as they are stored, without escapes
/// and without folding, so that a line break in one breaks its line. Dates are written in the environment's
/// time zone and locale.
class PDXCalendarICSGenerator {
 public:
  /// The calendar with its events.
  static std::string generateFromCalenderDetail(const PDXCalendarDetail& calendar);

  /// A calendar that holds the event alone.
  static std::string generateFromCalendarEvent(const PDXCalendarEvent& event);
};

/// The same piece by piece, for calendars that are better not held as one text. One writer, one thread.
class PDXCalendarICSWriter {
 public:
  PDXCalendarICSWriter();
  ~PDXCalendarICSWriter();
  PDXCalendarICSWriter(const PDXCalendarICSWriter&) = delete;
  PDXCalendarICSWriter& operator=(const PDXCalendarICSWriter&) = delete;

  std::string generateFileHeaderForCalendar_(const PDXCalendarDetail& calendar) const;
  void appendEvent(std::string& text, const PDXCalendarEvent& event);
  static std::string end();

 private:
  void appendDateTimeToStringForDateIsAllDay_(std::string& text, PDXDate date, bool isAllDay);
  void appendRecurrence_(std::string& text, const PDXCalendarRecurranceProperties& recurrence);

  struct Formats;
  std::unique_ptr<Formats> formats_;
};
