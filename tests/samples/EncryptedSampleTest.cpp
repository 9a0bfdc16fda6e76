#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>
#include <set>
#include <sstream>

#include "platform/Crypto.h"
#include "platform/PropertyList.h"
#include "platform/Sqlite.h"
#include "samples/BackupFolder.h"
#include "tests/support/TestFolder.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Generation = PDXSampleOptions::Generation;

constexpr const char* kPassword = "Salt & p3pper's";

/// A backup with files of every length that matters to the cipher.
class EncryptedSample : public testing::Test {
 protected:
  /// @return  the SHA-1 of each stored file by its identifier.
  std::map<std::string, std::string> layDown(const PDXSampleOptions& options) const {
    PDXSampleBackupFolder backup(options);
    std::map<std::string, std::string> files;
    const auto remember = [&](const char* domain, const std::string& path, const std::string& bytes) {
      files[PDXSampleBackupFolder::fileId(domain, path)] = sha_1(bytes);
    };
    for (const std::size_t size : {0U, 1U, 15U, 16U, 17U, 1U << 20U, (1U << 20U) + 1}) {
      const std::string bytes(size, 'x');
      const std::string path = "Documents/" + std::to_string(size);
      const bool isStored = size > 0 || options.generation == Generation::modern;
      if (isStored) remember("MediaDomain", path, bytes);
      backup.addFile("MediaDomain", path, bytes);
    }
    for (int i = 0; i < 24; ++i) {
      const std::string path = "Media/DCIM/100APPLE/IMG_" + std::to_string(i) + ".JPG";
      remember("CameraRollDomain", path, path);
      backup.addFile("CameraRollDomain", path, path);
    }
    remember("HomeDomain", "Library/copied", "copied");
    remember("HomeDomain", "Library/taken", "taken");
    backup.addFileFrom("HomeDomain", "Library/copied", folder_.write("copied", "copied"));
    backup.takeFile("HomeDomain", "Library/taken", folder_.write("taken", "taken"));
    backup.addMissingFile("HomeDomain", "Library/lost", 7);
    backup.addLink("HomeDomain", "Library/link", "copied");
    backup.addFoldersAbove();
    EXPECT_TRUE(backup.finish()) << backup.error();
    return files;
  }

  /// What openssl makes of the stored files; none when the password is wrong.
  std::map<std::string, std::string> deciphered(const std::string& backup, const std::string& password) {
    classes_.clear();
    const std::string line =
        "python3 '" PDX_DECIPHER "' '" + backup + "' \"" + password + "\" 2>'" + folder_ / "errors" + "'";
    std::string output;
    FILE* pipe = popen(line.c_str(), "r");
    std::array<char, 4096> buffer{};
    for (std::size_t got = 0; (got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
      output.append(buffer.data(), got);
    }
    pclose(pipe);
    std::istringstream lines(output);
    std::map<std::string, std::string> files;
    std::string identifier;
    for (int protectionClass = 0; lines >> protectionClass >> identifier >> files[identifier];) {
      classes_.insert(protectionClass);
    }
    files.erase("");
    return files;
  }

  PDXTestFolder folder_;
  std::set<int> classes_;  ///< Those of the files that were deciphered last.
};

TEST_F(EncryptedSample, OpensslDeciphersEveryFile) {
  const PDXSampleOptions cases[] = {
      {.folder = folder_ / "two stages", .password = kPassword, .rounds = 20},
      {.folder = folder_ / "one stage", .password = kPassword, .singleStage = true},
      {.folder = folder_ / "plain manifest", .password = kPassword, .rounds = 3, .plainManifest = true},
      {.folder = folder_ / "metadata", .password = kPassword, .rounds = 3, .enciphersAttributes = true},
      {.folder = folder_ / "legacy", .password = kPassword, .generation = Generation::legacy},
  };
  for (const PDXSampleOptions& options : cases) {
    const auto files = layDown(options);
    EXPECT_EQ(deciphered(options.folder, kPassword), files) << options.folder << "\n"
                                                            << fileText(folder_ / "errors");
    EXPECT_THAT(classes_, ElementsAre(1, 2, 3, 4)) << options.folder;
  }
  EXPECT_THAT(deciphered(folder_ / "two stages", "another"), ElementsAre());
  EXPECT_THAT(fileText(folder_ / "errors"), HasSubstr("integrity"));
}

TEST_F(EncryptedSample, SameSeedGivesSameBytes) {
  const auto allOf = [&](const char* name, std::uint64_t seed) {
    PDXSampleOptions options = {.folder = folder_ / name, .seed = seed, .password = kPassword, .rounds = 3};
    std::string all;
    for (const auto& [identifier, sha] : layDown(options)) {
      all += fileText(options.folder + "/" + identifier.substr(0, 2) + "/" + identifier);
    }
    return sha_1(all + fileText(options.folder + "/Manifest.db") +
                 fileText(options.folder + "/Manifest.plist"));
  };
  const std::string first = allOf("a", 1);
  EXPECT_EQ(allOf("b", 1), first);
  EXPECT_NE(allOf("c", 2), first);
}

// Who takes the first data of an archive for the file's key is wrong for some files, and right for others.
TEST_F(EncryptedSample, SomeFilesHaveTheirAttributesBeforeTheirKey) {
  layDown({.folder = folder_ / "b", .password = kPassword, .rounds = 3, .plainManifest = true});
  const PDXSQLiteDatabase manifest(folder_ / "b/Manifest.db", PDXSQLiteAccess::immutable);
  auto row = manifest.prepare("SELECT file FROM Files WHERE domain = 'CameraRollDomain' AND flags = 1");
  std::set<bool> isKeyFirst;
  while (row.step()) {
    const auto archive = PDXPropertyList::parse(row.blob(0));
    for (const PDXPropertyList& object : *archive->find("$objects")->array()) {
      const PDXPropertyList* data = object.find("NS.data");
      if (data == nullptr) continue;
      isKeyFirst.insert(data->data()->size() == 44);
      break;
    }
  }
  EXPECT_THAT(isKeyFirst, ElementsAre(false, true));
}

TEST_F(EncryptedSample, RefusesWhatNoDeviceMakes) {
  const std::string backup = folder_ / "b";
  const struct {
    PDXSampleOptions options;
    const char* says;
  } cases[] = {
      {{.folder = backup, .password = ""}, "password of the backup is empty"},
      {{.folder = backup, .password = "a", .rounds = 0}, "number of rounds"},
      {{.folder = backup, .password = "a", .rounds = 1'000'000'001}, "number of rounds"},
      {{.folder = backup, .enciphersAttributes = true}, "a password of ASCII"},
      {{.folder = backup, .password = "a", .generation = Generation::legacy, .enciphersAttributes = true},
       "no enciphered metadata"},
      {{.folder = backup, .password = "crème", .enciphersAttributes = true}, "a password of ASCII"},
  };
  for (const auto& [options, says] : cases) {
    PDXSampleBackupFolder folder(options);
    EXPECT_THAT(folder.error(), HasSubstr(says));
    EXPECT_FALSE(folder.finish()) << says;
  }
  EXPECT_FALSE(PDXFiles::exists(backup));
}

}  // namespace
