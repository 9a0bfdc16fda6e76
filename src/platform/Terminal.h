#pragma once

#include <optional>
#include <stop_token>
#include <string>

#include "platform/Secret.h"

/// The terminal that a person sits at.
namespace PDXTerminal {

/// Whether standard input is one.
bool isThere();

/// Shows a prompt on standard error and reads a line that is not shown as it is typed. Nothing at the end of
/// the input or on a stop request.
std::optional<PDXSecret> readHidden(const std::string& prompt, const std::stop_token& stop);

}  // namespace PDXTerminal
