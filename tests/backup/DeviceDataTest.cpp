#include "backup/DeviceData.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "backup/BackupInformation.h"
#include "platform/Crypto.h"
#include "platform/Log.h"
#include "samples/BackupFolder.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

/// Opens the backup that lies at `path`.
std::unique_ptr<PDXDeviceData> opened(const std::string& path) {
  PDXDeviceData::setCustomBackupPath(PDXFiles::folderOf(path));
  return std::make_unique<PDXDeviceData>(path.substr(path.rfind('/') + 1));
}

TEST(BackupNavigation, FeatureIdentifiersFollowTheRule) {
  PDXBackupNavigation navigator;
  for (int feature = -1; feature <= 25; ++feature) {
    const auto files = navigator.GetFilesByFeatureType(feature);
    const bool isAssigned = feature >= 0 && feature <= 20 && feature != 3 && feature != 7;
    ASSERT_EQ(files.has_value(), isAssigned) << feature;
    if (!files) continue;
    ASSERT_EQ(files->size(), 3U);
    const PDXBackupFile& main = files->at(0);
    EXPECT_EQ(main.fileId, sha_1(main.domain.value_or("HomeDomain") + "-" + main.relativePath)) << feature;
    EXPECT_EQ(files->at(1).fileId, sha_1(main.relativePath + "-wal"));
    EXPECT_EQ(files->at(2).relativePath, main.relativePath + "-shm");
    EXPECT_TRUE(main.isKeyFile && !files->at(1).isKeyFile && !files->at(2).isKeyFile);
  }
  EXPECT_EQ(PDXBackupNavigationFileHash().GetFileByRelativePathInDomain("a/b", "D")->fileId, sha_1("a/bD"));
}

TEST(BackupNavigation, GenerationAndSystemComeFromTheLists) {
  const PDXTestFolder folder;
  const auto xml = [](PDXPropertyList::Dictionary entries) {
    const PDXBytes bytes = PDXPropertyList(std::move(entries)).xml();
    return std::string(bytes.begin(), bytes.end());
  };
  const struct {
    const char* status;
    std::int32_t expected;
  } cases[] = {{"3.3", 3}, {"2.4", 2}, {"10", 10}, {"", 0}, {nullptr, -1}};
  for (const auto& c : cases) {
    PDXFiles::removeTree(folder / "b");
    folder.write("b/Info.plist", xml({{"Product Version", "12.4.1"}}));
    if (c.status != nullptr) folder.write("b/Status.plist", xml({{"Version", c.status}}));
    const auto device = opened(folder / "b");
    EXPECT_EQ(device->backupTypeVersion(), c.expected);
    EXPECT_EQ(device->systemVersion(), 12);
    EXPECT_EQ(device->iOSVersion(), 0);
  }
  folder.write("b/Status.plist", "no list");
  folder.write("b/Info.plist", "");
  EXPECT_EQ(opened(folder / "b")->backupTypeVersion(), -1);
  EXPECT_FALSE(PDXDeviceData::GetBackupInfoDictionary());
}

/// A small backup to open.
class DeviceData : public testing::Test {
 protected:
  DeviceData() {
    PDXSampleBackupFolder backup(folder_ / "phone");
    backup.addFile("HomeDomain", "Library/SMS/sms.db", std::string_view("messages"));
    backup.addFile("HomeDomain", "Library/Preferences/com.apple.springboard.plist", std::string_view("home"));
    backup.addFile("MediaDomain", "Ann's photo.jpg", std::string_view("picture"));
    backup.addMissingFile("MediaDomain", "gone.jpg");
    stored_ = backup.storedPath("HomeDomain", "Library/SMS/sms.db");
    EXPECT_TRUE(backup.finish()) << backup.error();
  }

  PDXTestFolder folder_;
  std::string stored_;
};

