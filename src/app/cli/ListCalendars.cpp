#include <fmt/format.h>

#include "app/cli/Listing.h"
#include "app/cli/Options.h"
#include "app/export/CalendarsExport.h"
#include "platform/JsonText.h"

namespace {

void appendEvent(std::string& json, const PDXCalendarEvent& event) {
  PDXJsonObjectText object(json);
  object.number("id", event.id);
  object.text("summary", std::string_view(event.summary));
  object.text("eventDescription", std::string_view(event.eventDescription));
  object.text("location", std::string_view(event.location));
  object.text("comment", std::string_view(event.comment));
  object.value("dateTimeProperties");
  {
    PDXJsonObjectText when(json);
    when.date("dtstart", event.dateTimeProperties.dtstart);
    when.date("dtend", event.dateTimeProperties.dtend);
    when.flag("isAllDay", event.dateTimeProperties.isAllDay);
  }
  object.value("recurrenceProperties");
  if (!event.recurrenceProperties) {
    json += "null";
    return;
  }
  PDXJsonObjectText often(json);
  often.number("frequency", event.recurrenceProperties->frequency);
  often.number("interval", event.recurrenceProperties->interval);
  often.number("occurenceCount", event.recurrenceProperties->occurenceCount);
  often.date("endDate", event.recurrenceProperties->endDate);
}

void appendComponent(PDXJsonObjectText& object, std::string& json, std::string_view key,
                     const std::optional<std::int32_t>& component) {
  object.value(key);
  json += component ? std::to_string(*component) : "null";
}

void appendCalendar(std::string& json, const PDXCalendarDetail& calendar) {
  PDXJsonObjectText object(json);
  object.number("id", calendar.id);
  object.number("storeId", calendar.storeId);
  object.text("storeName", std::string_view(calendar.storeName));
  object.text("title", std::string_view(calendar.title));
  appendComponent(object, json, "colorRed", calendar.colorRed);
  appendComponent(object, json, "colorGreen", calendar.colorGreen);
  appendComponent(object, json, "colorBlue", calendar.colorBlue);
  object.text("colorHTMLCode", std::string_view(calendar.colorHTMLCode));
  object.value("calendarEvents");
  const char* separator = "[";
  for (const PDXCalendarEvent& event : calendar.calendarEvents) {
    json += separator;
    appendEvent(json, event);
    separator = ",\n";
  }
  json += calendar.calendarEvents.empty() ? "[]" : "]";
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
    if (request.wantsItems) {
      if (!listing.itemsText.empty()) listing.itemsText += ",\n";
      appendCalendar(listing.itemsText, calendar);
    }
    if (!request.wantsItems)
      listing.lines.push_back(fmt::format("{:>9}  {}{}", events, calendar.title, account));
  }
  listing.summary = countedEntries(shown, "calendar", "calendars");
  return listing;
}
