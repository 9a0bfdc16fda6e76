#pragma once

#include <optional>
#include <stop_token>
#include <string>

#include "platform/Secret.h"

/// The terminal that a person sits at, and secrets that come in by standard input or a file.
namespace PDXTerminal {

/// Whether standard input is one.
bool isThere();

/// Shows a prompt on standard error and reads a line that is not shown as it is typed. Nothing at the end of
/// the input or on a stop request. Put to sleep in between, it hides what is typed anew when it wakes up.
std::optional<PDXSecret> readHidden(const std::string& prompt, const std::stop_token& stop);

/// Has what is typed shown again, for a program that ends at once in the middle of `readHidden`. From any
/// thread.
void restore();

/// The first line of a file, or of standard input for "-", without its end. Nothing when it cannot be read,
/// is longer than 64 KB, or on a stop request.
std::optional<PDXSecret> firstLineOf(const std::string& file, const std::stop_token& stop);

}  // namespace PDXTerminal
