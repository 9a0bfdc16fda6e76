#include "device/DeviceBackup.h"

#include <atomic>
#include <cstdlib>
#include <thread>

#include "backup/BackupInformation.h"
#include "backup/BackupLocations.h"
#include "backup/UnfinishedMark.h"
#include "device/BackupInfoWriter.h"
#include "device/CreatedBackups.h"
#include "platform/Log.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Failure = PDXBackupFailure;

/// The date that the stand-in tool writes.
const PDXDate kPlayedDate = std::chrono::sys_days(2024y / 5 / 1) + 10h;

struct FakeProcesses final : PDXRunningProcesses {
  mutable std::atomic<int> looksWithTool = 0;
  std::vector<std::string> names() const override {
    if (looksWithTool <= 0) return {"init", "AppleMobileBack", "AppleMobileBackup"};
    --looksWithTool;
    return {"init", "AppleMobileBacku"};
  }
};

class Event final : public PDXDeviceBackupDelegate {
 public:
  explicit Event(const PDXDeviceBackup& backup) : backup_(backup) {}

  void OnDeviceBackupCompleteEvent(const PDXDeviceBackupCompleteArguments& arguments) override {
    EXPECT_FALSE(backup_.isBackUpInProgress());
    EXPECT_FALSE(PDXBackupLocations::isBackupInProgress());
    const std::lock_guard guard(lock_);
    EXPECT_FALSE(arguments_.has_value()) << "one event only";
    arguments_ = arguments;
    arrived_.notify_all();
  }

  PDXDeviceBackupCompleteArguments wait() {
    std::unique_lock guard(lock_);
    arrived_.wait(guard, [this] { return arguments_.has_value(); });
    return *std::exchange(arguments_, std::nullopt);
  }

 private:
  const PDXDeviceBackup& backup_;
  std::mutex lock_;
  std::condition_variable arrived_;
  std::optional<PDXDeviceBackupCompleteArguments> arguments_;
};

class DeviceBackup : public testing::Test {
 protected:
  DeviceBackup() {
    setenv("XDG_DATA_HOME", (folder_ / "data").c_str(), 1);
    before_ = PDXLog::listen([this](const PDXProblem& problem) {
      const std::lock_guard guard(lock_);
      log_ += problem.where + "\n";
    });
    backup_.setDelegate(&event_);
    backup_.setBackupRoot(folder_ / "root");
    backup_.setSnapshotRelocationTime(20s);
  }
  ~DeviceBackup() override {
    PDXLog::listen(before_);
    unsetenv("XDG_DATA_HOME");
  }

  PDXDeviceBackupCompleteArguments play(const char* part) {
    setenv("PLAY", part, 1);
    backup_.PerformBackupForDeviceID("phone");
    return event_.wait();
  }

  std::string log() {
    const std::lock_guard guard(lock_);
    return std::exchange(log_, "");
  }

  bool looksWhole() const {
    const std::string folder = folder_ / "root/phone";
    return PDXFiles::isFolder(folder) && !PDXBackupInformation::ofFolder(folder).isUnfinished();
  }

  PDXTestFolder folder_;
  FakeProcesses processes_;
  PDXDeviceBackup backup_{{.path = PDX_BACKUP_TOOL}, processes_};
  Event event_{backup_};
  std::mutex lock_;
  std::string log_;
  PDXLog::Listener before_;
};

TEST_F(DeviceBackup, MakesAWholeBackupAndPutsItOnTheList) {
  const auto made = play("success");
  EXPECT_TRUE(made.successfull);
  EXPECT_FALSE(made.encrypted || made.locked || made.hasExistingBackup || made.leftUnfinished);
  EXPECT_EQ(made.details + made.deviceID, "phone");
  EXPECT_EQ(log(), "Starting a new backup...\nBU Complete - Waiting for SnapShot relocation to finish\n");
  EXPECT_TRUE(backup_.hasBackUpBeenPerformed());
  EXPECT_EQ(backup_.deviceBackUpPath(), folder_ / "root/phone");
  const auto information = PDXBackupInformation::ofFolder(folder_ / "root/phone");
  EXPECT_EQ(information.identifier() + "|" + information.deviceName() + "|" + information.productType() +
                "|" + information.Version(),
            "phone|Ann & Bob|iPhone15,2|17.4");
  EXPECT_LT(std::chrono::system_clock::now() - *information.lastBackupDate(), 1h);
  EXPECT_TRUE(looksWhole());

  folder_.write("root/phone/Info.plist", "<plist><dict><key>IMEI</key><string>1</string></dict></plist>");
  const auto again = play("encrypted");
  EXPECT_TRUE(again.successfull && again.encrypted && again.hasExistingBackup);
  EXPECT_EQ(backup_.lastBackupDate(), kPlayedDate);
  EXPECT_NE(fileText(folder_ / "root/phone/Info.plist").find("IMEI"), std::string::npos) << "is kept";
  const auto list = PDXCreatedBackups::all();
  ASSERT_EQ(list.size(), 1U) << "one entry for a folder";
  EXPECT_EQ(list[0].path + "|" + list[0].application, folder_ / "root/phone|Pocketdex");
  EXPECT_EQ(PDXFiles::list(folder_ / "root"), std::vector<std::string>{"phone"}) << "no mark is left";
}

