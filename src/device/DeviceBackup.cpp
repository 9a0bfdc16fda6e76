#include "device/DeviceBackup.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "backup/BackupLocations.h"
#include "backup/DeviceData.h"
#include "backup/UnfinishedMark.h"
#include "device/BackupInfoWriter.h"
#include "device/CreatedBackups.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/PropertyList.h"

namespace {

using namespace std::chrono_literals;
using Failure = PDXBackupFailure;

/// The system reports at most 16 characters of a process's name.
constexpr const char* kToolProcess = "AppleMobileBacku";

/// Set when a device's files did not get to their places in time; ends all waits for them.
std::atomic<bool> hasRelocationTimedOut = false;

void log(const std::string& text) { PDXLog::report({.what = "backup", .where = text, .why = ""}); }

std::string statusPath(const std::string& folder) { return PDXFiles::joined(folder, "Status.plist"); }

std::string snapshotPath(const std::string& folder) { return PDXFiles::joined(folder, "Snapshot"); }

std::string snapshotState(const std::string& folder) {
  const auto status = PDXPropertyList::parseFile(statusPath(folder));
  return status ? status->text("SnapshotState") : "";
}

std::optional<PDXDate> dateOfBackup(const std::string& folder) {
  const auto status = PDXPropertyList::parseFile(statusPath(folder));
  const PDXPropertyList* date = status ? status->find("Date") : nullptr;
  return date == nullptr || date->date() == nullptr ? std::nullopt : std::optional(*date->date());
}

/// Whether what the tool left can be a whole backup: its list of keys and of the device is there, and its
/// state, where it tells one, is the last.
bool isInPlace(const std::string& folder) {
  const std::string state = snapshotState(folder);
  return PDXFiles::isRegularFile(PDXFiles::joined(folder, "Manifest.plist")) &&
         (state.empty() || state == "finished");
}

std::string expandedTilde(const std::string& path) {
  if (path != "~" && !path.starts_with("~/")) return path;
  return path == "~" ? PDXFiles::home() : PDXFiles::joined(PDXFiles::home(), path.substr(2));
}

/// What lies directly in a folder, with sizes and times: a tool that was broken off before it began leaves
/// this as it was.
std::vector<std::string> contentsOf(const std::string& folder) {
  namespace fs = std::filesystem;
  std::vector<std::string> contents;
  std::error_code failed;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, failed)) {
    std::error_code ignored;
    const auto time = entry.last_write_time(ignored).time_since_epoch().count();
    const auto size = entry.is_regular_file(ignored) ? entry.file_size(ignored) : 0;
    contents.push_back(fmt::format("{} {} {}", entry.path().string(), size, time));
  }
  std::sort(contents.begin(), contents.end());
  return contents;
}

/// Marks a backup as unfinished before the tool runs, and takes the mark away when it is whole, or as it was.
class Marking {
 public:
  explicit Marking(std::string folder)
      : folder_(std::move(folder)),
        wasMarked_(PDXUnfinishedMark::isSet(folder_)),
        before_(contentsOf(folder_)),
        error_(PDXUnfinishedMark::set(folder_)) {}

  /// Why the mark could not be set; empty when it is.
  const std::string& error() const { return error_; }

  /// Whether the folder is left unfinished.
  bool end(bool isWhole) const {
    const bool isThere = PDXFiles::isFolder(folder_);
    const bool isUnfinished = !isWhole && isThere && (wasMarked_ || contentsOf(folder_) != before_);
    if (!isUnfinished) PDXUnfinishedMark::clear(folder_);
    return isUnfinished;
  }

 private:
  std::string folder_;
  bool wasMarked_;
  std::vector<std::string> before_;
  std::string error_;
};

}  // namespace

PDXDeviceBackup::PDXDeviceBackup()
    : PDXDeviceBackup(PDXBackupTool{.path = AppleMobileDeviceBackupExecutablePath()}) {}

PDXDeviceBackup::PDXDeviceBackup(PDXBackupTool tool, const PDXRunningProcesses& processes)
    : tool_(std::move(tool)), processes_(processes) {}

