#include "samples/Calendars.h"

#include <optional>
#include <string_view>

#include "platform/Files.h"
#include "platform/Sqlite.h"
#include "samples/Device.h"
#include "samples/Table.h"

namespace {

constexpr const char* kBegin = "PRAGMA synchronous=OFF; BEGIN";

constexpr const char* kOldestSchema =
    "CREATE TABLE Event (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, summary TEXT, location TEXT, description "
    "TEXT, "
    "start_date INTEGER, start_tz TEXT, end_date INTEGER, all_day INTEGER, calendar_id INTEGER, hidden "
    "INTEGER, "
    "external_id TEXT);"
    "CREATE TABLE Calendar (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, store_id INTEGER, title TEXT, read_only "
    "INTEGER, "
    "hidden INTEGER, color_r INTEGER, color_g INTEGER, color_b INTEGER, type TEXT, external_id TEXT);"
    "CREATE TABLE Store (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, type INTEGER, disabled INTEGER, "
    "external_id TEXT);"
    "CREATE TABLE Recurrence (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, frequency INTEGER, interval INTEGER, "
    "week_start "
    "INTEGER, count INTEGER, end_date INTEGER, specifier TEXT, event_id INTEGER);";

constexpr const char* kSchema =
    "CREATE TABLE Store (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, default_alarm_offset INTEGER, "
    "type "
    "INTEGER, constraint_path TEXT, disabled INTEGER, external_id TEXT, persistent_id TEXT, flags INTEGER);"
    "CREATE TABLE Calendar (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, store_id INTEGER, title TEXT, flags "
    "INTEGER, "
    "color TEXT, color_is_display INTEGER, type TEXT, supported_entity_types INTEGER, external_id TEXT, UUID "
    "TEXT);"
    "CREATE TABLE CalendarItem (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, summary TEXT, location_id INTEGER, "
    "description TEXT, start_date REAL, start_tz TEXT, end_date REAL, all_day INTEGER, calendar_id INTEGER, "
    "status "
    "INTEGER, url TEXT, last_modified REAL, hidden INTEGER, has_recurrences INTEGER, UUID TEXT, entity_type "
    "INTEGER);"
    "CREATE TABLE Location (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, title TEXT, latitude INTEGER, longitude "
    "INTEGER, "
    "item_owner_id INTEGER);"
    "CREATE TABLE Recurrence (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, frequency INTEGER, interval INTEGER, "
    "week_start "
    "INTEGER, count INTEGER, end_date REAL, specifier TEXT, owner_id INTEGER, UUID TEXT);"
    "CREATE INDEX RecurrenceOwnerIdIndex ON Recurrence (owner_id);";

struct Calendar {
  int store;
  std::string_view title;
  int red, green, blue;
  std::string_view externalId;  ///< "" for none.
};

/// Two of one name, one that a device makes for itself and nobody gave a server's path, and an inbox.
constexpr Calendar kCalendars[] = {{1, "Home", 0x1b, 0xad, 0xf8, "/calendars/home/"},
                                   {2, "Work", 0xff, 0x29, 0x68, "/calendars/work/"},
                                   {2, "Inbox", 0xcc, 0xcc, 0xcc, "/calendars/inbox/"},
                                   {2, "work", 0x63, 0xda, 0x38, "/calendars/other/"},
                                   {1, "Birthdays <of people> / all", 0x82, 0x95, 0xaf, ""}};

struct Recurrence {
  int frequency;
  int interval;
  int count;
  int lastDay;  ///< After the event; 0 when no date ends it.
};

struct Event {
  int calendar;
  std::string_view summary;
  std::string_view description;
  std::string_view location;
  int day;      ///< After the first of the year 2024.
  int hour;     ///< -1 for a whole day.
  int minutes;  ///< How long it lasts.
  std::optional<Recurrence> recurrence = {};
};

/// The odd ones: no text, a line break in it, characters with a meaning in such files, numbers out of range.
constexpr Event kEvents[] = {
    {1, "Dentist", "Bring the X-ray", "Beacon Street Clinic", 70, 9, 45},
    {1, "Sailing club", "", "Port Averil, pier 3; gate B", 72, 18, 120, Recurrence{2, 1, 10, 0}},
    {1, "Holiday\nin the hills", "Two lines\r\nof text", "", 150, -1, 0},
    {2, "Stand-up", "", "", 2, 10, 15, Recurrence{1, 1, 0, 90}},
    {2, "Review, with \\ and \"quotes\"", "", "Room 4", 80, 14, 60, Recurrence{3, 2, 0, 0}},
    {2, "", "Nobody named this one", "", 81, 15, 30},
    {3, "Invitation", "", "", 82, 12, 30},
    {4, "Übergabe 交接", "", "", 83, 16, 30, Recurrence{7, 0, 3, 0}},
    {5, "Ann Fletcher's birthday", "", "", -9, -1, 0, Recurrence{4, 1, 0, 0}},
};

constexpr std::int64_t kFirstOfYear = 725760000;  // 2024-01-01 00:00 UTC, seconds since 2001.
constexpr std::int64_t kDay = 86400;

std::int64_t startOf(const Event& event) {
  return kFirstOfYear + event.day * kDay + (event.hour < 0 ? 0 : event.hour * 3600);
}

std::int64_t endOf(const Event& event) {
  return startOf(event) + (event.hour < 0 ? kDay - 1 : std::int64_t{event.minutes} * 60);
}

/// "#1BADF8".
std::string colourText(const Calendar& calendar) {
  std::string text = "#";
  for (const int part : {calendar.red, calendar.green, calendar.blue}) {
    text += "0123456789ABCDEF"[part / 16];
    text += "0123456789ABCDEF"[part % 16];
  }
  return text;
}

bool addRecurrence(PDXSampleTable& recurrences, const Event& event, std::int64_t row) {
  if (!event.recurrence) return true;
  const Recurrence& often = *event.recurrence;
  const PDXSampleTable::Value last =
      often.lastDay == 0 ? PDXSampleTable::Value(nullptr) : startOf(event) + often.lastDay * kDay;
  recurrences.add({often.frequency, often.interval, often.count, last, row});
  return !recurrences.failed();
}

bool addOldest(const PDXSQLiteDatabase& store) {
  constexpr auto text = PDXSampleTable::textOrNull;
  PDXSampleTable stores(store, "Store", "name, type, disabled");
  stores.add({"On My Phone", 0, 0});
  stores.add({"Cloud", 2, 0});
  PDXSampleTable calendars(store, "Calendar", "store_id, title, color_r, color_g, color_b, external_id");
  for (const Calendar& calendar : kCalendars)
    calendars.add({calendar.store, calendar.title, calendar.red, calendar.green, calendar.blue,
                   text(calendar.externalId)});
  PDXSampleTable events(store, "Event",
                        "summary, location, description, start_date, end_date, all_day, calendar_id");
  PDXSampleTable recurrences(store, "Recurrence", "frequency, interval, count, end_date, event_id");
  std::int64_t row = 0;
  for (const Event& event : kEvents) {
    events.add({text(event.summary), text(event.location), text(event.description), startOf(event),
                endOf(event), event.hour < 0 ? 1 : 0, event.calendar});
    if (!addRecurrence(recurrences, event, ++row)) return false;
  }
  return !stores.failed() && !calendars.failed() && !events.failed();
}

bool addNewer(const PDXSQLiteDatabase& store) {
  constexpr auto text = PDXSampleTable::textOrNull;
  PDXSampleTable stores(store, "Store", "name, type, disabled");
  stores.add({"On My Phone", 0, 0});
  stores.add({"Cloud", 2, 0});
  PDXSampleTable calendars(store, "Calendar", "store_id, title, flags, color, external_id");
  for (const Calendar& calendar : kCalendars) {
    const std::string colour = colourText(calendar);
    calendars.add({calendar.store, calendar.title, 1, colour, text(calendar.externalId)});
  }
  PDXSampleTable events(
      store, "CalendarItem",
      "summary, location_id, description, start_date, end_date, all_day, calendar_id, entity_type");
  PDXSampleTable places(store, "Location", "ROWID, title, item_owner_id");
  PDXSampleTable recurrences(store, "Recurrence", "frequency, interval, count, end_date, owner_id");
  std::int64_t row = 0;
  for (const Event& event : kEvents) {
    ++row;
    const bool hasPlace = !event.location.empty();
    if (hasPlace) places.add({row, event.location, row});
    events.add({text(event.summary), hasPlace ? PDXSampleTable::Value(row) : PDXSampleTable::Value(nullptr),
                text(event.description), startOf(event), endOf(event), event.hour < 0 ? 1 : 0, event.calendar,
                2});
    if (!addRecurrence(recurrences, event, row)) return false;
  }
  return !stores.failed() && !calendars.failed() && !places.failed() && !events.failed();
}

}  // namespace

namespace PDXSampleCalendars {

std::string writeStore(const std::string& path, int version) {
  constexpr int kFirstNewer = 5;
  const bool isOldest = version < kFirstNewer;
  const PDXSQLiteDatabase store(path, PDXSQLiteAccess::create);
  const bool written = store.run(isOldest ? kOldestSchema : kSchema) && store.run(kBegin) &&
                       (isOldest ? addOldest(store) : addNewer(store)) && store.run("COMMIT");
  return written ? "" : "calendars: " + store.error();
}

std::string write(PDXSampleBackupFolder& folder, int version) {
  const std::string store = PDXFiles::joined(folder.workFolder(), "Calendar.sqlitedb");
  std::string why = writeStore(store, version);
  if (why.empty()) folder.takeFile("HomeDomain", "Library/Calendar/Calendar.sqlitedb", store);
  return why;
}

}  // namespace PDXSampleCalendars