TEST_F(DeviceBackup, SaysWhyThereIsNone) {
  const struct {
    const char* part;
    Failure failure;
    const char* details;
    const char* why;
    bool leavesUnfinished;
  } cases[] = {
      {"locked", Failure::locked, "Device is locked.", "ERROR: The Device is LOCKED by its owner", false},
      {"locked-number", Failure::locked, "Device is locked.", "Backup failed: MBErrorDomain/208", false},
      {"pairing", Failure::pairingRefused, "", "ERROR: Could not connect to lockdownd, error code -18",
       false},
      {"absent", Failure::deviceGone, "", "No device found with udid phone.", false},
      {"failure", Failure::toolFailed, "", "ERROR: something odd", false},
      {"silent", Failure::toolFailed, "", "its exit status is 7", false},
      {"full", Failure::diskFull, "",
       "ErrorCode 105: Insufficient free disk space on drive to back up (MBErrorDomain/105)", true},
      {"vanished", Failure::deviceGone, "", "ERROR: Could not receive from mobilebackup2 (-4)", true},
      {"signal", Failure::toolKilled, "", "signal 9", true},
      {"half", Failure::incomplete, "", "", true},
      {"headless", Failure::incomplete, "", "", true},
  };
  for (const auto& c : cases) {
    PDXFiles::removeTree(folder_ / "root");
    const auto ended = play(c.part);
    EXPECT_FALSE(ended.successfull) << c.part;
    EXPECT_EQ(ended.failure, c.failure) << c.part;
    EXPECT_EQ(ended.locked, c.failure == Failure::locked) << c.part;
    EXPECT_EQ(ended.details, c.details);
    EXPECT_EQ(ended.why, c.why);
    EXPECT_EQ(ended.leftUnfinished, c.leavesUnfinished) << c.part;
    EXPECT_FALSE(looksWhole()) << c.part;
    EXPECT_EQ(PDXUnfinishedMark::isSet(folder_ / "root/phone"), c.leavesUnfinished) << c.part;
  }
  EXPECT_FALSE(backup_.hasBackUpBeenPerformed());
  EXPECT_NE(log().find("first words\nERROR: something odd\n"), std::string::npos) << "all that it said";
  EXPECT_TRUE(PDXCreatedBackups::all().empty());
  EXPECT_TRUE(play("success").successfull) << "after all that";
  EXPECT_TRUE(looksWhole());
  EXPECT_FALSE(play("existing").leftUnfinished) << "the older backup was not touched";
  EXPECT_TRUE(looksWhole());
  EXPECT_TRUE(play("signal").leftUnfinished);
  EXPECT_FALSE(looksWhole()) << "it was begun over the older one";
  PDXDeviceBackup missing({.path = folder_ / "no-such-tool"}, processes_);
  Event event(missing);
  missing.setDelegate(&event);
  missing.setBackupRoot(folder_ / "root");
  missing.PerformBackupForDeviceID("phone");
  EXPECT_EQ(event.wait().failure, Failure::toolMissing);
}

TEST_F(DeviceBackup, WaitsUntilFilesAreInTheirPlaces) {
  const auto start = Clock::now();
  EXPECT_TRUE(play("slow").successfull);
  EXPECT_GE(Clock::now() - start, 3s);
  EXPECT_TRUE(log().ends_with("SnapShot relocation complete.\n"));
  EXPECT_FALSE(PDXFiles::exists(folder_ / "root/phone/Snapshot"));
  EXPECT_TRUE(looksWhole());

  PDXFiles::removeTree(folder_ / "root");
  backup_.setSnapshotRelocationTime(1500ms);
  const auto hanging = play("hanging");
  EXPECT_FALSE(hanging.successfull);
  EXPECT_EQ(hanging.details, "Snapshot relocation timed out.");
  EXPECT_EQ(hanging.failure, Failure::timedOut);
  EXPECT_TRUE(log().ends_with("Snapshot relocation timed out\n"));
  EXPECT_FALSE(looksWhole());
}

TEST_F(DeviceBackup, StopsTheToolAndWhatItStarted) {
  for (const char* part : {"forever", "stubborn", "hanging"}) {
    PDXFiles::removeTree(folder_ / "root");
    setenv("PLAY", part, 1);
    const auto start = Clock::now();
    backup_.PerformBackupForDeviceID("phone");
    EXPECT_TRUE(backup_.isBackUpInProgress());
    EXPECT_TRUE(PDXBackupLocations::isBackupInProgress());
    while (!PDXFiles::exists(folder_ / "root/phone/Manifest.plist")) std::this_thread::sleep_for(10ms);
    std::this_thread::sleep_for(300ms);
    backup_.stop();
    const auto ended = event_.wait();
    EXPECT_EQ(ended.failure, Failure::stopped) << part;
    EXPECT_TRUE(ended.leftUnfinished);
    EXPECT_LT(Clock::now() - start, 15s) << part;
    EXPECT_FALSE(looksWhole());
  }
}

