#include "app/export/CalendarsExport.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "app/export/CleanedRecords.h"
#include "backup/BackupNavigation.h"
#include "backup/DeviceData.h"
#include "calendars/CalendarICSGenerator.h"
#include "platform/FileName.h"
#include "platform/Files.h"

namespace {

constexpr const char* kFolder = "Calendars";
constexpr std::string_view kExtension = ".ics";

using RowCounts = PDXCalendarsDbReader::RowCounts;

/// False when the file cannot be written, which the report then says.
bool write(PDXCalendarDetail& calendar, const std::string& path, PDXCalendarICSWriter& writer,
           PDXKindReport& kind, PDXExportReport& report) {
  PDXAtomicFile file(path);
  file.append(writer.generateFileHeaderForCalendar_(PDXCleanedRecords::forHeader(calendar)));
  std::string text;
  for (PDXCalendarEvent& event : calendar.calendarEvents) {
    PDXCleanedRecords::clean(event);
    text.clear();
    writer.appendEvent(text, event);
    file.append(text);
  }
  file.append(PDXCalendarICSWriter::end());
  return report.commit(file, kind);
}

PDXRowAccount accountOf(const RowCounts& counts, std::size_t written, bool hasRange) {
  const auto missing = static_cast<std::int64_t>(counts.rows + counts.repeated) -
                       static_cast<std::int64_t>(counts.inInboxes + written);
  const std::int64_t filtered = hasRange ? std::max<std::int64_t>(missing, 0) : 0;
  return {.rows = counts.rows,
          .repeated = counts.repeated,
          .leftOut = {{"in an inbox of invitations", counts.inInboxes},
                      {"filtered", static_cast<std::size_t>(filtered)}},
          .unaccounted = missing - filtered};
}

}  // namespace

std::vector<PDXCalendarDetail> PDXCalendarsExport::listed(PDXDeviceData& deviceData,
                                                          const std::optional<PDXDate>& start,
                                                          const std::optional<PDXDate>& behindEnd) {
  const PDXCalendarsDbReader reader(deviceData.databaseOfFeature(PDXFeature::Calendar));
  std::unordered_map<std::int64_t, std::vector<PDXCalendarEvent>> events;
  for (PDXCalendarDetail& calendar : reader.getAllCalendars(start, behindEnd))
    events[calendar.id] = std::move(calendar.calendarEvents);
  std::vector<PDXCalendarDetail> calendars;
  std::size_t index = 0;
  for (const PDXCalendarStore& store : reader.getCalendarStores()) {
    for (PDXCalendarDetail& calendar : reader.getCalendarDetailWithIndex(store, index++)) {
      calendar.calendarEvents = std::move(events[calendar.id]);
      for (PDXCalendarEvent& event : calendar.calendarEvents) event.relationshipParent = nullptr;
      calendars.push_back(std::move(calendar));
    }
  }
  return calendars;
}

PDXKindReport PDXCalendarsExport::run(PDXDeviceData& deviceData, const PDXExportOptions& options,
                                      PDXExportReport& report, const PDXProgressSink& progress,
                                      const std::stop_token& stop) {
  PDXKindReport kind;
  kind.kind = "calendars";
  kind.title = kFolder;
  kind.entries = PDXEntriesReport{.one = "event", .many = "events", .written = 0, .rows = {}};
  const PDXCalendarsDbReader reader(deviceData.databaseOfFeature(PDXFeature::Calendar));
  const bool hasRange = options.startDate || options.endDate;
  auto calendars = reader.getAllCalendars(options.startDate, options.behindEnd());
  const std::string folder = PDXFiles::freeFolder(PDXFiles::joined(options.outputFolder, kFolder));
  const auto placeFor = [&](const std::string& name) {
    return PDXFiles::joined(folder, name) + std::string(kExtension);
  };
  PDXFiles::makeFolders(folder);
  PDXUniqueFileNames names(kExtension.size(),
                           [&](const std::string& name) { return PDXFiles::isTaken(placeFor(name)); });
  PDXCalendarICSWriter writer;
  for (std::size_t i = 0; i < calendars.size(); ++i) {
    PDXCalendarDetail& calendar = calendars[i];
    const std::string place = placeFor(names.nameFor(calendar.title));
    if (hasRange && calendar.calendarEvents.empty()) continue;
    if (stop.stop_requested()) return kind;
    if (!write(calendar, place, writer, kind, report)) {
      if (!report.goesOn()) return kind;
      continue;
    }
    PDXExportedItem& item = kind.written.emplace_back();
    item.title = calendar.title.empty() ? "Untitled" : calendar.title;
    item.path = options.relative(place);
    item.entries = calendar.calendarEvents.size();
    kind.entries->written += item.entries;
    calendar.calendarEvents = {};
    if (progress) progress(kFolder, i + 1, calendars.size());
  }
  kind.found = kind.entries->written;
  const auto counts = reader.storedEventCounts();
  if (counts) kind.entries->rows = accountOf(*counts, kind.entries->written, hasRange);
  kind.accounts = {PDXStoreAccount::of("Calendar.sqlitedb", kind.entries->rows, kind.entries->written)};
  if (!counts) return kind;
  kind.filtered = kind.entries->rows->leftOut.back().rows;
  kind.found += kind.filtered;
  return kind;
}
