#include <gmock/gmock.h>

#include <filesystem>

#include "app/check/BackupCheck.h"
#include "app/export/ExportReport.h"
#include "backup/DeviceData.h"
#include "samples/BackupFolder.h"
#include "tests/support/TestFolder.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kWhy = "it is a link, which a backup never contains";
constexpr const char* kDomain = "HomeDomain";
constexpr const char* kPath = "Library/SMS/sms.db";

/// A backup of which something lies elsewhere, with a link in its place. The bytes are right: only the link
/// tells that they are not the backup's.
class LinkedBackup : public testing::Test {
 protected:
  void lay(PDXSampleOptions options) {
    options.folder = folder_ / "phone";
    PDXSampleBackupFolder backup(options);
    backup.addFile(kDomain, kPath, std::string_view("SQLite format 3"));
    stored_ = backup.storedPath(kDomain, kPath).substr(options.folder.size() + 1);
    ASSERT_TRUE(backup.finish()) << backup.error();
  }

  /// Moves what has that name in the backup out of it.
  void moveOut(const std::string& name) const {
    const std::string outside = folder_ / "outside" + std::to_string(name.size());
    fs::rename(folder_ / "phone/" + name, outside);
    fs::create_symlink(outside, folder_ / "phone/" + name);
  }

  std::unique_ptr<PDXDeviceData> opened(const std::string& password) const {
    PDXDeviceData::setCustomBackupPath(folder_.path());
    auto device = std::make_unique<PDXDeviceData>("phone");
    device->setReadOnly(true);
    if (!password.empty()) device->unlock(password);
    return device;
  }

  PDXTestFolder folder_;
  std::string stored_;  ///< Below the backup.
};

TEST_F(LinkedBackup, IsReadOfNoFileBehindALink) {
  using Generation = PDXSampleOptions::Generation;
  const struct {
    const char* fault;
    Generation generation;
    const char* password;
    bool isFolder;  ///< The link stands in the place of the file's folder.
  } cases[] = {
      {"folder of a file", Generation::modern, "", true},
      {"file", Generation::modern, "", false},
      {"folder of an encrypted file", Generation::modern, "right", true},
      {"encrypted file", Generation::modern, "right", false},
      {"file beside the manifest", Generation::legacy, "", false},
      {"encrypted file beside the manifest", Generation::legacy, "right", false},
  };
  for (const auto& c : cases) {
    PDXFiles::removeTree(folder_ / "phone");
    const std::string password = c.password;
    const auto asked = password.empty() ? std::nullopt : std::optional(password);
    lay({.folder = "", .password = asked, .rounds = 3, .generation = c.generation});
    const std::string moved = c.isFolder ? stored_.substr(0, 2) : stored_;
    PDXFiles::removeTree(folder_ / "outside" + std::to_string(moved.size()));
    moveOut(moved);

    const auto device = opened(password);
    const PDXProblemCollector problems;
    EXPECT_TRUE(device->holdsFeature(PDXFeature::Messages))
        << c.fault << ": something is there, to be told of";
    EXPECT_EQ(device->readableDatabaseOfFeature(PDXFeature::Messages).path, "") << c.fault;
    ASSERT_FALSE(problems.problems().empty()) << c.fault;
    EXPECT_EQ(problems.problems()[0].why, kWhy) << c.fault;
    const auto copied = device->copyOfFileByRelativePathInDomain(kPath, kDomain, folder_ / "copy");
    EXPECT_EQ(copied.why, kWhy) << c.fault;
    EXPECT_FALSE(PDXFiles::exists(folder_ / "copy")) << c.fault;

    const auto result = PDXBackupCheck(*device, 1).run([](std::size_t, std::size_t) {}, {});
    ASSERT_FALSE(result.findings.empty()) << c.fault;
    EXPECT_EQ(result.findings[0].kind, PDXCheckFinding::Kind::unreadable) << c.fault;
    EXPECT_EQ(result.findings[0].why, kWhy) << c.fault;
    EXPECT_EQ(result.findings.size(), c.isFolder ? 2U : 1U) << c.fault << ": the folder is said once";
  }
}

TEST_F(LinkedBackup, IsReadOfNoListBehindALink) {
  const struct {
    const char* list;
    PDXCheckFinding::Kind kind;
  } cases[] = {
      {"Info.plist", PDXCheckFinding::Kind::list},          {"Status.plist", PDXCheckFinding::Kind::list},
      {"Manifest.plist", PDXCheckFinding::Kind::list},      {"Manifest.db", PDXCheckFinding::Kind::manifest},
      {"Manifest.db-wal", PDXCheckFinding::Kind::manifest},
  };
  for (const auto& c : cases) {
    PDXFiles::removeTree(folder_ / "phone");
    lay({});
    if (std::string_view(c.list).ends_with("-wal")) folder_.write("phone/Manifest.db-wal", "not a log");
    moveOut(c.list);
    const auto device = opened("");
    const auto result = PDXBackupCheck(*device, 1).run([](std::size_t, std::size_t) {}, {});
    ASSERT_FALSE(result.findings.empty()) << c.list;
    EXPECT_EQ(result.findings[0].kind, c.kind) << c.list;
    EXPECT_EQ(result.findings[0].why, kWhy) << c.list;
  }
}

TEST_F(LinkedBackup, MayBeALinkItself) {
  lay({});
  fs::rename(folder_ / "phone", folder_ / "elsewhere");
  fs::create_directory_symlink(folder_ / "elsewhere", folder_ / "phone");
  EXPECT_TRUE(opened("")->copyOfFileByRelativePathInDomain(kPath, kDomain, folder_ / "copy"));
}

}  // namespace
