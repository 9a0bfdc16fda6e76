#pragma once

#include <string>
#include <vector>

#include "contacts/BlockedNumber.h"

/// Reads the device's list of blocked callers.
///
/// Source: a local copy of "Library/Preferences/com.apple.cmfsyncagent.plist", in either property-list form,
/// and the address book's search texts (ABPersonFullTextSearch_content) for names and spellings.
/// Errors: none leave it. A list that is missing, damaged or shaped otherwise is empty; without a readable
/// address book the numbers stay without names. The log says what could not be read.
class PDXBlockedNumberReader {
 public:
  /// The blocked numbers in the device's order; blocked e-mail addresses are left out.
  /// @param plistPath, contactsDatabase  UTF-8 paths; need not exist and may be empty.
  static std::vector<PDXBlockedNumber> getBlockedNumbersFromPListContactsDatabase(
      const std::string& plistPath, const std::string& contactsDatabase);

 private:
  static std::vector<PDXBlockedNumber> readBlockedNumbersFromPList_(const std::string& plistPath);
  static void getVariationsForNumbersFromContactsDatabase_(std::vector<PDXBlockedNumber>& numbers,
                                                           const std::string& contactsDatabase);
};