TEST_F(DeviceBackup, ReadsAHundredMegabytesOfOutput) {
  const auto ended = play("chatty");
  EXPECT_TRUE(ended.locked);
  const std::string said = log();
  EXPECT_LT(said.size(), 1'000'000U);
  EXPECT_NE(said.find("xxx\n["), std::string::npos);
  EXPECT_NE(said.find(" bytes left out]\nyyy"), std::string::npos);
}

TEST_F(DeviceBackup, WaitsForABackupThatSomebodyElseMakes) {
  processes_.looksWithTool = 2;
  const auto start = Clock::now();
  const auto none = play("success");
  EXPECT_GE(Clock::now() - start, 2s);
  EXPECT_EQ(log(), "Waiting for current backup to complete...\n");
  EXPECT_FALSE(none.successfull) << "the tool was not started, and the other made nothing";
  EXPECT_TRUE(play("success").successfull);
  processes_.looksWithTool = 1;
  EXPECT_TRUE(play("failure").successfull) << "what the other made is taken";
}

TEST_F(DeviceBackup, UsesAnOlderBackup) {
  backup_.useOldBackupForDeviceID("phone");
  const auto none = event_.wait();
  EXPECT_FALSE(none.successfull);
  EXPECT_EQ(none.details, "Backup does not exist.");
  play("success");
  log();
  backup_.useOldBackupForDeviceID("phone");
  const auto old = event_.wait();
  EXPECT_TRUE(old.successfull && old.hasExistingBackup);
  EXPECT_EQ(backup_.determineLastBackupDateForDeviceId("phone"), kPlayedDate);
  backup_.removeBackupStatusForDeviceID("phone");
  EXPECT_EQ(log(), "Removing existing status.plist...\n");
  EXPECT_EQ(backup_.determineLastBackupDateForDeviceId("phone"), std::nullopt);
  for (const char* name : {"", "../phone", "a/b", "..", "-x"}) {
    EXPECT_EQ(backup_.deviceFolderFor(name), "");
    backup_.PerformBackupForDeviceID(name);
    EXPECT_FALSE(event_.wait().successfull) << name;
  }
  EXPECT_EQ(PDXDeviceBackup::AppleMobileDeviceBackupExecutablePath().substr(0, 50),
            "/System/Library/PrivateFrameworks/MobileDevice.fra");
}

TEST_F(DeviceBackup, DamagedListsAreBegunAnew) {
  folder_.write("data/Lantern Byte/Created Backups.json", "[{\"path\":");
  EXPECT_TRUE(PDXCreatedBackups::addBackupAtPathForApplication("/a", "Pocketdex"));
  EXPECT_EQ(PDXCreatedBackups::all().size(), 1U);
  EXPECT_EQ(fileText(PDXCreatedBackups::listPath() + ".damaged"), "[{\"path\":");
}

TEST_F(DeviceBackup, FindsTheToolThatWasChosen) {
  std::string why;
  setenv("POCKETDEX_BACKUP_TOOL", PDX_BACKUP_TOOL, 1);
  EXPECT_EQ(PDXBackupTool::find(why)->commandFor("id", "/r"),
            (std::vector<std::string>{PDX_BACKUP_TOOL, "--backup", "--target", "id", "--root", "/r"}));
  setenv("POCKETDEX_BACKUP_TOOL", "/no/such/tool", 1);
  EXPECT_FALSE(PDXBackupTool::find(why));
  EXPECT_NE(why.find("POCKETDEX_BACKUP_TOOL names \"/no/such/tool\""), std::string::npos);
  unsetenv("POCKETDEX_BACKUP_TOOL");
  const std::string path = std::getenv("PATH");
  setenv("PATH", (folder_ / "bin").c_str(), 1);
  EXPECT_FALSE(PDXBackupTool::find(why));
  EXPECT_NE(why.find("install the package libimobiledevice-utils"), std::string::npos);
  EXPECT_FALSE(connectedDevices(why));
  for (const char* name : {"idevicebackup2", "idevice_id"}) {
    const std::string script =
        folder_.write(std::string("bin/") + name,
                      "#!/bin/sh\n[ \"$1\" = --list ] && printf 'one\\ntwo\\n' && exit\n"
                      "[ \"$1\" = two ] && exit 1\necho \"Ann's phone\"\n");
    EXPECT_EQ(std::system(("/bin/chmod +x '" + script + "'").c_str()), 0);
  }
  EXPECT_EQ(PDXBackupTool::find(why)->commandFor("id", "/r"),
            (std::vector<std::string>{folder_ / "bin/idevicebackup2", "--udid", "id", "backup", "/r"}));
  std::string listed;
  const auto devices = connectedDevices(why);
  for (const auto& device : devices.value_or(std::vector<PDXConnectedDevice>()))
    listed += device.deviceID + "|" + device.name + "\n";
  setenv("PATH", path.c_str(), 1);
  EXPECT_EQ(listed, "one|Ann's phone\ntwo|\n");
}

}  // namespace
