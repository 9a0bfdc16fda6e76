#pragma once

#include <cstddef>
#include <optional>
#include <stop_token>
#include <vector>

#include "app/export/ExportOptions.h"
#include "app/export/ExportReport.h"
#include "calllogs/CallLogParticipantGroup.h"

class PDXDeviceData;

/// The calls of a backup, for lists and exports.
struct PDXCallList {
  /// Only groups with calls in the range, whoever called last first. Each has its calls from the oldest on.
  std::vector<PDXCallLog> logs;

  std::size_t calls = 0;     ///< In those groups.
  std::size_t filtered = 0;  ///< Calls outside the range; without a date they lie outside every range.

  /// Rows of the stores as SQL counts them; nothing when it cannot.
  std::optional<std::size_t> rows;

  /// Rows of the older database where there is a newer store too: the device moved its calls there.
  std::size_t older = 0;

  std::string store;  ///< The name of the store that the calls are from.

  /// Of the older database beside it: its rows, nothing when they cannot be counted; no such value without
  /// one.
  std::optional<std::optional<std::size_t>> olderRows;
};

namespace PDXCallsExport {

/// @param start, behindEnd  the range; see PDXExportOptions.
PDXCallList read(PDXDeviceData& deviceData, const std::optional<PDXDate>& start,
                 const std::optional<PDXDate>& behindEnd);

/// Writes "Calls/Calls.html" and "Calls/Calls.csv", newest calls first, unless there are none.
/// @param report  receives the failure when they cannot be written.
PDXKindReport run(PDXDeviceData& deviceData, const PDXExportOptions& options, PDXExportReport& report,
                  const std::stop_token& stop);

}  // namespace PDXCallsExport
