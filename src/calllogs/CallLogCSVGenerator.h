#pragma once

#include <string>
#include <vector>

#include "calllogs/CallLogParticipantGroup.h"

class PDXLocalTimes;

/// Writes calls as a table: date and time with zone offset, direction, whether it was answered, kind,
/// duration in seconds, name, address, provider and location. Lines end in "\r\n"; what is not known is
/// empty.
namespace PDXCallLogCSVGenerator {

std::string header();

/// One call.
/// @param name  of the group that it belongs to.
void appendRow(std::string& text, const PDXCallLogEntry& entry, const std::string& name,
               PDXLocalTimes& times);

}  // namespace PDXCallLogCSVGenerator
