#pragma once

#include <string>

/// Settings of the application that stay from run to run.
/// Source: "pocketdex/preferences.json" in the user's settings folder, one object of texts.
namespace PDXPreferences {

/// The setting's value; "" when it was never set or cannot be read.
std::string get(const std::string& name);

/// Stores a value. False when it cannot be written.
bool set(const std::string& name, const std::string& value);

}  // namespace PDXPreferences
