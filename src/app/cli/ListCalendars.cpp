#include <fmt/format.h>

#include "app/cli/Listing.h"
#include "app/cli/Options.h"
#include "app/export/CalendarsExport.h"

namespace {

using Json = nlohmann::ordered_json;

Json dateJson(const std::optional<PDXDate>& date) { return date ? Json(PDXDates::isoText(*date)) : Json(); }

Json recurrenceJson(const std::optional<PDXCalendarRecurranceProperties>& recurrence) {
  if (!recurrence) return {};
  return {{"frequency", recurrence->frequency},
          {"interval", recurrence->interval},
          {"occurenceCount", recurrence->occurenceCount},
          {"endDate", dateJson(recurrence->endDate)}};
}

Json eventJson(const PDXCalendarEvent& event) {
  const PDXCalendarDateTimeProperties& when = event.dateTimeProperties;
  return {
      {"id", event.id},
      {"summary", event.summary},
      {"eventDescription", event.eventDescription},
      {"location", event.location},
      {"comment", event.comment},
      {"dateTimeProperties",
       {{"dtstart", dateJson(when.dtstart)}, {"dtend", dateJson(when.dtend)}, {"isAllDay", when.isAllDay}}},
      {"recurrenceProperties", recurrenceJson(event.recurrenceProperties)}};
}

Json calendarJson(const PDXCalendarDetail& calendar) {
  auto events = Json::array();
  for (const PDXCalendarEvent& event : calendar.calendarEvents) events.push_back(eventJson(event));
  return {{"id", calendar.id},
          {"storeId", calendar.storeId},
          {"storeName", calendar.storeName},
          {"title", calendar.title},
          {"colorRed", jsonOf(calendar.colorRed)},
          {"colorGreen", jsonOf(calendar.colorGreen)},
          {"colorBlue", jsonOf(calendar.colorBlue)},
          {"colorHTMLCode", calendar.colorHTMLCode},
          {"calendarEvents", std::move(events)}};
}

}  // namespace

PDXListing listCalendars(const PDXListRequest& request) {
  const auto start = request.range.startDate();
  const auto end = request.range.endDate();
  const auto behindEnd = end ? std::optional(PDXDates::startOfNextDay(*end)) : std::nullopt;
  PDXListing listing;
  std::size_t shown = 0;
  for (const PDXCalendarDetail& calendar : PDXCalendarsExport::listed(request.deviceData, start, behindEnd)) {
    const std::size_t events = calendar.calendarEvents.size();
    if (request.stop.stop_requested()) return listing;
    if ((start || end) && events == 0) continue;
    ++shown;
    const std::string account = calendar.storeName.empty() ? "" : " (" + calendar.storeName + ")";
    if (request.wantsItems) listing.items.push_back(calendarJson(calendar));
    if (!request.wantsItems)
      listing.lines.push_back(fmt::format("{:>9}  {}{}", events, calendar.title, account));
  }
  listing.summary = countedEntries(shown, "calendar", "calendars");
  return listing;
}
