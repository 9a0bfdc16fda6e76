#pragma once

#include <optional>
#include <string>
#include <vector>

/// The program that makes backups of connected devices.
struct PDXBackupTool {
  enum class Kind {
    system,         ///< Takes "--backup --target DEVICE --root FOLDER", as the one of macOS does.
    idevicebackup2  ///< Of the package libimobiledevice-utils.
  };

  std::string path;
  Kind kind = Kind::system;

  /// The program and its arguments that back up a device into a folder of the device's name below `root`.
  std::vector<std::string> commandFor(const std::string& deviceID, const std::string& root) const;

  /// The tool to use: what POCKETDEX_BACKUP_TOOL or else the preference "BackupTool" names, else the one of
  /// macOS, else "idevicebackup2" in the search path.
  /// @param why  receives, on failure, one line that says what is missing and what to do.
  static std::optional<PDXBackupTool> find(std::string& why);
};

/// A device that can be backed up.
struct PDXConnectedDevice {
  std::string deviceID;
  std::string name;  ///< "" when the device does not tell it, because it is locked, say.
};

/// The devices that are connected, as "idevice_id" tells them.
/// @param why  receives, on failure, one line that says what failed and what to do.
/// @return nothing when they cannot be listed.
std::optional<std::vector<PDXConnectedDevice>> connectedDevices(std::string& why);