TEST_F(DeviceData, ExtractsFromBothPlacesAndAnswersAsNamed) {
  const auto device = opened(folder_ / "phone");
  const std::string copy = device->GetFilesByFeatureType(PDXFeature::Messages);
  EXPECT_EQ(copy, PDXFiles::joined(PDXDeviceData::TemporaryExtractPath(), "sms.db"));
  EXPECT_EQ(fileText(copy), "messages");
  EXPECT_EQ(device->LocateFileByRelativePathInDomain("Library/SMS/sms.db", "HomeDomain"), stored_);
  EXPECT_EQ(*device->GetFiles(), *device->GetAllDomainNames());
  EXPECT_EQ(device->QueryFilesInDomain("MediaDomain")->size(), 2U);
  EXPECT_FALSE(device->QueryFilesInDomain("NoDomain"));
  EXPECT_TRUE(device->holdsFeature(PDXFeature::Messages));
  EXPECT_FALSE(device->holdsFeature(PDXFeature::Calendar));
  EXPECT_EQ(device->GetFileByRelativePathInDomain("gone.jpg", "MediaDomain"), "");
  device->setPassword("any");
  EXPECT_TRUE(device->IsPasswordCorrect("ignored"));

  const std::string flat = folder_ / ("phone/" + stored_.substr(stored_.rfind('/') + 1));
  ASSERT_EQ(rename(stored_.c_str(), flat.c_str()), 0);
  EXPECT_EQ(fileText(device->GetFilesByFeatureType(PDXFeature::Messages)), "messages")
      << "stored beside the manifest";
}

TEST_F(DeviceData, CopiesNamesWithAQuoteStraightToTheirPlace) {
  const auto device = opened(folder_ / "phone");
  EXPECT_EQ(device->GetFileByRelativePathInDomain("Ann's photo.jpg", "MediaDomain"), "");
  EXPECT_TRUE(device->copyOfFileByRelativePathInDomain("Ann's photo.jpg", "MediaDomain", folder_ / "1.jpg"));
  EXPECT_EQ(fileText(folder_ / "1.jpg"), "picture");
  using Outcome = PDXFiles::CopyResult::Outcome;
  const auto outcome = [&](const char* path, const std::string& to) {
    return device->copyOfFileByRelativePathInDomain(path, "MediaDomain", to).outcome;
  };
  EXPECT_EQ(outcome("gone.jpg", folder_ / "2.jpg"), Outcome::noSource);
  EXPECT_EQ(outcome("never heard of.jpg", folder_ / "2.jpg"), Outcome::noSource);
  EXPECT_EQ(outcome("Ann's photo.jpg", folder_ / "no folder/2.jpg"), Outcome::writeFailed);
}

TEST_F(DeviceData, LogsOfAnotherCopyNeverStayBesideAFreshDatabase) {
  const auto device = opened(folder_ / "phone");
  const std::string scratch = PDXDeviceData::TemporaryExtractPath();
  for (const char* stale : {"sms.db-wal", "sms.db-shm"})
    folder_.write("Pocketdex/" + std::string(stale), "stale");
  const std::string copy = device->databaseOfFeature(PDXFeature::Messages);
  EXPECT_EQ(PDXFiles::list(scratch), std::vector<std::string>{"sms.db"});

  PDXSampleBackupFolder withLog(folder_ / "logged");
  withLog.addFile("HomeDomain", "Library/SMS/sms.db", std::string_view("messages"));
  withLog.addFile("HomeDomain", "Library/SMS/sms.db-wal", std::string_view("newest"));
  ASSERT_TRUE(withLog.finish());
  const auto other = opened(folder_ / "logged");
  other->GetFilesByFeatureType(PDXFeature::Messages);
  EXPECT_FALSE(PDXFiles::exists(copy + "-wal"))
      << "the lookup by number knows siblings by another identifier";
  other->databaseOfFeature(PDXFeature::Messages);
  EXPECT_EQ(fileText(copy + "-wal"), "newest");
}

