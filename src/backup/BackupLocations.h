#pragma once

#include <cstdint>
#include <string>

#include "platform/MountedVolumes.h"

/// Where backups are looked for: the system's folder, the application's own, or one on a mounted volume that
/// the user chose. Everything here is state of the process; the chosen folder is a stored preference.
/// Folders are absolute UTF-8 paths; "" means there is none. Threads: for one.
class PDXBackupLocations {
 public:
  /// 1 is the system's folder, 2 the external one, anything else the application's. 0 at start.
  static void setActiveBackupDirectoryType(std::int32_t type);
  static std::int32_t activeBackupDirectoryType();

  /// The folder that the type calls for; an external folder that is not valid gives the application's.
  static std::string activeBackupDirectory();

  /// "Lantern Byte/MobileSync/Backup" in the user's data folder, made when missing; "" when it cannot be.
  static std::string applicationBackupDirectory();

  /// "Library/Application Support/MobileSync/Backup" in the home folder; "" unless it exists.
  static std::string systemBackupDirectory();

  /// The folder of the backup being read.
  static std::string activeDeviceBackupPath();
  static void setActiveDeviceBackupPath(const std::string& path);

  /// Source: the preference "ExternalBackupDirectory".
  static std::string externalBackupDirectory();

  /// Stores the folder when it is valid. Whether it did.
  static bool setExternalBackupDirectory(const std::string& folder);

  /// Whether the stored folder is valid.
  static bool isExternalBackupDirectoryValid();

  /// Whether the folder exists and lies on a volume mounted where the system mounts what the user plugs in.
  static bool isExternalBackupDirectoryValid(const std::string& folder,
                                             const PDXMountedVolumes& volumes = PDXMountedVolumes::system());

  /// Set while a backup is being made.
  static bool isBackupInProgress();
  static void setIsBackupInProgress(bool isInProgress);
};
