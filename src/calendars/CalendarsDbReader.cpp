#include "calendars/CalendarsDbReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <unordered_map>
#include <utility>

#include "backup/ReachableRows.h"
#include "backup/SQLiteHelper.h"
#include "calendars/CalendarEventRows.h"
#include "platform/Files.h"
#include "platform/Log.h"

namespace {

constexpr const char* kNoInbox = "external_id  NOT LIKE '%inbox/'";

bool hasTable(const PDXSQLiteDatabase& database, const char* table) {
  return PDXSQLiteHelper::doesDatabaseContainTable(database, table);
}

bool hasColumn(const PDXSQLiteDatabase& database, const char* table, const char* column) {
  return PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(database, table, column);
}

/// "prefix.column", or NULL under its name where the table does not have it.
std::string columnOrNull(const PDXSQLiteDatabase& database, const char* table, const char* prefix,
                         const char* column) {
  const std::string full = std::string(prefix) + "." + column;
  return hasColumn(database, table, column) ? full : std::string("NULL AS ") + column;
}

/// Two hexadecimal digits at `at`; 0 for what is none.
std::int32_t hexadecimal(const std::string& text, std::size_t at) {
  unsigned value = 0;
  const std::size_t end = std::min(text.size(), at + 2);
  if (at < end) std::from_chars(text.data() + at, text.data() + end, value, 16);
  return static_cast<std::int32_t>(value);
}

void setColour(PDXCalendarDetail& calendar, const std::string& code) {
  calendar.colorHTMLCode = code;
  calendar.colorRed = hexadecimal(code, 1);
  calendar.colorGreen = hexadecimal(code, 3);
  calendar.colorBlue = hexadecimal(code, 5);
}

std::optional<std::int32_t> component(const PDXSQLiteStatement& rows, const char* name) {
  const int column = PDXSQLiteHelper::indexOfColumnNamedWithinStatment(name, rows);
  if (rows.isNull(column)) return std::nullopt;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(rows.int64(column), 0, 255));
}

void setColourOfComponents(PDXCalendarDetail& calendar, const PDXSQLiteStatement& rows) {
  calendar.colorRed = component(rows, "color_r");
  calendar.colorGreen = component(rows, "color_g");
  calendar.colorBlue = component(rows, "color_b");
  if (!calendar.colorRed) return;
  calendar.colorHTMLCode = fmt::format("#{:02x}{:02x}{:02x}", *calendar.colorRed,
                                       calendar.colorGreen.value_or(0), calendar.colorBlue.value_or(0));
}

PDXCalendarDetail calendarOf(const PDXSQLiteStatement& rows) {
  const auto column = [&rows](const char* name) {
    return PDXSQLiteHelper::indexOfColumnNamedWithinStatment(name, rows);
  };
  PDXCalendarDetail calendar;
  calendar.id = rows.int64(column("ROWID"));
  calendar.storeId = rows.int64(column("store_id"));
  calendar.storeName = rows.text(column("name"));
  calendar.title = rows.text(column("title"));
  if (const std::string code = rows.text(column("color")); !code.empty()) {
    setColour(calendar, code);
  } else {
    setColourOfComponents(calendar, rows);
  }
  return calendar;
}

std::string recurrenceColumns(bool hasRecurrences) {
  return hasRecurrences ? "recur.frequency, recur.interval, recur.end_date AS recur_end_date, recur.count"
                        : "NULL AS frequency, NULL AS interval, NULL AS recur_end_date, NULL AS count";
}

/// A table of events, and how its events are told with what belongs to them. The oldest stores keep a place
/// with its event, the others in a table of its own.
struct EventTable {
  const char* name;

  static std::vector<EventTable> in(const PDXSQLiteDatabase& database) {
    std::vector<EventTable> tables;
    for (const char* table : {"Event", "CalendarItem"}) {
      if (hasTable(database, table)) tables.push_back({table});
    }
    return tables;
  }

  /// The column by which a recurrence names its event; "" when there are no recurrences.
  static std::string ownerColumn(const PDXSQLiteDatabase& database) {
    for (const char* column : {"owner_id", "event_id"}) {
      if (hasColumn(database, "Recurrence", column)) return column;
    }
    return "";
  }

