#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "app/export/ExportReport.h"

class PDXBackupInformation;

/// What an export says of itself beside the content.
namespace PDXOverview {

/// "export.json": per kind what was found, written, left out and missing, and every problem. Holds no time of
/// the export itself, so that the same backup gives the same bytes.
nlohmann::ordered_json reportJson(const PDXBackupInformation& information, const PDXExportReport& report);

/// "index.html": the device, the kinds, and a link to each page with its counts.
/// @param json  the report with what earlier exports wrote.
std::string startPage(const PDXBackupInformation& information, const PDXExportReport& report,
                      const nlohmann::ordered_json& json);

}  // namespace PDXOverview
