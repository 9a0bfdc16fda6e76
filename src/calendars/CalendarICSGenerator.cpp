#include "calendars/CalendarICSGenerator.h"

#include <fmt/format.h>

#include <array>
#include <string_view>

#include "platform/TimeZone.h"

namespace {

void appendLine(std::string& text, std::string_view name, std::string_view value) {
  text.append(name).append(value).append("\r\n");
}

void appendFilledIn(std::string& text, std::string_view name, std::string_view value) {
  if (!value.empty()) appendLine(text, name, value);
}

const char* frequencyText(std::int32_t frequency) {
  constexpr const char* kTexts[] = {"", "FREQ=DAILY;", "FREQ=WEEKLY;", "FREQ=MONTHLY;", "FREQ=YEARLY;"};
  return frequency >= 1 && frequency <= 4 ? kTexts[frequency] : "";
}

}  // namespace

/// The year is that of the week and behind the minutes stands the fraction of the second. Day and minute are
/// formatted apart from the fraction, since their texts come again and again.
struct PDXCalendarICSWriter::Formats {
  std::string zone = PDXTimeZone::name();
  PDXDateFormatter day{"YMMdd"};
  PDXDateFormatter minute{"YMMdd'T'HHmm"};
  PDXDateFormatter fraction{"SS"};
  std::array<std::string, 100> fractions;

  const std::string& fractionText(PDXDate date) {
    using std::chrono::floor;
    const auto within = date - floor<std::chrono::seconds>(date);
    std::string& known = fractions[static_cast<std::size_t>(within / std::chrono::milliseconds(10))];
    if (known.empty()) known = fraction.text(date);
    return known;
  }
};

PDXCalendarICSWriter::PDXCalendarICSWriter() : formats_(std::make_unique<Formats>()) {}
PDXCalendarICSWriter::~PDXCalendarICSWriter() = default;

std::string PDXCalendarICSWriter::generateFileHeaderForCalendar_(const PDXCalendarDetail& calendar) const {
  std::string text =
      "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nCALSCALE:GREGORIAN\r\n"
      "PRODID::-//Lantern Byte Ltd.//Pocketdex 11 Mac//EN\r\n";
  appendFilledIn(text, "X-WR-CALNAME:", calendar.title);
  if (calendar.colorRed) {
    text += fmt::format("X-APPLE-CALENDAR-COLOR:#{:02x}{:02x}{:02x}\r\n", *calendar.colorRed,
                        calendar.colorGreen.value_or(0), calendar.colorBlue.value_or(0));
  }
  return text + "BEGIN:VTIMEZONE\r\nTZID:" + formats_->zone + "\r\nEND:VTIMEZONE\r\n";
}

void PDXCalendarICSWriter::appendEvent(std::string& text, const PDXCalendarEvent& event) {
  const PDXCalendarDateTimeProperties& when = event.dateTimeProperties;
  text += "BEGIN:VEVENT\r\n";
  if (when.dtstart) {
    text += "DTSTART;";
    appendDateTimeToStringForDateIsAllDay_(text, *when.dtstart, when.isAllDay);
    text += "\r\n";
  }
  if (when.dtend) {
    text += "DTEND;";
    appendDateTimeToStringForDateIsAllDay_(text, *when.dtend, when.isAllDay);
    text += "\r\n";
  }
  appendFilledIn(text, "SUMMARY:", event.summary);
  appendFilledIn(text, "DESCRIPTION:", event.eventDescription);
  appendFilledIn(text, "LOCATION:", event.location);
  appendFilledIn(text, "COMMENT:", event.comment);
  if (event.recurrenceProperties) appendRecurrence_(text, *event.recurrenceProperties);
  text += "CLASS:PUBLIC\r\nEND:VEVENT\r\n";
}

std::string PDXCalendarICSWriter::end() { return "END:VCALENDAR\r\n"; }

/// Where a date lies in summer time and today does not, no hour is added: summer time has none to give today.
void PDXCalendarICSWriter::appendDateTimeToStringForDateIsAllDay_(std::string& text, PDXDate date,
                                                                  bool isAllDay) {
  text.append("TZID=").append(formats_->zone).append(":");
  text += isAllDay ? formats_->day.text(date) : formats_->minute.text(date);
  if (!isAllDay) text.append(formats_->fractionText(date)).append("Z");
}

void PDXCalendarICSWriter::appendRecurrence_(std::string& text,
                                             const PDXCalendarRecurranceProperties& recurrence) {
  std::string rule = std::string("RRULE:") + frequencyText(recurrence.frequency);
  if (recurrence.interval > 0) rule += fmt::format("INTERVAL={}", recurrence.interval);
  if (recurrence.endDate) {
    // In front of the rule and not in it: readers of such files have come to expect it there.
    text += ";UNTIL=";
    appendDateTimeToStringForDateIsAllDay_(text, *recurrence.endDate, false);
  } else if (recurrence.occurenceCount != 0) {
    rule += fmt::format(";COUNT={}", recurrence.occurenceCount);
  }
  appendLine(text, rule, "");
}

std::string PDXCalendarICSGenerator::generateFromCalenderDetail(const PDXCalendarDetail& calendar) {
  PDXCalendarICSWriter writer;
  std::string text = writer.generateFileHeaderForCalendar_(calendar);
  for (const PDXCalendarEvent& event : calendar.calendarEvents) writer.appendEvent(text, event);
  return text + PDXCalendarICSWriter::end();
}

std::string PDXCalendarICSGenerator::generateFromCalendarEvent(const PDXCalendarEvent& event) {
  static const PDXCalendarDetail none;
  PDXCalendarICSWriter writer;
  std::string text = writer.generateFileHeaderForCalendar_(
      event.relationshipParent == nullptr ? none : *event.relationshipParent);
  writer.appendEvent(text, event);
  return text + PDXCalendarICSWriter::end();
}