  std::string columns(const PDXSQLiteDatabase& database) const {
    std::string text = "event.ROWID";
    for (const char* column : {"summary", "description", "all_day", "start_date", "end_date"})
      text += ", " + columnOrNull(database, name, "event", column);
    const bool hasPlace = hasColumn(database, name, "location");
    if (hasPlace) return text + ", event.location";
    return text +
           (hasColumn(database, "Location", "title") ? ", loca.title as location" : ", NULL AS location");
  }

  /// Every event with its own recurrences; the calendar's id stands behind all else.
  std::string allQuery(const PDXSQLiteDatabase& database, bool hasRange, const std::string& inbox) const {
    const std::string owner = ownerColumn(database);
    std::string query = "SELECT " + columns(database) + ", " + recurrenceColumns(!owner.empty()) + ", " +
                        columnOrNull(database, name, "event", "calendar_id") + " FROM " + name + " event";
    if (!owner.empty()) query += " LEFT JOIN Recurrence recur ON event.ROWID=recur." + owner;
    const bool joinsPlaces =
        !hasColumn(database, name, "location") && hasColumn(database, "Location", "title");
    if (joinsPlaces) query += " LEFT JOIN Location loca ON event.ROWID=loca.ROWID";
    return query + conditions(hasRange, inbox) + " ORDER BY event.ROWID";
  }

  static std::string conditions(bool hasRange, const std::string& inbox) {
    return " WHERE NOT ifnull(" + inbox + ", 0)" +
           (hasRange ? " AND event.start_date >= ?1 AND event.end_date <= ?2" : "");
  }

  /// One event by its row number, with its own table's columns only: damage in other tables costs no event.
  std::string oneQuery(const PDXSQLiteDatabase& database, bool hasRange, const std::string& inbox) const {
    std::string query = "SELECT event.ROWID";
    for (const char* column : {"summary", "location", "description", "all_day", "start_date", "end_date"})
      query += ", " + columnOrNull(database, name, "event", column);
    return query + ", " + columnOrNull(database, name, "event", "calendar_id") + " FROM " + name + " event" +
           conditions(hasRange, inbox) + " AND event.ROWID = ?3";
  }
};

double referenceSeconds(PDXDate date) {
  return std::chrono::duration<double>(date - PDXDates::kReference).count();
}

void bindRange(PDXSQLiteStatement& rows, const std::optional<PDXDate>& start,
               const std::optional<PDXDate>& to) {
  constexpr double kFar = std::numeric_limits<double>::max();
  rows.bind(1, start ? referenceSeconds(*start) : -kFar);
  rows.bind(2, to ? referenceSeconds(*to) : kFar);
}

std::string listOf(const std::vector<std::int64_t>& ids) {
  std::string text = "(";
  for (const std::int64_t id : ids) text += std::to_string(id) + ",";
  if (!ids.empty()) text.pop_back();
  return text + ")";
}

/// Events by their ids. That of the oldest stores has the ids where it says what belongs together, so that it
/// answers every event.
std::string queryByIds(const PDXSQLiteDatabase& database, const std::vector<std::int64_t>& ids) {
  if (hasTable(database, "Event")) {
    return "SELECT event.summary, event.description, event.location, event.all_day, event.start_date, "
           "event.end_date, recur.frequency, recur.interval, recur.end_date AS recur_end_date, recur.count "
           "FROM "
           "Event event OUTER LEFT JOIN Recurrence recur ON event.ROWID IN " +
           listOf(ids);
  }
  const std::string owner = EventTable::ownerColumn(database);
  std::string query = "SELECT " + EventTable{"CalendarItem"}.columns(database) + ", " +
                      recurrenceColumns(!owner.empty()) + " FROM CalendarItem event";
  if (!owner.empty()) query += " OUTER LEFT JOIN Recurrence recur ON event.ROWID=recur." + owner + " ";
  if (hasColumn(database, "Location", "title"))
    query += " OUTER LEFT JOIN Location loca ON event.ROWID=loca.ROWID";
  return query + " WHERE event.ROWID IN " + listOf(ids);
}

/// The calendars of a store while the events are put into them.
class Calendars {
 public:
  Calendars(std::vector<PDXCalendarDetail> known, const std::string& path)
      : calendars_(std::move(known)), lost_("calendar", path) {
    for (std::size_t i = 0; i < calendars_.size(); ++i) places_.try_emplace(calendars_[i].id, i);
  }

