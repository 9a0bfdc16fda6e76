#include "backup/BackupLocations.h"

#include <cstdlib>

#include "tests/support/TestFolder.h"

namespace {

struct FakeVolumes final : PDXMountedVolumes {
  std::vector<std::string> mounted;
  std::vector<std::string> paths() const override { return mounted; }
};

/// A home of the test's own.
class BackupLocations : public testing::Test {
 protected:
  BackupLocations() {
    setenv("HOME", folder_.path().c_str(), 1);
    setenv("XDG_DATA_HOME", (folder_ / "data").c_str(), 1);
    setenv("XDG_CONFIG_HOME", (folder_ / "settings").c_str(), 1);
  }
  ~BackupLocations() override { PDXBackupLocations::setActiveBackupDirectoryType(0); }

  PDXTestFolder folder_;
};

TEST_F(BackupLocations, ActiveFolderFollowsTheTypeAndFallsBack) {
  const std::string application = folder_ / "data/Lantern Byte/MobileSync/Backup";
  EXPECT_EQ(PDXBackupLocations::activeBackupDirectory(), application);
  EXPECT_TRUE(PDXFiles::isFolder(application));

  PDXBackupLocations::setActiveBackupDirectoryType(1);
  EXPECT_EQ(PDXBackupLocations::activeBackupDirectory(), "");
  const std::string system = folder_ / "Library/Application Support/MobileSync/Backup";
  PDXFiles::makeFolders(system);
  EXPECT_EQ(PDXBackupLocations::activeBackupDirectory(), system);

  PDXBackupLocations::setActiveBackupDirectoryType(2);
  EXPECT_EQ(PDXBackupLocations::activeBackupDirectory(), application) << "no external folder is stored";
  EXPECT_FALSE(PDXBackupLocations::setExternalBackupDirectory(folder_.path())) << "not on a volume";
  EXPECT_EQ(PDXBackupLocations::externalBackupDirectory(), "");
}

TEST_F(BackupLocations, ExternalFolderMustLieOnAUserVolume) {
  FakeVolumes volumes;
  const std::string inside = folder_ / "Backups";
  PDXFiles::makeFolders(inside);
  const auto isValid = [&](const std::string& folder) {
    return PDXBackupLocations::isExternalBackupDirectoryValid(folder, volumes);
  };
  volumes.mounted = {"/", folder_.path()};
  EXPECT_FALSE(isValid(inside)) << "mounted, but not where the system mounts what the user plugs in";
  volumes.mounted = {"/media/usb"};
  EXPECT_FALSE(isValid(inside)) << "on another volume";
  EXPECT_FALSE(isValid("/media/usb/not there"));
  EXPECT_FALSE(isValid(""));
}

}  // namespace
