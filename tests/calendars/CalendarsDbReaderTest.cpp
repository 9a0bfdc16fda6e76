#include "calendars/CalendarsDbReader.h"

#include <gtest/gtest.h>

#include <limits>

#include "platform/Log.h"
#include "samples/Calendars.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

/// What the log was told while it lives, a line each.
class Heard {
 public:
  Heard()
      : before_(PDXLog::listen(
            [this](const PDXProblem& p) { text += p.what + ": " + p.where + ": " + p.why + "\n"; })) {}
  ~Heard() { PDXLog::listen(before_); }
  Heard(const Heard&) = delete;
  Heard& operator=(const Heard&) = delete;

  std::string text;

 private:
  PDXLog::Listener before_;
};

std::string dateText(const std::optional<PDXDate>& date) { return date ? PDXDates::isoText(*date) : "-"; }

std::string eventText(const PDXCalendarEvent& event) {
  const auto& when = event.dateTimeProperties;
  std::string text = "  " + std::to_string(event.id) + " " + event.summary + "|" + event.eventDescription +
                     "|" + event.location + " " + dateText(when.dtstart) + " " + dateText(when.dtend) +
                     (when.isAllDay ? " all day" : "");
  if (const auto& often = event.recurrenceProperties) {
    text += " every " + std::to_string(often->interval) + " of " + std::to_string(often->frequency) + ", " +
            std::to_string(often->occurenceCount) + " times, until " + dateText(often->endDate);
  }
  return text + "\n";
}

std::string text(const std::vector<PDXCalendarDetail>& calendars) {
  std::string all;
  for (const PDXCalendarDetail& calendar : calendars) {
    all += std::to_string(calendar.id) + " " + calendar.title + " " + calendar.colorHTMLCode + " " +
           calendar.storeName + "\n";
    for (const PDXCalendarEvent& event : calendar.calendarEvents) {
      EXPECT_EQ(event.relationshipParent, &calendar);
      all += eventText(event);
    }
  }
  return all;
}

std::string listed(const PDXCalendarsDbReader& reader) {
  std::string all;
  std::size_t index = 0;
  for (const PDXCalendarStore& store : reader.getCalendarStores()) {
    all += store.storeName + " " + std::to_string(store.calendarCount) + "\n" +
           text(reader.getCalendarDetailWithIndex(store, index++));
  }
  return all;
}

TEST(CalendarsDbReader, BothGenerationsGiveTheSameCalendars) {
  const PDXTestFolder folder;
  for (const int version : {4, 9, 17}) {
    SCOPED_TRACE(version);
    const std::string path = folder / std::to_string(version);
    ASSERT_EQ(PDXSampleCalendars::writeStore(path, version), "");
    const PDXCalendarsDbReader reader(path);
    const std::string work = version == 4 ? "#ff2968" : "#FF2968";
    const std::string home = version == 4 ? "#1badf8" : "#1BADF8";
    const std::string other = version == 4 ? "#63da38" : "#63DA38";
    const std::string people = version == 4 ? "#8295af" : "#8295AF";
    EXPECT_EQ(listed(reader), "On My Phone 1\n1 Home " + home + " On My Phone\nCloud 2\n2 Work " + work +
                                  " Cloud\n4 work " + other + " Cloud\n");
    EXPECT_EQ(
        text(reader.getAllCalendars({}, {})),
        "1 Home " + home +
            " On My Phone\n"
            "  1 Dentist|Bring the X-ray|Beacon Street Clinic 2024-03-11T09:00:00Z 2024-03-11T09:45:00Z\n"
            "  2 Sailing club||Port Averil, pier 3; gate B 2024-03-13T18:00:00Z 2024-03-13T20:00:00Z every 1 "
            "of "
            "2, 10 times, until -\n"
            "  3 Holiday\nin the hills|Two lines\r\nof text| 2024-05-30T00:00:00Z 2024-05-30T23:59:59Z all "
            "day\n"
            "2 Work " +
            work +
            " Cloud\n"
            "  4 Stand-up|| 2024-01-03T10:00:00Z 2024-01-03T10:15:00Z every 1 of 1, 0 times, until "
            "2024-04-02T10:00:00Z\n"
            "  5 Review, with \\ and \"quotes\"||Room 4 2024-03-21T14:00:00Z 2024-03-21T15:00:00Z every 2 of "
            "3, "
            "0 times, until -\n"
            "  6 |Nobody named this one| 2024-03-22T15:00:00Z 2024-03-22T15:30:00Z\n"
            "4 work " +
            other +
            " Cloud\n"
            "  8 Übergabe 交接|| 2024-03-24T16:00:00Z 2024-03-24T16:30:00Z every 0 of 7, 3 times, until -\n"
            "5 Birthdays <of people> / all " +
            people +
            " On My Phone\n"
            "  9 Ann Fletcher's birthday|| 2023-12-23T00:00:00Z 2023-12-23T23:59:59Z all day every 1 of 4, 0 "
            "times, until -\n");
    const auto counts = reader.storedEventCounts();
    EXPECT_TRUE(counts->rows == 9 && counts->repeated == 0 && counts->inInboxes == 1);
  }
}

