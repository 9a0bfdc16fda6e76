#pragma once

#include <string>

#include "app/export/ExportReport.h"

class PDXBackupInformation;

/// What an export says of itself beside the content.
namespace PDXOverview {

/// "index.html": the device, the kinds, and a link to each page with its counts.
std::string startPage(const PDXBackupInformation& information, const PDXExportReport& report);

/// "export.json": per kind what was found, written, left out and missing, and every problem. Holds no time of
/// the export itself, so that the same backup gives the same bytes.
std::string reportJson(const PDXBackupInformation& information, const PDXExportReport& report);

}  // namespace PDXOverview
