#include "calendars/CalendarICSGenerator.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono;

PDXDate at(int year, unsigned month, unsigned day, int hour, int minute, milliseconds more = 0ms) {
  return sys_days(std::chrono::year(year) / static_cast<int>(month) / static_cast<int>(day)) + hours(hour) +
         minutes(minute) + more;
}

const std::string kBegin =
    "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nCALSCALE:GREGORIAN\r\nPRODID::-//Lantern Byte Ltd.//Pocketdex 11 "
    "Mac//EN\r\n";
const std::string kZone = "BEGIN:VTIMEZONE\r\nTZID:Europe/London\r\nEND:VTIMEZONE\r\n";

/// What stands between the lines that every event has.
std::string linesOf(const PDXCalendarEvent& event) {
  const std::string text = PDXCalendarICSGenerator::generateFromCalendarEvent(event);
  const std::string begin = kBegin + kZone + "BEGIN:VEVENT\r\n";
  const std::string end = "CLASS:PUBLIC\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
  EXPECT_TRUE(text.starts_with(begin) && text.ends_with(end)) << text;
  return text.substr(begin.size(), text.size() - begin.size() - end.size());
}

TEST(CalendarICSGenerator, WritesDatesInTheirOwnWay) {
  const struct {
    const char* what;
    std::optional<PDXDate> start;
    std::optional<PDXDate> end;
    bool isAllDay;
    const char* lines;
  } cases[] = {
      {"neither", {}, {}, false, ""},
      {"local time", at(2024, 1, 5, 9, 30), at(2024, 1, 5, 10, 0), false,
       "DTSTART;TZID=Europe/London:20240105T093000Z\r\nDTEND;TZID=Europe/London:20240105T100000Z\r\n"},
      {"summer time, seconds that are none, fraction in their place",
       at(2024, 7, 5, 9, 30, 59'987ms),
       {},
       false,
       "DTSTART;TZID=Europe/London:20240705T103098Z\r\n"},
      {"whole day", at(2024, 1, 5, 0, 0), at(2024, 1, 5, 23, 59), true,
       "DTSTART;TZID=Europe/London:20240105\r\nDTEND;TZID=Europe/London:20240105\r\n"},
      {"year of the week", at(2024, 12, 29, 12, 0), {}, true, "DTSTART;TZID=Europe/London:20251229\r\n"},
  };
  for (const auto& c : cases) {
    PDXCalendarEvent event;
    event.dateTimeProperties = {.dtstart = c.start, .dtend = c.end, .isAllDay = c.isAllDay};
    EXPECT_EQ(linesOf(event), c.lines) << c.what;
  }
}

TEST(CalendarICSGenerator, WritesTextsAsTheyAreAndRulesBehindTheirEnd) {
  PDXCalendarEvent event;
  event.summary = "a, b; c\\\nd";
  event.eventDescription = "e";
  event.location = "f";
  event.comment = "g";
  EXPECT_EQ(linesOf(event), "SUMMARY:a, b; c\\\nd\r\nDESCRIPTION:e\r\nLOCATION:f\r\nCOMMENT:g\r\n");
  const PDXDate end = at(2024, 1, 5, 9, 30);
  const struct {
    PDXCalendarRecurranceProperties often;
    const char* line;
  } cases[] = {
      {{1, 2, 0, {}}, "RRULE:FREQ=DAILY;INTERVAL=2\r\n"},
      {{2, 0, 0, {}}, "RRULE:FREQ=WEEKLY;\r\n"},
      {{3, 1, 5, {}}, "RRULE:FREQ=MONTHLY;INTERVAL=1;COUNT=5\r\n"},
      {{4, -1, -5, {}}, "RRULE:FREQ=YEARLY;;COUNT=-5\r\n"},
      {{5, 1, 0, {}}, "RRULE:INTERVAL=1\r\n"},
      {{-1, 0, 0, {}}, "RRULE:\r\n"},
      {{2, 1, 5, end}, ";UNTIL=TZID=Europe/London:20240105T093000ZRRULE:FREQ=WEEKLY;INTERVAL=1\r\n"},
  };
  for (const auto& c : cases) {
    PDXCalendarEvent recurring;
    recurring.recurrenceProperties = c.often;
    EXPECT_EQ(linesOf(recurring), c.line);
  }
}

TEST(CalendarICSGenerator, NamesAndColoursTheCalendar) {
  PDXCalendarDetail calendar;
  EXPECT_EQ(PDXCalendarICSGenerator::generateFromCalenderDetail(calendar),
            kBegin + kZone + "END:VCALENDAR\r\n");
  calendar.title = "Work";
  calendar.colorRed = 255;
  calendar.colorGreen = 1;
  calendar.calendarEvents.resize(2);
  const std::string head = kBegin + "X-WR-CALNAME:Work\r\nX-APPLE-CALENDAR-COLOR:#ff0100\r\n" + kZone;
  const std::string event = "BEGIN:VEVENT\r\nCLASS:PUBLIC\r\nEND:VEVENT\r\n";
  EXPECT_EQ(PDXCalendarICSGenerator::generateFromCalenderDetail(calendar),
            head + event + event + "END:VCALENDAR\r\n");
  calendar.calendarEvents.front().relationshipParent = &calendar;
  EXPECT_EQ(PDXCalendarICSGenerator::generateFromCalendarEvent(calendar.calendarEvents.front()),
            head + event + "END:VCALENDAR\r\n");
}

}  // namespace