TEST_F(DeviceData, ReadsADatabaseWhereItLiesOnlyIfNothingIsLost) {
  const std::string whole = fileText(PDXSampleDatabase().table("chat", "a").writeTo(folder_ / "whole.db"));
  const struct {
    const char* name;
    std::string database;
    bool hasLog;
    bool isInPlace;
  } cases[] = {
      {"whole", whole, false, true},
      {"with a log that holds newer rows", whole, true, false},
      {"cut short", whole.substr(0, whole.size() / 2), false, false},
      {"no database", "messages", false, false},
  };
  for (const auto& c : cases) {
    PDXSampleBackupFolder backup(folder_ / c.name);
    backup.addFile("HomeDomain", "Library/SMS/sms.db", std::string_view(c.database));
    if (c.hasLog) backup.addFile("HomeDomain", "Library/SMS/sms.db-wal", std::string_view("newest"));
    const std::string stored = backup.storedPath("HomeDomain", "Library/SMS/sms.db");
    ASSERT_TRUE(backup.finish());
    const auto file = opened(folder_ / c.name)->readableDatabaseOfFeature(PDXFeature::Messages);
    EXPECT_EQ(file.path == stored, c.isInPlace) << c.name;
    EXPECT_EQ(file.access == PDXSQLiteAccess::immutable, c.isInPlace) << c.name;
    EXPECT_EQ(fileText(stored), c.database) << c.name;
  }
  ASSERT_EQ(unlink(stored_.c_str()), 0);
  ASSERT_EQ(symlink((folder_ / "whole.db").c_str(), stored_.c_str()), 0);
  EXPECT_EQ(opened(folder_ / "phone")->readableDatabaseOfFeature(PDXFeature::Messages).path, "");
}

TEST_F(DeviceData, OpeningAnotherBackupForgetsTheFirst) {
  const auto device = opened(folder_ / "phone");
  const std::string copy = device->GetFilesByFeatureType(PDXFeature::Messages);
  static int forgotten = 0;  // The registration outlives this test.
  PDXDeviceData::whenAnotherOpens([] { ++forgotten; });
  opened(folder_ / "phone");
  EXPECT_EQ(forgotten, 0);
  EXPECT_TRUE(PDXFiles::exists(copy));
  PDXFiles::makeFolders(folder_ / "other");
  opened(folder_ / "other");
  EXPECT_EQ(forgotten, 1);
  EXPECT_FALSE(PDXFiles::exists(copy));
  EXPECT_EQ(PDXDeviceData::DeviceId(), "other");
  EXPECT_EQ(device->backupPath(), folder_ / "phone");
}

TEST_F(DeviceData, ReadsTheManifestAlsoWithoutAStatusList) {
  PDXFiles::remove(folder_ / "phone/Status.plist");
  const auto device = opened(folder_ / "phone");
  EXPECT_EQ(device->backupTypeVersion(), -1);
  EXPECT_EQ(device->GetFileByRelativePathInDomain("Ann photo.jpg", "MediaDomain"), "");
  EXPECT_TRUE(device->holdsFileByRelativePathInDomain("Ann's photo.jpg", "MediaDomain"));
}

TEST_F(DeviceData, NothingLeavesTheScratchFolder) {
  const PDXSQLiteDatabase manifest(folder_ / "phone/Manifest.db", PDXSQLiteAccess::create);
  const std::string identifier = stored_.substr(stored_.rfind('/') + 1);
  ASSERT_TRUE(manifest.run("INSERT INTO Files VALUES ('../../secret', 'D', 'a', 1, NULL)"));
  ASSERT_TRUE(manifest.run("UPDATE Files SET relativePath = 'x/..', domain = 'D' WHERE fileID = '" +
                           identifier + "'"));
  folder_.write("secret", "not of the backup");
  const auto device = opened(folder_ / "phone");
  EXPECT_EQ(device->GetFileByRelativePathInDomain("a", "D"), "");
  EXPECT_EQ(device->GetFileByRelativePathInDomain("x/..", "D"), "");

  const std::string linked = folder_ / ("phone/" + sha_1("MediaDomain-gone.jpg"));
  ASSERT_EQ(symlink((folder_ / "secret").c_str(), linked.c_str()), 0);
  EXPECT_EQ(device->copyOfFileByRelativePathInDomain("gone.jpg", "MediaDomain", folder_ / "1.jpg").outcome,
            PDXFiles::CopyResult::Outcome::readFailed)
      << "a link would lead out of the backup, and is not nothing either";

  const std::string scratch = PDXDeviceData::TemporaryExtractPath();
  PDXFiles::removeTree(scratch);
  PDXFiles::makeFolders(folder_ / "elsewhere");
  ASSERT_EQ(symlink((folder_ / "elsewhere").c_str(), scratch.c_str()), 0);
  EXPECT_EQ(device->GetFilesByFeatureType(PDXFeature::Messages), "") << "the scratch folder is a link";
  EXPECT_TRUE(PDXFiles::list(folder_ / "elsewhere").empty());
}

}  // namespace