PDXDeviceBackup::~PDXDeviceBackup() {
  stop();
  if (thread_.joinable()) thread_.join();
}

void PDXDeviceBackup::PerformBackupForDeviceID(const std::string& deviceID) {
  if (isBackUpInProgress()) return;
  if (thread_.joinable()) thread_.join();
  markInProgress_(true);
  const std::stop_token stop = freshStopToken_();
  Arguments arguments(false, false);
  arguments.deviceID = deviceID;
  const std::string folder = deviceFolderFor(deviceID);
  if (folder.empty()) {
    produceUnsuccessfulBackupEvent_(arguments, Failure::deviceGone);
    finish_(arguments);
    return;
  }
  if (isStatusBackupRunningConfirmedForDeviceID_(deviceID)) {
    log("Waiting for current backup to complete...");
    thread_ = std::thread(
        [this, arguments, folder, stop] { waitForExternalBackupToComplete_(arguments, folder, stop); });
    return;
  }
  log("Starting a new backup...");
  thread_ = std::thread([this, arguments, folder, stop] {
    performBackup_(arguments, PDXFiles::folderOf(folder), folder, stop);
  });
}

void PDXDeviceBackup::useOldBackupForDeviceID(const std::string& deviceID) {
  if (isBackUpInProgress()) return;
  markInProgress_(true);
  Arguments arguments(false, false);
  arguments.deviceID = deviceID;
  const std::string folder = deviceFolderFor(deviceID);
  if (!folder.empty() && PDXFiles::isFolder(folder)) {
    noteExistingBackup_(arguments, folder);
    arguments.successfull = true;
  } else {
    produceUnsuccessfulBackupEvent_(arguments, Failure::incomplete, "Backup does not exist.");
  }
  finish_(arguments);
}

void PDXDeviceBackup::stop() {
  std::stop_source source;
  {
    const std::lock_guard guard(lock_);
    source = stop_;
  }
  source.request_stop();
}

std::stop_token PDXDeviceBackup::freshStopToken_() {
  const std::lock_guard guard(lock_);
  stop_ = std::stop_source();
  return stop_.get_token();
}

/// A running tool works on one backup at a time, whose device its name does not tell.
bool PDXDeviceBackup::isStatusBackupRunningConfirmedForDeviceID_(const std::string& /*deviceID*/) const {
  const auto names = processes_.names();
  return std::find(names.begin(), names.end(), kToolProcess) != names.end();
}

void PDXDeviceBackup::waitForExternalBackupToComplete_(Arguments arguments, const std::string& folder,
                                                       const std::stop_token& stop) {
  noteExistingBackup_(arguments, folder);
  while (isStatusBackupRunningConfirmedForDeviceID_(arguments.deviceID)) {
    if (!pause_(2s, stop)) break;
  }
  if (stop.stop_requested()) {
    produceUnsuccessfulBackupEvent_(arguments, Failure::stopped);
  } else if (isInPlace(folder)) {
    produceSuccesfullBackupEvent_(arguments, folder);
  } else {
    produceUnsuccessfulBackupEvent_(arguments, Failure::incomplete);
  }
  finish_(arguments);
}

void PDXDeviceBackup::performBackup_(Arguments arguments, const std::string& root, const std::string& folder,
                                     const std::stop_token& stop) {
  {
    const std::lock_guard guard(lock_);
    hasBackUpBeenPerformed_ = false;
  }
  noteExistingBackup_(arguments, folder);
  PDXFiles::makeFolders(root);
  const Marking marking(folder);
  if (marking.error().empty()) {
    runTool_(arguments, root, folder, stop);
  } else {
    produceUnsuccessfulBackupEvent_(arguments, Failure::unwritable);
    arguments.why = marking.error();
  }
  if (arguments.failure == Failure::none) waitForSnapshotRelocation_(arguments, folder, stop);
  if (arguments.failure == Failure::none && !isInPlace(folder))
    produceUnsuccessfulBackupEvent_(arguments, Failure::incomplete);
  if (arguments.failure == Failure::none) {
    PDXCreatedBackups::addBackupAtPathForApplication(folder, "Pocketdex");
    produceSuccesfullBackupEvent_(arguments, folder);
  }
  arguments.leftUnfinished = marking.end(arguments.successfull);
  finish_(arguments);
}