TEST(CalendarsDbReader, RangesTakeWhatLiesWhollyInside) {
  const PDXTestFolder folder;
  ASSERT_EQ(PDXSampleCalendars::writeStore(folder / "c", 17), "");
  const PDXCalendarsDbReader reader(folder / "c");
  PDXCalendarDetail calendar;
  calendar.id = 1;
  const PDXDate start = std::chrono::sys_days(std::chrono::year(2024) / 3 / 11);
  const auto between = [&](const PDXDate& to) {
    std::string ids;
    for (const auto& event : reader.getCalendarEventsForCalendarDetailWithStartDateTo(calendar, start, to))
      ids += std::to_string(event.id) + " ";
    return ids;
  };
  EXPECT_EQ(between(start + std::chrono::hours(9)), "") << "begins inside and ends behind";
  EXPECT_EQ(between(start + std::chrono::hours(10)), "1 ");
  EXPECT_EQ(between(start + std::chrono::hours(72)), "1 2 ");
  EXPECT_EQ(reader.getAllCalendars(start, {})[0].calendarEvents.size(), 3U);
  EXPECT_EQ(reader.getAllCalendars({}, start)[0].calendarEvents.size(), 0U);
}

TEST(CalendarsDbReader, OldestStatementAnswersEveryEventAndRecurrence) {
  const PDXTestFolder folder;
  ASSERT_EQ(PDXSampleCalendars::writeStore(folder / "c", 4), "");
  const PDXCalendarsDbReader reader(folder / "c");
  const auto events = reader.getCalendarEventsWithIdsForCalendarDetail({2}, {});
  EXPECT_EQ(events.size(), 13U) << "eight others, and the one with each of five recurrences";
  EXPECT_EQ(events[1].summary, "Sailing club");
  EXPECT_EQ(events[5].summary, "Sailing club");
  EXPECT_FALSE(events[6].recurrenceProperties);
}

