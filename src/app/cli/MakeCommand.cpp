#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <condition_variable>
#include <mutex>
#include <optional>

#include "app/cli/Command.h"
#include "app/cli/InfoText.h"
#include "app/cli/OpenedBackup.h"
#include "backup/DeviceData.h"
#include "device/BackupProgressWatcher.h"
#include "device/DeviceBackup.h"
#include "platform/Files.h"

namespace {

/// Waits for the one event of a backup, which comes from its own thread.
class CompleteEvent final : public PDXDeviceBackupDelegate {
 public:
  void OnDeviceBackupCompleteEvent(const PDXDeviceBackupCompleteArguments& arguments) override {
    const std::lock_guard guard(lock_);
    arguments_ = arguments;
    arrived_.notify_all();
  }

  PDXDeviceBackupCompleteArguments wait() {
    std::unique_lock guard(lock_);
    arrived_.wait(guard, [this] { return arguments_.has_value(); });
    return *arguments_;
  }

 private:
  std::mutex lock_;
  std::condition_variable arrived_;
  std::optional<PDXDeviceBackupCompleteArguments> arguments_;
};

/// Shows on the terminal how the backup grows.
class GrowthOnConsole final : public PDXBackupProgressWatcherDelegate {
 public:
  explicit GrowthOnConsole(PDXConsole& console) : console_(console) {}

  void backupProgressWatcherProgressUpdatedTarget(PDXBackupProgressWatcher& /*watcher*/,
                                                  std::uint64_t progress, std::uint64_t /*target*/) override {
    // Once the files move to their places the snapshot shrinks.
    most_ = std::max(most_, progress);
    console_.progressText(fmt::format("Backup: {:.1f} MB so far", static_cast<double>(most_) / 1e6));
  }

 private:
  PDXConsole& console_;
  std::uint64_t most_ = 0;
};

class MakeCommand final : public PDXCommand {
 public:
  void addOptions(CLI::App& app) override {
    app.add_option("DEVICE", deviceID_, "The device's identifier; --list tells those of connected ones");
    app.add_option("--root", root_, "Make the backup in a folder of the device's name in this one")
        ->type_name("DIR");
    app.add_flag("--list", isList_, "List the connected devices instead");
  }

  PDXExitStatus run(PDXCommandContext& context) override {
    if (isList_) return list(context.console);
    PDXDeviceBackup probe;
    if (deviceID_.empty() || deviceFolder(probe).empty()) {
      PDXConsole::error(deviceID_.empty()
                            ? "DEVICE is missing (`pocketdex make --list` lists the connected ones)"
                            : "\"" + deviceID_ +
                                  "\" is no identifier of a device (`pocketdex make --list` lists them)");
      return PDXExitStatus::usage;
    }
    const std::string around = root_.empty() ? "" : PDXBackupInformation::backupAround(root_);
    if (!around.empty()) {
      PDXConsole::error("cannot make a backup in " + root_ + ": it lies in the backup " + around +
                        ", which would change; choose another folder with --root");
      return PDXExitStatus::usage;
    }
    std::string why;
    const auto tool = PDXBackupTool::find(why);
    if (!tool) {
      PDXConsole::error("cannot make a backup: " + why);
      return PDXExitStatus::incomplete;
    }
    const std::string folder = PDXFiles::folderOf(deviceFolder(probe));
    if (!PDXFiles::makeFolders(folder)) {
      PDXConsole::error("cannot write " + folder +
                        ": it is no folder and cannot be made one; choose another with --root");
      return PDXExitStatus::unwritable;
    }
    return make(context, *tool);
  }

 private:
  static PDXExitStatus list(const PDXConsole& console) {
    std::string why;
    const auto devices = connectedDevices(why);
    if (!devices) {
      PDXConsole::error(why);
      return PDXExitStatus::incomplete;
    }
    for (const PDXConnectedDevice& device : *devices)
      console.line(device.deviceID + (device.name.empty() ? "" : "  " + device.name));
    if (devices->empty()) console.note("No device is connected, or none trusts this computer");
    return PDXExitStatus::done;
  }

  std::string deviceFolder(PDXDeviceBackup& backup) const {
    if (!root_.empty()) backup.setBackupRoot(PDXFiles::absolute(root_));
    return backup.deviceFolderFor(deviceID_);
  }