void PDXDeviceBackup::runTool_(Arguments& arguments, const std::string& root, const std::string& folder,
                               const std::stop_token& stop) {
  PDXBackupToolOutput output;
  const auto result = PDXProcess::run(
      tool_.commandFor(arguments.deviceID, root), [&output](std::string_view piece) { output.add(piece); },
      stop);
  if (result.succeeded()) {
    if (result.isStopped && !isInPlace(folder)) produceUnsuccessfulBackupEvent_(arguments, Failure::stopped);
    return;
  }
  if (!result.isStarted) {
    produceUnsuccessfulBackupEvent_(arguments, Failure::toolMissing);
    arguments.why = result.why;
    return;
  }
  log(output.text());
  arguments.why = output.lastLine();
  Failure failure = output.failure();
  if (failure == Failure::locked) {
    arguments.locked = true;
  } else if (result.isStopped) {
    failure = Failure::stopped;
  } else if (failure == Failure::toolFailed && result.signal != 0) {
    failure = Failure::toolKilled;
    arguments.why = fmt::format("signal {}", result.signal);
  } else if (failure == Failure::toolFailed && arguments.why.empty()) {
    arguments.why = fmt::format("its exit status is {}", result.status);
  }
  produceUnsuccessfulBackupEvent_(arguments, failure, arguments.locked ? "Device is locked." : "");
}

/// The device's files gather in "Snapshot" and are moved to their places at the end, which the tool may leave
/// to another process.
void PDXDeviceBackup::waitForSnapshotRelocation_(Arguments& arguments, const std::string& folder,
                                                 const std::stop_token& stop) {
  log("BU Complete - Waiting for SnapShot relocation to finish");
  if (!PDXFiles::isFolder(snapshotPath(folder))) return;
  hasRelocationTimedOut = false;
  const auto end = std::chrono::steady_clock::now() + relocationTime_;
  const auto isRelocated = [&folder] {
    return PDXFiles::exists(statusPath(folder)) && snapshotState(folder) == "finished" &&
           !PDXFiles::isFolder(snapshotPath(folder));
  };
  while (!isRelocated() && !hasRelocationTimedOut) {
    const auto left = end - std::chrono::steady_clock::now();
    if (left <= 0s) {
      log("Snapshot relocation timed out");
      hasRelocationTimedOut = true;
    } else if (!pause_(std::min<std::chrono::milliseconds>(
                           1s, std::chrono::ceil<std::chrono::milliseconds>(left)),
                       stop)) {
      produceUnsuccessfulBackupEvent_(arguments, Failure::stopped);
      return;
    }
  }
  if (isRelocated()) {
    log("SnapShot relocation complete.");
  } else {
    produceUnsuccessfulBackupEvent_(arguments, Failure::timedOut, "Snapshot relocation timed out.");
  }
}

void PDXDeviceBackup::produceSuccesfullBackupEvent_(Arguments& arguments, const std::string& folder) {
  const auto list = PDXPropertyList::parseFile(PDXFiles::joined(folder, "Manifest.plist"));
  const PDXPropertyList manifest = list ? *list : PDXPropertyList();
  const PDXPropertyList* lockdown = manifest.find("Lockdown");
  const PDXPropertyList device = lockdown == nullptr ? PDXPropertyList() : *lockdown;
  arguments.encrypted = manifest.flag("IsEncrypted");
  const bool isWritten = PDXBackupInfoWriter::GeneratePlistAtPathWithDeviceIDWithNameWithModelWithVersion(
      PDXFiles::joined(folder, "Info.plist"), arguments.deviceID, device.text("DeviceName"),
      device.text("ProductType"), device.text("ProductVersion"));
  if (!isWritten) log("Info.plist cannot be written in " + folder);
  arguments.successfull = true;
  arguments.locked = false;
  const std::lock_guard guard(lock_);
  hasBackUpBeenPerformed_ = true;
}

