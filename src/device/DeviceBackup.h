#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

#include "device/BackupTool.h"
#include "device/BackupToolOutput.h"
#include "platform/Date.h"
#include "platform/Process.h"

/// How making a backup ended.
struct PDXDeviceBackupCompleteArguments {
  PDXDeviceBackupCompleteArguments(bool isSuccessfull, bool isEncrypted)
      : successfull(isSuccessfull), encrypted(isEncrypted) {}

  bool successfull;
  bool encrypted;       ///< Known of a backup that was made. Manifest.plist: IsEncrypted.
  bool locked = false;  ///< The device is locked.

  /// "Device is locked.", "Snapshot relocation timed out.", "Backup does not exist." or "".
  std::string details;

  std::string deviceID;
  bool hasExistingBackup = false;  ///< There was a backup of the device before.

  /// Why there is no backup; `none` when there is.
  PDXBackupFailure failure = PDXBackupFailure::none;

  /// What a person needs to know besides: the tool's last words, its exit status or the system's reason. One
  /// line; may be empty.
  std::string why;

  /// Whether there is a folder for the device now that is not a whole backup.
  bool leftUnfinished = false;
};

/// Is told how a backup ended: once, on the backup's own thread (of `useOldBackupForDeviceID`, the caller's).
/// Not to start another backup there, nor to destroy the object.
class PDXDeviceBackupDelegate {
 public:
  virtual ~PDXDeviceBackupDelegate() = default;
  virtual void OnDeviceBackupCompleteEvent(const PDXDeviceBackupCompleteArguments& arguments) = 0;
};

/// Has the system's backup tool make a backup of a connected device.
///
/// One backup at a time. A backup that is made, or whose making failed after it had begun, is marked by
/// PDXUnfinishedMark.
/// Errors: none leave it; see the delegate's event. The log tells the steps.
/// Threads: works on one of its own. `stop` and the properties are safe on any, everything else is for one.
class PDXDeviceBackup {
 public:
  /// The tool of macOS at its place.
  PDXDeviceBackup();

  /// @param processes  what runs on this machine; must outlive the object.
  explicit PDXDeviceBackup(PDXBackupTool tool,
                           const PDXRunningProcesses& processes = PDXRunningProcesses::system());

  /// Stops a running backup, and waits for its end.
  ~PDXDeviceBackup();
  PDXDeviceBackup(const PDXDeviceBackup&) = delete;
  PDXDeviceBackup& operator=(const PDXDeviceBackup&) = delete;

  /// Makes a backup on a new thread and returns at once. When a backup tool that somebody else started is
  /// running, waits for that one's end instead and takes what it made. Does nothing while a backup is made.
  void PerformBackupForDeviceID(const std::string& deviceID);

  /// Makes none: tells at once whether there is a backup folder of the device.
  void useOldBackupForDeviceID(const std::string& deviceID);

  /// Ends a running backup as soon as the tool does, and does not wait.
  void stop();

  /// Source: Status.plist: Date. Nothing when there is none.
  std::optional<PDXDate> determineLastBackupDateForDeviceId(const std::string& deviceID) const;

  /// Removes the device's "Status.plist".
  void removeBackupStatusForDeviceID(const std::string& deviceID) const;

  static std::string AppleMobileDeviceBackupExecutablePath();

  /// Null for none. Set while no backup is made.
  void setDelegate(PDXDeviceBackupDelegate* delegate) { delegate_ = delegate; }

  /// The folder below which backups are made; "" for `PDXDeviceData::BaseBackupPath`. A leading "~" is the
  /// home folder.
  void setBackupRoot(const std::string& folder) { backupRoot_ = folder; }

  /// How long a device's files may take to get to their places when the tool has ended; ten minutes at start.
  void setSnapshotRelocationTime(std::chrono::milliseconds time) { relocationTime_ = time; }

  /// The folder that the device's backup has or would have; "" for an identifier that cannot name one.
  std::string deviceFolderFor(const std::string& deviceID) const;

  bool isBackUpInProgress() const;
  bool hasBackUpBeenPerformed() const;
  bool deviceIsAvailable() const;
  void setDeviceIsAvailable(bool isAvailable);

  /// The folder of the backup that was made or looked for last; "" before.
  std::string deviceBackUpPath() const;

  /// Of the backup that was there before; nothing when there was none.
  std::optional<PDXDate> lastBackupDate() const;

 private:
  using Arguments = PDXDeviceBackupCompleteArguments;

  void performBackup_(Arguments arguments, const std::string& root, const std::string& folder,
                      const std::stop_token& stop);
  void waitForExternalBackupToComplete_(Arguments arguments, const std::string& folder,
                                        const std::stop_token& stop);
  bool isStatusBackupRunningConfirmedForDeviceID_(const std::string& deviceID) const;
  void runTool_(Arguments& arguments, const std::string& root, const std::string& folder,
                const std::stop_token& stop);
  void waitForSnapshotRelocation_(Arguments& arguments, const std::string& folder,
                                  const std::stop_token& stop);
  void produceSuccesfullBackupEvent_(Arguments& arguments, const std::string& folder);
  void produceUnsuccessfulBackupEvent_(Arguments& arguments, PDXBackupFailure failure,
                                       const std::string& details = "") const;
  void noteExistingBackup_(Arguments& arguments, const std::string& folder);
  void markInProgress_(bool isInProgress);
  std::stop_token freshStopToken_();
  void finish_(const Arguments& arguments);
  bool pause_(std::chrono::milliseconds time, const std::stop_token& stop);

  PDXBackupTool tool_;
  const PDXRunningProcesses& processes_;
  PDXDeviceBackupDelegate* delegate_ = nullptr;
  std::string backupRoot_;
  std::chrono::milliseconds relocationTime_ = std::chrono::minutes(10);

  mutable std::mutex lock_;
  std::condition_variable_any wakeUp_;
  bool isBackUpInProgress_ = false;
  bool hasBackUpBeenPerformed_ = false;
  bool deviceIsAvailable_ = false;
  std::string deviceBackUpPath_;
  std::optional<PDXDate> lastBackupDate_;
  std::stop_source stop_;
  std::thread thread_;
};
