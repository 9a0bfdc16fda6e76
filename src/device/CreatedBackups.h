#pragma once

#include <string>
#include <vector>

#include "platform/Date.h"

/// The list of backups that were made by an application of ours.
/// Source: "Lantern Byte/Created Backups.json" in the user's data folder: an array of objects with "path",
/// "application" and "date". One that is damaged is begun anew, and kept beside it as ".damaged".
/// Threads: safe on any.
class PDXCreatedBackups {
 public:
  struct Entry {
    std::string path;         ///< The backup's folder; absolute.
    std::string application;  ///< Which made it.
    std::string date;         ///< When, in UTC: "2024-05-01T10:00:00Z".
  };

  /// Adds a backup that was made now, in place of an older entry for the folder. False when the list cannot
  /// be written.
  static bool addBackupAtPathForApplication(const std::string& path, const std::string& application);

  /// The oldest first; empty when there are none.
  static std::vector<Entry> all();

  static std::string listPath();
};