void PDXDeviceBackup::produceUnsuccessfulBackupEvent_(Arguments& arguments, PDXBackupFailure failure,
                                                      const std::string& details) const {
  arguments.successfull = false;
  arguments.failure = failure;
  arguments.details = details;
}

void PDXDeviceBackup::noteExistingBackup_(Arguments& arguments, const std::string& folder) {
  arguments.hasExistingBackup = PDXFiles::isFolder(folder);
  const auto date = dateOfBackup(folder);
  const std::lock_guard guard(lock_);
  deviceBackUpPath_ = folder;
  lastBackupDate_ = date;
}

void PDXDeviceBackup::markInProgress_(bool isInProgress) {
  PDXBackupLocations::setIsBackupInProgress(isInProgress);
  const std::lock_guard guard(lock_);
  isBackUpInProgress_ = isInProgress;
}

void PDXDeviceBackup::finish_(const Arguments& arguments) {
  markInProgress_(false);
  if (delegate_ != nullptr) delegate_->OnDeviceBackupCompleteEvent(arguments);
}

/// False when a stop was requested.
bool PDXDeviceBackup::pause_(std::chrono::milliseconds time, const std::stop_token& stop) {
  std::unique_lock guard(lock_);
  wakeUp_.wait_for(guard, stop, time, [] { return false; });
  return !stop.stop_requested();
}

std::string PDXDeviceBackup::deviceFolderFor(const std::string& deviceID) const {
  if (deviceID.empty() || deviceID.front() == '.' || deviceID.front() == '-' ||
      deviceID.find_first_of(std::string_view("/\\\0", 3)) != std::string::npos)
    return "";
  const std::string root = backupRoot_.empty() ? PDXDeviceData::BaseBackupPath() : backupRoot_;
  return root.empty() ? "" : PDXFiles::joined(expandedTilde(root), deviceID);
}

std::optional<PDXDate> PDXDeviceBackup::determineLastBackupDateForDeviceId(
    const std::string& deviceID) const {
  const std::string folder = deviceFolderFor(deviceID);
  return folder.empty() ? std::nullopt : dateOfBackup(folder);
}

void PDXDeviceBackup::removeBackupStatusForDeviceID(const std::string& deviceID) const {
  const std::string folder = deviceFolderFor(deviceID);
  if (folder.empty() || !PDXFiles::exists(statusPath(folder))) return;
  log("Removing existing status.plist...");
  PDXFiles::remove(statusPath(folder));
}

std::string PDXDeviceBackup::AppleMobileDeviceBackupExecutablePath() {
  return "/System/Library/PrivateFrameworks/MobileDevice.framework/Versions/A/AppleMobileDeviceHelper.app/"
         "Contents/Resources/AppleMobileBackup";
}

bool PDXDeviceBackup::isBackUpInProgress() const {
  const std::lock_guard guard(lock_);
  return isBackUpInProgress_;
}

bool PDXDeviceBackup::hasBackUpBeenPerformed() const {
  const std::lock_guard guard(lock_);
  return hasBackUpBeenPerformed_;
}

bool PDXDeviceBackup::deviceIsAvailable() const {
  const std::lock_guard guard(lock_);
  return deviceIsAvailable_;
}

void PDXDeviceBackup::setDeviceIsAvailable(bool isAvailable) {
  const std::lock_guard guard(lock_);
  deviceIsAvailable_ = isAvailable;
}

std::string PDXDeviceBackup::deviceBackUpPath() const {
  const std::lock_guard guard(lock_);
  return deviceBackUpPath_;
}

std::optional<PDXDate> PDXDeviceBackup::lastBackupDate() const {
  const std::lock_guard guard(lock_);
  return lastBackupDate_;
}
