#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>
#include <vector>

#include "app/export/ExportOptions.h"
#include "app/export/ExportReport.h"
#include "notes/IOS9NoteDatabaseReader.h"
#include "notes/LegacyNoteDetail.h"
#include "notes/NoteRowCounts.h"

class PDXDeviceData;

/// A note of either store. The fields that both have are of one name.
using PDXAnyNote = std::variant<PDXIOS9NoteDetail, PDXLegacyNoteDetail>;

/// The notes of a backup, for lists and exports.
struct PDXNoteList {
  std::vector<PDXAnyNote> notes;  ///< In list order.
  std::optional<PDXNoteRowCounts> counts;

  // Of each store by itself; nothing when it cannot be counted, or is not there.
  std::optional<PDXNoteRowCounts> newerCounts;
  std::optional<PDXNoteRowCounts> olderCounts;
  bool hasNewer = false;
  bool hasOlder = false;

  /// Of the newer store; null for a device whose notes live in the older one alone.
  std::unique_ptr<PDXIOS9NoteDatabaseReader> reader;
};

namespace PDXNotesExport {

PDXNoteList read(PDXDeviceData& deviceData);

/// Whether the title or the text holds the search, in any case.
bool matches(const PDXAnyNote& note, const std::string& search);

/// Writes a page, a text or both for each note that the options take, below "Notes" in a folder for each
/// account and each folder of it. Bytes and names do not depend on the number of workers, nor the names on
/// the search.
/// @param report  receives what became of them; its outcome is left alone when all went well.
PDXKindReport run(PDXDeviceData& deviceData, const PDXExportOptions& options, PDXExportReport& report,
                  const PDXProgressSink& progress, const std::stop_token& stop);

}  // namespace PDXNotesExport
