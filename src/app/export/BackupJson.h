#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "platform/Log.h"

class PDXBackupInformation;

/// The parts that every JSON document of ours shares.
namespace PDXBackupJson {

/// A document: schema, kind and backup, with "items" and "problems" to be filled.
nlohmann::ordered_json document(const char* kind, const PDXBackupInformation& information);

/// `identifier`, `deviceName`, `productVersion`, `encrypted`.
nlohmann::ordered_json backup(const PDXBackupInformation& information);

nlohmann::ordered_json problems(const std::vector<PDXProblem>& problems);

/// The document's text, indented, with a line break at its end. Bytes that are no UTF-8 become U+FFFD.
std::string text(const nlohmann::ordered_json& document);

}  // namespace PDXBackupJson