  void add(std::int64_t calendar, PDXCalendarEvent event) {
    const auto [place, isNew] = places_.try_emplace(calendar, calendars_.size());
    if (isNew) {
      calendars_.emplace_back().id = calendar;
      lost_.add("record " + std::to_string(calendar), "events are in it, but the store does not hold it");
    }
    calendars_[place->second].calendarEvents.push_back(std::move(event));
  }

  std::vector<PDXCalendarDetail> take() {
    for (PDXCalendarDetail& calendar : calendars_) {
      for (PDXCalendarEvent& event : calendar.calendarEvents) event.relationshipParent = &calendar;
    }
    return std::move(calendars_);
  }

 private:
  std::vector<PDXCalendarDetail> calendars_;
  std::unordered_map<std::int64_t, std::size_t> places_;
  PDXProblemSeries lost_;
};

std::vector<std::int64_t> numbers(const PDXSQLiteDatabase& database, const std::string& query) {
  std::vector<std::int64_t> found;
  auto rows = database.prepare(query);
  while (rows.step()) found.push_back(rows.int64(0));
  return found;
}

/// Nothing when damage keeps it from being counted.
std::optional<std::size_t> counted(const PDXSQLiteDatabase& database, const std::string& query) {
  const auto found = numbers(database, query);
  return found.empty() ? std::nullopt : std::optional(static_cast<std::size_t>(found.front()));
}

/// The condition that an event lies in an inbox; "0" where there are none.
std::string inInbox(const PDXSQLiteDatabase& database) {
  if (!hasColumn(database, "Calendar", "external_id")) return "0";
  return "event.calendar_id IN (SELECT ROWID FROM Calendar WHERE external_id LIKE '%inbox/')";
}

}  // namespace

PDXCalendarsDbReader::PDXCalendarsDbReader(std::string calendarsDbPath)
    : calendarsDbPath_(std::move(calendarsDbPath)) {}

void PDXCalendarsDbReader::reportUnreadable_(const PDXSQLiteDatabase& database) const {
  const std::string why = database.whyUnreadable();
  PDXLog::report({.what = "calendars",
                  .where = calendarsDbPath_,
                  .why = why.empty() ? "it has no table of calendars" : why});
}

std::vector<PDXCalendarStore> PDXCalendarsDbReader::getCalendarStores() const {
  if (calendarsDbPath_.empty() || !PDXFiles::exists(calendarsDbPath_)) return {};
  const PDXSQLiteDatabase database(calendarsDbPath_);
  std::string query =
      "select st.ROWID, st.name, count(*) AS count from Calendar AS cal join Store AS st ON store_id == "
      "st.ROWID WHERE ";
  if (hasColumn(database, "Calendar", "flags")) query += "cal.flags > 0 AND ";
  query += "st.name IS NOT NULL";
  if (hasColumn(database, "Store", "disabled")) query += " AND st.disabled IS NOT NULL";
  if (hasColumn(database, "Calendar", "external_id")) query += std::string(" AND cal.") + kNoInbox;
  auto rows = database.prepare(query + " GROUP BY store_id");
  if (!rows.isValid()) reportUnreadable_(database);
  std::vector<PDXCalendarStore> stores;
  while (rows.step()) {
    if (std::string name = rows.text(1); !name.empty())
      stores.push_back(
          {.storeId = rows.int64(0), .storeName = std::move(name), .calendarCount = rows.int64(2)});
  }
  if (rows.failed()) PDXLog::report({.what = "calendars", .where = calendarsDbPath_, .why = rows.error()});
  return stores;
}

std::vector<PDXCalendarDetail> PDXCalendarsDbReader::readCalendars_(
    const PDXSQLiteDatabase& database, const PDXReachableRows::Query& query) const {
  std::vector<PDXCalendarDetail> calendars;
  if (!database.prepare(query.select).isValid()) {
    reportUnreadable_(database);
    return calendars;
  }
  const auto outcome = PDXReachableRows::forEach(
      database, query, [&](const PDXSQLiteStatement& row) { calendars.push_back(calendarOf(row)); });
  if (!outcome.isWhole() && !outcome.isInterrupted)
    PDXLog::report({.what = "calendars", .where = calendarsDbPath_, .why = outcome.why});
  return calendars;
}

