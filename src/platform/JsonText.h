#pragma once

#include <string>
#include <string_view>

/// JSON for lists so long that building them in memory first would take most of the time.
namespace PDXJsonText {

/// Appends a text in quotes, escaped as JSON has it.
/// @param text  valid UTF-8.
void append(std::string& json, std::string_view text);

}  // namespace PDXJsonText