TEST(CalendarsDbReader, BadValuesCostThemselvesAlone) {
  const PDXTestFolder folder;
  const std::string path =
      PDXSampleDatabase()
          .table("Store", "ROWID INTEGER PRIMARY KEY, name")
          .table("Calendar", "ROWID INTEGER PRIMARY KEY, store_id, title, color, external_id")
          .table("Recurrence", "frequency, interval, count, end_date, owner_id")
          .table("CalendarItem",
                 "ROWID INTEGER PRIMARY KEY, summary, start_date, end_date, all_day, calendar_id")
          .row("Calendar", 1, 9, "A", "banana", nullptr)
          .row("CalendarItem", 1, "a", "soon", 60, "x", 1)
          .row("CalendarItem", 2, "b", std::numeric_limits<double>::infinity(), 0, 1, 1)
          .row("CalendarItem", 3, "c", 252455616000.0, -86400, 0, 99)
          .row("CalendarItem", 4, "d", nullptr, nullptr, nullptr, nullptr)
          .row("Recurrence", 1, std::int64_t{1} << 40, "many", 1e300, 1)
          .row("Recurrence", 2, 3, 4, 0, 1)
          .writeTo(folder / "c");
  const Heard heard;
  const PDXCalendarsDbReader reader(path);
  EXPECT_EQ(text(reader.getAllCalendars({}, {})),
            "1 A banana \n  1 a|| - 2001-01-01T00:01:00Z every 0 of 1, 0 times, until -\n"
            "  1 a|| - 2001-01-01T00:01:00Z every 3 of 2, 4 times, until -\n  2 b|| - - all day\n"
            "99   \n  3 c|| - 2000-12-31T00:00:00Z\n0   \n  4 d|| - -\n");
  EXPECT_EQ(listed(reader), "") << "no external id";
  const auto counts = reader.storedEventCounts();
  EXPECT_TRUE(counts->rows == 4 && counts->repeated == 1 && counts->inInboxes == 0);
  for (const char* said : {"date of an event: record 1: no date is stored as soon\n",
                           "date of an event: record 2: no date is stored as Inf\n",
                           "date of an event: record 3: no date is stored as 252455616000.0\n",
                           "recurrence of an event: record 1: no number is stored as 1099511627776\n",
                           "recurrence of an event: record 1: no number is stored as many\n",
                           "calendar: record 99: events are in it, but the store does not hold it\n"}) {
    EXPECT_NE(heard.text.find(said), std::string::npos) << said << heard.text;
  }
}

TEST(CalendarsDbReader, ReadsColours) {
  const struct {
    const char* text;
    int red, green, blue;
  } cases[] = {{"#1BADF8", 27, 173, 248},
               {"#1badf8ff", 27, 173, 248},
               {"#1B", 27, 0, 0},
               {"#", 0, 0, 0},
               {"#GG-1zz", 0, 0, 0}};
  const PDXTestFolder folder;
  for (const auto& c : cases) {
    const auto calendar = PDXCalendarsDbReader(PDXSampleDatabase()
                                                   .table("Calendar", "ROWID INTEGER PRIMARY KEY, color")
                                                   .row("Calendar", 1, c.text)
                                                   .writeTo(folder / "c"))
                              .getAllCalendars({}, {})
                              .at(0);
    EXPECT_TRUE(calendar.colorRed == c.red && calendar.colorGreen == c.green && calendar.colorBlue == c.blue)
        << c.text;
  }
}

TEST(CalendarsDbReader, WhatIsNoStoreIsEmptyAndSaid) {
  const PDXTestFolder folder;
  ASSERT_EQ(PDXSampleCalendars::writeStore(folder / "whole", 17), "");
  const std::string half = fileText(folder / "whole").substr(0, 20'000);
  const struct {
    const char* fault;
    std::string path;
    bool isSaid;
  } cases[] = {{"no path", "", false},
               {"no file", folder / "none", false},
               {"no database", folder.write("junk", std::string(9000, 'x')), true},
               {"of another kind", PDXSampleDatabase().table("song", "title").writeTo(folder / "song"), true},
               {"half", folder.write("half", half), true}};
  for (const auto& c : cases) {
    const Heard heard;
    const PDXCalendarsDbReader reader(c.path);
    EXPECT_TRUE(reader.getCalendarStores().empty()) << c.fault;
    reader.getAllCalendars({}, {});
    EXPECT_EQ(!heard.text.empty(), c.isSaid) << c.fault;
  }
}

TEST(CalendarsDbReader, KeepsWhatSomebodyChose) {
  PDXCalendarsDbReader reader("");
  PDXCalendarDetail calendar;
  calendar.id = 7;
  calendar.storeId = 2;
  EXPECT_EQ(PDXCalendarsDbReader::generateCalendarIdFor(calendar), "2|7");
  EXPECT_TRUE(reader.getSelectedStatusForCalendarDetail(calendar));
  reader.updateSelectedStatusForCalendarIdWithValue("2|7", false);
  EXPECT_FALSE(reader.getSelectedStatusForCalendarDetail(calendar));
  reader.clearSelectedCalendarStatusRecord();
  EXPECT_TRUE(reader.getSelectedStatusForCalendarDetail(calendar));
}

}  // namespace
