#pragma once

#include <string>
#include <unordered_map>

#include "messages/MobileSMSPlistReader.h"

/// Who is behind an address, and whether the device blocks it. Each address is looked for once, since a store
/// holds thousands of calls of the same people.
///
/// Errors: none; who is not found has no name.
/// Threads: one thread.
class PDXCallLogNames {
 public:
  struct Known {
    std::string name;  ///< "" when no source knows the address.
    bool isBlocked = false;
  };

  /// Local copies; need not exist.
  PDXCallLogNames(const std::string& contactsDbPath, const std::string& mobileSMSPlistPath)
      : preferences_(PDXMobileSMSPlistReader::readerWithPlistPathAndContactsDatabasePath(mobileSMSPlistPath,
                                                                                         contactsDbPath)) {}

  /// Valid as long as this object.
  const Known& of(const std::string& address);

 private:
  Known found_(const std::string& address);

  PDXMobileSMSPlistReader preferences_;
  std::unordered_map<std::string, Known> known_;
};
