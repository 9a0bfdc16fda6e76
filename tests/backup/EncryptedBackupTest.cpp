#include <tuple>

#include "backup/BackupNavigationMbdb.h"
#include "backup/BinaryManifest.h"
#include "backup/DeviceData.h"
#include "platform/Log.h"
#include "samples/BackupFolder.h"
#include "tests/support/TestFolder.h"

namespace {

using Generation = PDXSampleOptions::Generation;
using Outcome = PDXFiles::CopyResult::Outcome;

constexpr const char* kSpringboard = "Library/Preferences/com.apple.springboard.plist";

std::unique_ptr<PDXDeviceData> opened(const std::string& path) {
  PDXDeviceData::setCustomBackupPath(PDXFiles::folderOf(path));
  return std::make_unique<PDXDeviceData>(path.substr(path.rfind('/') + 1));
}

class EncryptedBackup : public testing::Test {
 protected:
  /// A small backup of that form in the folder of its name.
  std::string layDown(const std::string& name, PDXSampleOptions options = {}) {
    options.folder = folder_ / name;
    if (!options.password) options.password = "right";
    options.rounds = 2;
    PDXSampleBackupFolder backup(options);
    backup.addFile("HomeDomain", "Library/SMS/sms.db", std::string_view("messages"));
    backup.addFile("HomeDomain", kSpringboard, std::string_view("home"));
    for (const std::size_t size : {15U, 16U, 300'000U}) {
      backup.addFile("MediaDomain", std::to_string(size), std::string(size, 'x'));
    }
    stored_ = backup.storedPath("HomeDomain", "Library/SMS/sms.db");
    EXPECT_TRUE(backup.finish()) << backup.error();
    return options.folder;
  }

  std::string messagesOf(PDXDeviceData& device) {
    return fileText(device.GetFilesByFeatureType(PDXFeature::Messages));
  }

  PDXTestFolder folder_;
  std::string stored_;  ///< Where the backup laid down last keeps its messages.
};

TEST_F(EncryptedBackup, EveryFormOpensWithItsPassword) {
  const struct {
    const char* name;
    PDXSampleOptions options;
    bool tellsWrong;  ///< Whether the springboard's file tells a wrong password.
  } cases[] = {
      {"two stages", {}, true},
      {"one stage", {.folder = "", .singleStage = true}, true},
      {"plain manifest", {.folder = "", .plainManifest = true}, true},
      {"enciphered metadata", {.folder = "", .enciphersAttributes = true}, true},
      {"older manifest", {.folder = "", .generation = Generation::legacy}, false},
  };
  for (const auto& [name, options, tellsWrong] : cases) {
    SCOPED_TRACE(name);
    const auto device = opened(layDown(name, options));
    EXPECT_EQ(device->unlock("").unlocking, PDXUnlocking::noPassword);
    EXPECT_EQ(device->unlock("wrong").unlocking, PDXUnlocking::wrongPassword);
    EXPECT_EQ(device->IsPasswordCorrect("wrong"), !tellsWrong);
    EXPECT_EQ(device->unlock("right").unlocking, PDXUnlocking::opened);
    EXPECT_EQ(device->IsPasswordCorrect("right"), name != std::string("plain manifest"))
        << "whose manifest the lookup of an encrypted backup does not look into";

    const std::string messages = messagesOf(*device);
    EXPECT_EQ(messages, "messages" + std::string(8, '\x08') + std::string(16, '\0')) << "padding, then zeros";
    EXPECT_EQ(device->domainNames()->size(), 2U);
    for (const std::size_t size : {15U, 16U, 300'000U}) {
      ASSERT_TRUE(
          device->copyOfFileByRelativePathInDomain(std::to_string(size), "MediaDomain", folder_ / "copy"));
      EXPECT_TRUE(fileText(folder_ / "copy") == std::string(size, 'x')) << size;
    }
    const bool hasEnciphered = !options.plainManifest && options.generation == Generation::modern;
    EXPECT_EQ(PDXFiles::exists(folder_ / (std::string(name) + "/Manifest_d.db")), hasEnciphered);
  }
}

TEST_F(EncryptedBackup, AWrongPasswordDestroysNothing) {
  const std::string backup = layDown("phone");
  opened(backup)->unlock("right");
  {
    const auto device = opened(backup);
    device->unlock("right");
    messagesOf(*device);
  }
  const std::string manifest = fileText(backup + "/Manifest_d.db");
  EXPECT_TRUE(manifest.starts_with("SQLite format 3"));
  const auto device = opened(backup);
  device->unlock("wrong");
  EXPECT_EQ(messagesOf(*device), "");
  EXPECT_FALSE(device->IsPasswordCorrect(""));
  EXPECT_TRUE(fileText(backup + "/Manifest_d.db") == manifest);
}

TEST_F(EncryptedBackup, FolderThatIsNotToBeWrittenStaysAsItIs) {
  const std::string backup = layDown("phone");
  const auto before = PDXFiles::list(backup);
  const auto device = opened(backup);
  device->setReadOnly(true);
  device->unlock("right");
  EXPECT_TRUE(messagesOf(*device).starts_with("messages"));
  EXPECT_EQ(PDXFiles::list(backup), before);

  // A copy from a system whose names know no case, and one that is no database.
  folder_.write("phone/manifest_d.db", "stale");
  folder_.write("phone/Manifest_d.db", "stale");
  const auto other = opened(backup);
  other->unlock("right");
  EXPECT_TRUE(messagesOf(*other).starts_with("messages"));
  EXPECT_EQ(fileText(folder_ / "phone/manifest_d.db"), "stale");
  EXPECT_TRUE(fileText(folder_ / "phone/Manifest_d.db").starts_with("SQLite format 3"))
      << "the bad copy is replaced";
  EXPECT_EQ(PDXFiles::list(backup).size(), before.size() + 2) << "and nothing else was made";
}

TEST_F(EncryptedBackup, SaysWhyThereIsNoManifest) {
  const std::string backup = layDown("phone");
  std::string said;
  const auto before = PDXLog::listen([&said](const PDXProblem& problem) {
    if (problem.where.ends_with("phone/Manifest.db")) said += problem.why + ";";
  });
  const std::string whole = fileText(backup + "/Manifest.db");
  for (const std::string& bytes : {whole.substr(16), whole.substr(0, 100), std::string()}) {
    folder_.write("phone/Manifest.db", bytes);
    const auto device = opened(backup);
    device->unlock("wrong");
    device->domainNames();
    EXPECT_FALSE(PDXFiles::exists(backup + "/Manifest_d.db"));
    device->unlock("right");
    device->domainNames();
  }
  PDXLog::listen(before);
  EXPECT_EQ(said,
            "it is damaged: deciphered, it is no database;"
            "it was cut off: its size is no whole number of cipher blocks;"
            "it is damaged: deciphered, it is no database;");
}

TEST_F(EncryptedBackup, TwoBackupsDoNotShareAKey) {
  const std::string first = layDown("first", {.folder = "", .seed = 1, .password = "one"});
  const std::string second = layDown("second", {.folder = "", .seed = 2, .password = "two"});
  for (const auto& [path, password, other] :
       {std::tuple(first, "one", "two"), std::tuple(second, "two", "one"), std::tuple(first, "one", "two")}) {
    const auto device = opened(path);
    EXPECT_EQ(device->unlock(other).unlocking, PDXUnlocking::wrongPassword);
    EXPECT_EQ(device->unlock(password).unlocking, PDXUnlocking::opened);
    EXPECT_TRUE(messagesOf(*device).starts_with("messages"));
  }
}

TEST_F(EncryptedBackup, DamagedFilesCostThemselvesOnly) {
  const std::string backup = layDown("phone");
  const std::string whole = fileText(stored_);
  const auto outcome = [&](const std::string& stored) {
    folder_.write(stored_.substr(folder_.path().size() + 1), stored);
    const auto device = opened(backup);
    device->unlock("right");
    EXPECT_TRUE(device->copyOfFileByRelativePathInDomain("16", "MediaDomain", folder_ / "other"));
    return device->copyOfFileByRelativePathInDomain("Library/SMS/sms.db", "HomeDomain", folder_ / "copy");
  };
  const auto cut = outcome(whole.substr(0, 9));
  EXPECT_EQ(cut.outcome, Outcome::readFailed);
  EXPECT_EQ(cut.why, "it was cut off: its size is no whole number of cipher blocks");
  EXPECT_TRUE(outcome(whole + whole)) << "without padding at its end";
  EXPECT_EQ(fileText(folder_ / "copy").size(), 2 * whole.size()) << "nothing is taken off";
  EXPECT_TRUE(outcome(""));
  EXPECT_EQ(fileText(folder_ / "copy"), "");
}

/// Writes a binary manifest, record by record.
class Mbdb {
 public:
  Mbdb& text(const std::string& text) {
    bytes_ += static_cast<char>(text.size() >> 8);
    bytes_ += static_cast<char>(text.size());
    bytes_ += text;
    return *this;
  }
  Mbdb& none() { return raw("\xFF\xFF"); }
  Mbdb& raw(const std::string& bytes) {
    bytes_ += bytes;
    return *this;
  }
  /// The fixed fields of a file, its class and its count of properties.
  Mbdb& rest(char properties = 0) {
    return raw(std::string("\x81\xA4", 2) + std::string(35, '\0') + '\7' + '\4' + properties);
  }
  Mbdb& file(const std::string& path, const std::string& key = "") {
    text("D").text(path).none().none();
    return (key.empty() ? none() : text(key)).rest();
  }
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_ = std::string("mbdb\5\0", 6);
};

TEST(BinaryManifest, ReadsWhatIsThere) {
  const auto listed = [](const std::string& manifest) {
    PDXBinaryManifest records(viewOfText(manifest));
    std::string text;
    while (const auto record = records.next()) {
      text += record->path + (record->isLink ? " link" : "") + " " + std::to_string(record->size) + " " +
              std::to_string(record->encryptionKey.size()) + ", ";
    }
    return text + (records.isCut() ? "cut" : "");
  };
  const std::string longName(40'000, 'n');
  const std::string good = Mbdb().file("a").bytes();
  EXPECT_EQ(listed(good), "a 7 0, ");
  EXPECT_EQ(listed(Mbdb().file("a", "").file("b", "key").bytes()), "a 7 0, b 7 3, ");
  EXPECT_EQ(listed(Mbdb().text("D").none().none().none().none().rest().file("b").bytes()), " 0 0, b 7 0, ");
  EXPECT_EQ(listed(Mbdb().text("D").text("l").text("to").none().none().rest().bytes()), "l link 7 0, ");
  EXPECT_EQ(
      listed(
          Mbdb().text("D").text("p").none().text("hash").none().rest(1).text("n").none().file("b").bytes()),
      "p 7 0, b 7 0, ");
  EXPECT_EQ(listed(Mbdb().text("D").text("p").none().none().none().rest(2).text("n").bytes()), "p 7 0, cut")
      << "fewer properties than counted";
  EXPECT_EQ(listed(Mbdb().file(longName).bytes()), longName + " 7 0, ");
  EXPECT_EQ(listed(good + good.substr(6, 20)), "a 7 0, cut");
  EXPECT_EQ(listed(good + std::string("\0\x30only", 6)), "a 7 0, cut") << "ends in mid-text";
  EXPECT_EQ(listed(""), "cut");
  EXPECT_TRUE(listed(std::string(5000, '\xFF')).ends_with("cut"));
}

TEST(BinaryManifest, CacheHoldsStoredFilesOnce) {
  const PDXTestFolder folder;
  const std::string identifier = PDXSampleBackupFolder::fileId("D", "a");
  folder.write("b/Manifest.mbdb", Mbdb().file("a", "key").file("not stored").file("o'b").bytes());
  folder.write("b/" + identifier, "x");
  folder.write("b/" + PDXSampleBackupFolder::fileId("D", "o'b"), "x");
  for (int time = 0; time < 2; ++time) {
    PDXBackupNavigationMbdb navigator(folder / "b", "device");
    EXPECT_EQ(navigator.GetAllFiles()->size(), 2U);
    EXPECT_EQ(navigator.listedFiles()->size(), 3U);
    EXPECT_EQ(navigator.GetFileByRelativePathInDomain("a", "D")->fileId, identifier);
    EXPECT_FALSE(navigator.GetFileByRelativePathInDomain("o'b", "D")) << "a quote";
    EXPECT_TRUE(navigator.findFile("o'b", "D"));
    EXPECT_EQ(navigator.GetEncryptionKeyForFileId(identifier).size(), 3U);
    EXPECT_EQ(navigator.GetSubFolderContentInDomain("", "D")->size(), 2U);
    EXPECT_EQ(*navigator.GetAllDomainNames(), std::vector<std::string>{"D"});
  }
  EXPECT_EQ(PDXFiles::list(folder / "Pocketdex"), std::vector<std::string>{"device.db"});
  EXPECT_FALSE(PDXBackupNavigationMbdb(folder / "elsewhere", "device").GetAllFiles());
}

}  // namespace
