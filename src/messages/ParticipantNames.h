#pragma once

#include <string>
#include <unordered_map>

#include "contacts/ContactNameSearch.h"
#include "messages/MobileSMSPlistReader.h"

/// Finds the names of the people that messages come from: in the loaded contacts, then in the address book's
/// search texts, then in the preferences. Each address is looked for once and each source opened once, since
/// a store holds thousands of strangers.
///
/// Errors: none; who is not found has no name.
/// Threads: one thread.
class PDXParticipantNames {
 public:
  /// Local copies; need not exist.
  PDXParticipantNames(const std::string& contactsDatabasePath, const std::string& mobileSMSPlistPath)
      : search_(contactsDatabasePath), preferences_(mobileSMSPlistPath, contactsDatabasePath) {}

  /// "" when no source knows the address.
  const std::string& nameOf(const std::string& address);

 private:
  std::string found_(const std::string& address);

  PDXContactNameSearch search_;
  PDXMobileSMSPlistReader preferences_;
  std::unordered_map<std::string, std::string> names_;
};