std::vector<PDXCalendarDetail> PDXCalendarsDbReader::getCalendarDetailWithIndex(const PDXCalendarStore& store,
                                                                                std::size_t /*index*/) const {
  if (calendarsDbPath_.empty() || !PDXFiles::exists(calendarsDbPath_)) return {};
  const PDXSQLiteDatabase database(calendarsDbPath_);
  std::string query =
      "SELECT ROWID AS number, * from Calendar WHERE store_id = " + std::to_string(store.storeId);
  if (hasColumn(database, "Calendar", "external_id")) query += std::string(" AND ") + kNoInbox;
  auto calendars = readCalendars_(database, {.table = "Calendar", .select = query, .number = "ROWID"});
  for (PDXCalendarDetail& calendar : calendars) {
    if (calendar.storeName.empty()) calendar.storeName = store.storeName;
  }
  return calendars;
}

std::vector<PDXCalendarEvent> PDXCalendarsDbReader::getCalendarEventsForCalendarDetailWithStartDateTo(
    const PDXCalendarDetail& calendar, const std::optional<PDXDate>& start,
    const std::optional<PDXDate>& to) const {
  if (calendarsDbPath_.empty() || !PDXFiles::exists(calendarsDbPath_)) return {};
  const PDXSQLiteDatabase database(calendarsDbPath_);
  const char* table = hasTable(database, "Event") ? "Event" : "CalendarItem";
  std::string query =
      fmt::format("SELECT event.ROWID FROM {} event WHERE event.calendar_id={}", table, calendar.id);
  if (start && to) {
    query += fmt::format(" AND event.start_date >= {:f} AND event.end_date <= {:f}", referenceSeconds(*start),
                         referenceSeconds(*to));
  }
  return getCalendarEventsWithIdsForCalendarDetail(numbers(database, query), calendar);
}

std::vector<PDXCalendarEvent> PDXCalendarsDbReader::getCalendarEventsWithIdsForCalendarDetail(
    const std::vector<std::int64_t>& ids, const PDXCalendarDetail& calendar) const {
  if (calendarsDbPath_.empty() || !PDXFiles::exists(calendarsDbPath_)) return {};
  const PDXSQLiteDatabase database(calendarsDbPath_);
  std::vector<PDXCalendarEvent> events;
  // A statement has an end: the ids of a large calendar are longer than one may be.
  constexpr std::size_t kMostIds = 50'000;
  for (std::size_t at = 0; at == 0 || at < ids.size(); at += kMostIds) {
    const auto first = ids.begin() + static_cast<std::ptrdiff_t>(at);
    const auto last = ids.begin() + static_cast<std::ptrdiff_t>(std::min(ids.size(), at + kMostIds));
    auto rows = database.prepare(queryByIds(database, {first, last}));
    if (!rows.isValid()) PDXLog::report({.what = "events", .where = calendarsDbPath_, .why = rows.error()});
    PDXCalendarEventRows reader(rows, calendarsDbPath_);
    while (rows.step()) {
      events.push_back(reader.event());
      events.back().relationshipParent = &calendar;
    }
    if (rows.failed()) PDXLog::report({.what = "events", .where = calendarsDbPath_, .why = rows.error()});
    if (hasTable(database, "Event")) break;  // Whose statement answers all events in any case.
  }
  return events;
}

/// The stores of all systems have these tables; one that is gone takes its part of the events along.
void PDXCalendarsDbReader::reportMissingTables_(const PDXSQLiteDatabase& database) const {
  std::vector<std::string> tables = {"Recurrence"};
  if (!hasTable(database, "Event")) tables.emplace_back("CalendarItem");
  // The oldest stores keep places with their events.
  if (hasColumn(database, "CalendarItem", "location_id")) tables.emplace_back("Location");
  if (hasTable(database, "Calendar"))
    PDXSQLiteHelper::reportMissingTables(database, tables, "events", calendarsDbPath_);
}

