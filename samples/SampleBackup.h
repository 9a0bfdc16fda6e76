#pragma once

#include <optional>
#include <stop_token>
#include <string>

#include "samples/SampleOptions.h"

/// An invented backup that looks like a phone's, to try everything on: about 200 contacts, conversations with
/// attachments of every kind, blocked numbers, and the files around them.
namespace PDXSampleBackup {

/// Writes the backup. Nothing on success, else one line that says why; then nothing is left in the folder.
/// @param stop  is asked between files and between messages; the answer is then "stopped".
std::optional<std::string> write(const PDXSampleOptions& options, const std::stop_token& stop = {});

}  // namespace PDXSampleBackup
