#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/Sqlite.h"

/// The last source for a participant's name: the cache that the device's messages application keeps in its
/// preferences, from address to address-book record.
///
/// Source: "Library/Preferences/com.apple.MobileSMS.plist", key "_im_ab_cache", and table ABPerson.
/// Errors: none; what is missing gives an empty name.
/// Threads: one reader, one thread. It reads the preferences once.
class PDXMobileSMSPlistReader {
 public:
  /// Local copies; need not exist.
  PDXMobileSMSPlistReader(std::string plistPath, std::string contactsDatabasePath)
      : plistPath_(std::move(plistPath)), contactsDatabasePath_(std::move(contactsDatabasePath)) {}

  static PDXMobileSMSPlistReader readerWithPlistPathAndContactsDatabasePath(
      const std::string& plistPath, const std::string& contactsDatabasePath) {
    return {plistPath, contactsDatabasePath};
  }

  /// First and last name with a blank between, or the organisation; "" when the cache does not know the
  /// address.
  std::string determineContactNameForAddress(const std::string& address);

 private:
  std::string getDatabaseIdFromPlistForAddress_(const std::string& address);
  std::string getContactNameFromDatabaseWithId_(const std::string& recordId);

  std::string plistPath_;
  std::string contactsDatabasePath_;
  /// By the cache's key, which is an address with "_record_id" behind it; missing until they are read.
  std::optional<std::unordered_map<std::string, std::string>> recordIds_;
  std::optional<PDXSQLiteDatabase> contacts_;
};