std::vector<PDXCalendarDetail> PDXCalendarsDbReader::getAllCalendars(const std::optional<PDXDate>& start,
                                                                     const std::optional<PDXDate>& to) const {
  if (calendarsDbPath_.empty() || !PDXFiles::exists(calendarsDbPath_)) return {};
  const PDXSQLiteDatabase database(calendarsDbPath_);
  reportMissingTables_(database);
  const bool hasIds = hasColumn(database, "Calendar", "external_id");
  const bool hasName = hasColumn(database, "Store", "name");
  const std::string beginning = "SELECT cal.ROWID AS number, cal.*, cal.ROWID AS ROWID";
  const std::string condition =
      hasIds ? " WHERE (cal.external_id IS NULL OR cal.external_id NOT LIKE '%inbox/')" : " WHERE 1";
  const PDXReachableRows::Query calendars{
      .table = "Calendar",
      .select = beginning +
                (hasName ? ", st.name FROM Calendar cal LEFT JOIN Store st ON cal.store_id = st.ROWID"
                         : " FROM Calendar cal") +
                condition,
      .number = "cal.ROWID",
      .order = " ORDER BY cal.ROWID",
      .bare = beginning + " FROM Calendar cal" + condition};
  Calendars all(readCalendars_(database, calendars), calendarsDbPath_);
  for (const EventTable& table : EventTable::in(database)) {
    auto rows = database.prepare(table.allQuery(database, start || to, inInbox(database)));
    if (!rows.isValid()) PDXLog::report({.what = "events", .where = calendarsDbPath_, .why = rows.error()});
    if (start || to) bindRange(rows, start, to);
    PDXCalendarEventRows reader(rows, calendarsDbPath_);
    std::vector<std::int64_t> read;
    while (rows.step()) {
      read.push_back(rows.int64(0));
      all.add(rows.int64(rows.columnCount() - 1), reader.event());
    }
    if (!rows.failed()) continue;
    PDXLog::report({.what = "events", .where = calendarsDbPath_, .why = rows.error()});
    auto row = database.prepare(table.oneQuery(database, start || to, inInbox(database)));
    if (start || to) bindRange(row, start, to);
    PDXCalendarEventRows missed(row, calendarsDbPath_);
    for (const std::int64_t number :
         PDXReachableRows::missed(database, table.name, {read.begin(), read.end()})) {
      row.reset();
      row.bind(3, number);
      if (row.step()) all.add(row.int64(row.columnCount() - 1), missed.event());
    }
  }
  return all.take();
}

std::optional<PDXCalendarsDbReader::RowCounts> PDXCalendarsDbReader::storedEventCounts() const {
  const PDXSQLiteDatabase database(calendarsDbPath_);
  const std::string owner = EventTable::ownerColumn(database);
  const std::string inbox = inInbox(database);
  RowCounts counts;
  const auto tables = EventTable::in(database);
  for (const EventTable& table : tables) {
    const auto rows = counted(database, fmt::format("SELECT count(1) FROM {} event NOT INDEXED", table.name));
    const auto inInboxes =
        counted(database, fmt::format("SELECT count(*) FROM {} event WHERE {}", table.name, inbox));
    const auto repeated =
        owner.empty() ? std::optional<std::size_t>(0)
                      : counted(database, fmt::format("SELECT count(*) - count(DISTINCT event.ROWID) FROM {} "
                                                      "event JOIN Recurrence recur ON event.ROWID = recur.{} "
                                                      "WHERE NOT ifnull({}, 0)",
                                                      table.name, owner, inbox));
    if (!rows || !inInboxes || !repeated) return std::nullopt;
    counts.rows += *rows;
    counts.inInboxes += *inInboxes;
    counts.repeated += *repeated;
  }
  return tables.empty() ? std::nullopt : std::optional(counts);
}

bool PDXCalendarsDbReader::getSelectedStatusForCalendarDetail(const PDXCalendarDetail& calendar) {
  return selected_.try_emplace(generateCalendarIdFor(calendar), true).first->second;
}

void PDXCalendarsDbReader::updateSelectedStatusForCalendarIdWithValue(const std::string& calendarId,
                                                                      bool value) {
  selected_[calendarId] = value;
}

std::string PDXCalendarsDbReader::generateCalendarIdFor(const PDXCalendarDetail& calendar) {
  return fmt::format("{}|{}", calendar.storeId, calendar.id);
}
