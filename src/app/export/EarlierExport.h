#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// What an export says of earlier ones into the same folder: what they wrote stays there, and stays listed.
namespace PDXEarlierExport {

/// Adds to a report what the one before it lists and it does not: kinds, pages of kinds and, as long as there
/// are such, problems. What is added has "earlier": true.
/// @param report   of this export.
/// @param earlier  null without one.
/// @param files    paths of all files that are there, sorted: what was removed since is listed no more.
void addTo(nlohmann::ordered_json& report, const nlohmann::ordered_json& earlier,
           const std::vector<std::string>& files);

/// The table of a kind's pages that stay from an earlier export, as HTML; "" when there are none.
std::string pagesOf(const nlohmann::ordered_json& report, const std::string& kind);

/// A section of the start page for each kind that only an earlier export wrote.
std::string sectionsOf(const nlohmann::ordered_json& report);

}  // namespace PDXEarlierExport
