#pragma once

#include <cstddef>
#include <optional>
#include <stop_token>
#include <vector>

#include "app/export/ExportOptions.h"
#include "app/export/ExportReport.h"
#include "calendars/CalendarsDbReader.h"

class PDXDeviceData;

namespace PDXCalendarsExport {

/// The calendars that the device lists, with those of their events that lie wholly in the range; account
/// after account.
/// @param start, behindEnd  see PDXExportOptions; either may be missing.
std::vector<PDXCalendarDetail> listed(PDXDeviceData& deviceData, const std::optional<PDXDate>& start,
                                      const std::optional<PDXDate>& behindEnd);

/// Writes "Calendars/<title>.ics" for every calendar of the store, listed or not, but inboxes. With a range a
/// calendar without an event in it is left out. Names do not depend on the range.
/// @param report  receives the failure when one cannot be written.
PDXKindReport run(PDXDeviceData& deviceData, const PDXExportOptions& options, PDXExportReport& report,
                  const PDXProgressSink& progress, const std::stop_token& stop);

}  // namespace PDXCalendarsExport
