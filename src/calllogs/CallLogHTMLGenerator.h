#pragma once

#include <string>
#include <vector>

#include "calllogs/CallLogParticipantGroup.h"

class PDXLocalTimes;

/// Writes calls as one page that also prints well: grouped by person, newest first, with totals.
namespace PDXCallLogHTMLGenerator {

/// The beginning of the page, with the totals of all calls.
/// @param logs  without those that have no entries.
std::string beginning(const std::vector<const PDXCallLog*>& logs);

/// One group, its calls from the newest to the oldest.
std::string section(const PDXCallLog& log, PDXLocalTimes& times);

std::string end();

}  // namespace PDXCallLogHTMLGenerator