  PDXExitStatus make(PDXCommandContext& context, const PDXBackupTool& tool) {
    CompleteEvent event;
    PDXDeviceBackup backup(tool);
    backup.setDelegate(&event);
    const std::string folder = deviceFolder(backup);
    GrowthOnConsole growth(context.console);
    PDXBackupProgressWatcher watcher;
    watcher.setDelegate(&growth);
    context.console.note("Making a backup of " + deviceID_ + " in " + folder +
                         "; unlock the device and leave it connected");
    std::fflush(stdout);
    watcher.startWithBackupDirectoryTarget(folder, PDXBackupProgressWatcher::kUnknownTarget);
    backup.PerformBackupForDeviceID(deviceID_);
    const std::stop_callback stopBackup(context.stop, [&backup] { backup.stop(); });
    const PDXDeviceBackupCompleteArguments ended = event.wait();
    watcher.backupEnded();
    watcher.stopAndWait();
    context.console.endProgress();
    return ended.successfull ? show(context.console, folder) : saysFailure(ended, tool, folder);
  }

  static PDXExitStatus show(const PDXConsole& console, const std::string& folder) {
    PDXExitStatus status = PDXExitStatus::done;
    const auto found = PDXOpenedBackup::find(folder, status);
    if (!found) return status;
    const auto deviceData = found->openForOverview();
    found->warnOfState();
    printInfoText(console, *found, *deviceData);
    return PDXExitStatus::done;
  }

  PDXExitStatus saysFailure(const PDXDeviceBackupCompleteArguments& ended, const PDXBackupTool& tool,
                            const std::string& folder) const {
    const std::string rest = ended.leftUnfinished ? "; " + folder + " holds no whole backup" : "";
    // That it was stopped is said for every command.
    if (ended.failure != PDXBackupFailure::stopped || ended.leftUnfinished)
      PDXConsole::error("cannot back up " + deviceID_ + ": " + reason(ended, tool, folder) + rest);
    switch (ended.failure) {
      case PDXBackupFailure::diskFull:
      case PDXBackupFailure::unwritable:
        return PDXExitStatus::unwritable;
      case PDXBackupFailure::stopped:
        return PDXExitStatus::interrupted;
      default:
        return PDXExitStatus::incomplete;
    }
  }

  static std::string reason(const PDXDeviceBackupCompleteArguments& ended, const PDXBackupTool& tool,
                            const std::string& folder) {
    switch (ended.failure) {
      case PDXBackupFailure::locked:
        return "the device is locked; unlock it, leave it unlocked and try again";
      case PDXBackupFailure::pairingRefused:
        return "the device does not trust this computer; unlock it, answer \"Trust\" there and try again";
      case PDXBackupFailure::diskFull:
        return "the disk of " + PDXFiles::folderOf(folder) +
               " is full; make room there, or choose another folder with --root";
      case PDXBackupFailure::deviceGone:
        return "the device is not connected, or was unplugged; connect it and try again";
      case PDXBackupFailure::toolMissing:
        return tool.path + " cannot be started (" + ended.why +
               "); correct POCKETDEX_BACKUP_TOOL or install it";
      case PDXBackupFailure::toolKilled:
        return tool.path + " was ended by " + ended.why + "; try again";
      case PDXBackupFailure::timedOut:
        return "its files were not moved to their places in time; look whether the tool still runs, and try "
               "again";
      case PDXBackupFailure::incomplete:
        return tool.path + " ended without a whole backup; try again";
      case PDXBackupFailure::unwritable:
        return PDXFiles::folderOf(folder) + " cannot be written (" + ended.why +
               "); choose another folder with --root";
      case PDXBackupFailure::stopped:
        return "it was stopped; the same command makes it again";
      case PDXBackupFailure::toolFailed:
      case PDXBackupFailure::none:
        break;
    }
    return tool.path + " failed (" + ended.why + "); try again, or with --verbose for all that it says";
  }

  std::string deviceID_;
  std::string root_;
  bool isList_ = false;
};

}  // namespace

std::unique_ptr<PDXCommand> makeMakeCommand() { return std::make_unique<MakeCommand>(); }
