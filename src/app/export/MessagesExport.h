#pragma once

#include <stop_token>
#include <string>
#include <vector>

#include "app/export/ExportOptions.h"
#include "app/export/ExportReport.h"
#include "messages/MessageReader.h"

class PDXDeviceData;

/// Exports conversations as pages, several at a time.
namespace PDXMessagesExport {

/// Writes a page for each of the conversations that the options take, into `folder` (which is made when there
/// is one to write). The pages' bytes and names do not depend on the number of workers, nor the names on the
/// filters.
/// @param conversations  of one store, in list order.
/// @param folder         relative to the options' output folder, e.g. "Messages".
/// @param report         receives what became of them; its outcome is left alone when all went well.
PDXKindReport run(PDXDeviceData& deviceData, const std::vector<PDXMessagesConversation*>& conversations,
                  const PDXExportOptions& options, const std::string& folder, PDXExportReport& report,
                  const PDXProgressSink& progress, const std::stop_token& stop);

/// The conversations that `run` does not take, because the options name others.
std::vector<const PDXMessagesConversation*> leftOut(
    const std::vector<PDXMessagesConversation*>& conversations, const PDXExportOptions& options);

}  // namespace PDXMessagesExport
