#pragma once

#include <string>

/// Writes what a backup says of its device, for programs that list backups.
class PDXBackupInfoWriter {
 public:
  /// Writes an "Info.plist" with these values and the current date. What an older one says besides is kept.
  /// @param path  of the list.
  /// @return false when it cannot be written; an older one is as it was then.
  static bool GeneratePlistAtPathWithDeviceIDWithNameWithModelWithVersion(const std::string& path,
                                                                          const std::string& deviceID,
                                                                          const std::string& name,
                                                                          const std::string& model,
                                                                          const std::string& version);
};
