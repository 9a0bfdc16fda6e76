#pragma once

#include <optional>
#include <string>

/// A number whose calls and messages the device refuses.
struct PDXBlockedNumber {
  /// As stored on the device, without formatting; never empty when read from a backup.
  std::string number;

  /// First, middle and last name of the contact who has the number; missing when nobody has it.
  std::optional<std::string> contactName;

  /// All spellings of that contact's phone numbers with blanks between them, as the address book searches
  /// them; missing when nobody has the number.
  std::optional<std::string> knownVariations;
};
