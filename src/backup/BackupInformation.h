#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Date.h"
#include "platform/PropertyList.h"

/// What a backup says of itself, readable without a password.
/// Sources: "Info.plist", "Manifest.plist" and "Status.plist" in the backup folder; any of them, and any key,
/// may be missing.
class PDXBackupInformation {
 public:
  /// Of the backup with that identifier, in the current backup's folder.
  explicit PDXBackupInformation(const std::string& deviceId);

  /// Of the backup in that folder.
  static PDXBackupInformation ofFolder(const std::string& folder);

  /// Whether a folder looks like a backup: it holds a manifest or one of the lists above.
  static bool isBackupFolder(const std::string& folder);

  /// The backup in which a path lies or would lie, itself when it is one; "" when it lies in none. Where
  /// people put files one list alone may be anything: here a backup has a manifest and a list.
  static std::string backupAround(const std::string& path);

  /// Manifest.plist: IsEncrypted.
  bool IsEncrypted() const { return isEncrypted_; }

  /// The device's system version, e.g. "17.4"; "" when unknown. Info.plist: Product Version, or else
  /// Manifest.plist: Lockdown, ProductVersion.
  const std::string& Version() const { return version_; }

  /// "" when unknown. Info.plist: Device Name or Display Name, or else Manifest.plist: Lockdown, DeviceName.
  const std::string& deviceName() const { return deviceName_; }

  /// E.g. "iPhone15,2"; "" when unknown. Info.plist: Product Type, or else Manifest.plist: Lockdown.
  const std::string& productType() const { return productType_; }

  /// Upper-case as the device writes it, or the folder's name. Info.plist: Unique Identifier.
  const std::string& identifier() const { return identifier_; }

  /// Which device it is, whatever the folder is called. Info.plist: Unique Identifier, or else
  /// Manifest.plist: Lockdown, UniqueDeviceID, or else the folder's name without the date that a kept backup
  /// has after it, e.g. "-20230101-120000". Letters of either case mean the same.
  const std::string& deviceIdentifier() const { return deviceIdentifier_; }

  /// Info.plist: Last Backup Date, or else Status.plist: Date.
  const std::optional<PDXDate>& lastBackupDate() const { return lastBackupDate_; }

  /// E.g. "3.3"; "" when unknown. Status.plist: Version.
  const std::string& manifestVersion() const { return manifestVersion_; }

  /// Status.plist: SnapshotState, "finished" when all is well; "" when unknown.
  const std::string& snapshotState() const { return snapshotState_; }

  /// One of the lists that is there but cannot be read.
  struct UnreadableList {
    std::string name;  ///< E.g. "Info.plist".
    std::string why;   ///< E.g. "is damaged".
  };
  const std::vector<UnreadableList>& unreadableLists() const { return unreadableLists_; }

  /// Whether the state tells that the backup was broken off before its end.
  bool isUnfinished() const { return !snapshotState_.empty() && snapshotState_ != "finished"; }

 private:
  PDXBackupInformation() = default;
  void readFolder_(const std::string& folder);
  PDXPropertyList listIn_(const std::string& folder, const char* name);

  bool isEncrypted_ = false;
  std::string version_;
  std::string deviceName_;
  std::string productType_;
  std::string identifier_;
  std::string deviceIdentifier_;
  std::optional<PDXDate> lastBackupDate_;
  std::string manifestVersion_;
  std::string snapshotState_;
  std::vector<UnreadableList> unreadableLists_;
};
