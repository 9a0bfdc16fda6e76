#include "samples/SampleBackup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "platform/Crypto.h"
#include "platform/PropertyList.h"
#include "platform/Sqlite.h"
#include "samples/BackupFolder.h"
#include "tests/support/TestFolder.h"

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;
using Generation = PDXSampleOptions::Generation;

constexpr const char* kMessages = "3d/3d0d7e5fb2ce288813306e4d4636395e047a3d28";
constexpr const char* kContacts = "31/31bb7ba8914766d4ba40d6dfb6113c8b614be442";

std::string written(const std::string& folder, std::uint64_t seed, std::int64_t messages) {
  return PDXSampleBackup::write({.folder = folder, .seed = seed, .messages = messages}).value_or("");
}

/// SHA-1 of every file by its path; pictures whose encoder promises no bytes count by their path alone.
std::map<std::string, std::string> contents(const std::string& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    const std::string bytes = fileText(entry.path().string());
    const bool isHeic = bytes.find("ftypheic") == 4;
    files[std::filesystem::relative(entry.path(), folder).string()] = isHeic ? "" : sha_1(bytes);
  }
  return files;
}

/// All rows of a query, columns separated by "|".
std::vector<std::string> rows(const std::string& database, const std::string& query) {
  const PDXSQLiteDatabase opened(database, PDXSQLiteAccess::immutable);
  auto statement = opened.prepare(query);
  std::vector<std::string> found;
  while (statement.step()) {
    std::string row = statement.text(0);
    for (int i = 1; i < statement.columnCount(); ++i) row += "|" + statement.text(i);
    found.push_back(row);
  }
  EXPECT_FALSE(statement.failed()) << opened.error();
  return found;
}

TEST(SampleBackup, SameSeedGivesSameBytes) {
  const PDXTestFolder folder;
  ASSERT_EQ(written(folder / "a", 7, 300), "");
  ASSERT_EQ(written(folder / "b", 7, 300), "");
  ASSERT_EQ(written(folder / "c", 8, 300), "");
  EXPECT_EQ(contents(folder / "a"), contents(folder / "b"));
  EXPECT_NE(contents(folder / "a").at(kMessages), contents(folder / "c").at(kMessages));
  EXPECT_NE(contents(folder / "a").at("Info.plist"), contents(folder / "c").at("Info.plist"));
}

TEST(SampleBackup, StoresWhatTheManifestLists) {
  const PDXTestFolder folder;
  ASSERT_EQ(written(folder / "b", 1, 200), "");
  const PDXSQLiteDatabase manifest(folder / "b/Manifest.db", PDXSQLiteAccess::immutable);
  auto row = manifest.prepare("SELECT fileID, domain, relativePath, file, flags FROM Files");
  std::vector<std::string> missing;
  while (row.step()) {
    const std::string path = row.text(2);
    EXPECT_EQ(row.text(0), sha_1(row.text(1) + "-" + path)) << path;
    const auto archive = PDXPropertyList::parse(row.blob(3));
    ASSERT_TRUE(archive) << path;
    const PDXPropertyList* object = archive->find("$objects")->at(1);
    const auto size = PDXFiles::sizeOf(folder / ("b/" + row.text(0).substr(0, 2) + "/" + row.text(0)));
    if (row.int64(4) != 1) {
      EXPECT_FALSE(size) << path;
    } else if (!size) {
      missing.push_back(path.substr(path.rfind('/') + 1));
    } else {
      EXPECT_EQ(*object->find("Size")->integer(), static_cast<std::int64_t>(*size)) << path;
    }
  }
  EXPECT_THAT(missing, UnorderedElementsAre("IMG_1990.jpeg", "GONE.m4a"));
}

TEST(SampleBackup, HoldsAsManyMessagesAsAsked) {
  for (const int count : {0, 50, 1000}) {
    const PDXTestFolder folder;
    const std::string backup = folder / "b";
    ASSERT_EQ(written(backup, 3, count), "") << count;
    const std::string store = PDXFiles::joined(backup, kMessages);
    EXPECT_THAT(rows(store, "PRAGMA integrity_check"), ElementsAre("ok"));
    EXPECT_THAT(rows(store, "PRAGMA foreign_key_check"), ElementsAre());
    EXPECT_THAT(rows(store, "SELECT count(*) FROM message"), ElementsAre(std::to_string(count)));
  }
}

// The triggers of the device come after the rows, so what they would have done must be there already.
TEST(SampleBackup, MessagesAgreeWithThemselves) {
  const struct {
    const char* fault;
    const char* query;
    const char* count;
  } cases[] = {
      {"attachment mark without attachment, or the other way round",
       "SELECT count(*) FROM message m WHERE cache_has_attachments <> "
       "EXISTS (SELECT 1 FROM message_attachment_join WHERE message_id = m.ROWID)",
       "0"},
      {"placeholders that are not one for each attachment",
       "SELECT count(*) FROM message m WHERE cache_has_attachments AND length(text) - "
       "length(replace(text, char(65532), '')) <> "
       "(SELECT count(*) FROM message_attachment_join WHERE message_id = m.ROWID)",
       "0"},
      {"room name that is not the conversation's",
       "SELECT count(*) FROM message m JOIN chat_message_join j ON j.message_id = m.ROWID "
       "JOIN chat c ON c.ROWID = j.chat_id WHERE m.cache_roomnames IS NOT c.room_name",
       "0"},
      {"date that differs in the join",
       "SELECT count(*) FROM message m JOIN chat_message_join j ON j.message_id = m.ROWID "
       "WHERE m.date <> j.message_date",
       "0"},
      {"conversation without a message",
       "SELECT count(*) FROM chat WHERE ROWID NOT IN (SELECT chat_id FROM chat_message_join)", "0"},
      {"message in no conversation",
       "SELECT count(*) FROM message WHERE ROWID NOT IN (SELECT message_id FROM chat_message_join) "
       "AND ROWID NOT IN (SELECT message_id FROM chat_recoverable_message_join)",
       "1"},
      {"message that says nothing and is no event of a group",
       "SELECT count(*) FROM message WHERE text IS NULL AND attributedBody IS NULL AND item_type = 0", "0"},
      {"attributed body from before there were any",
       "SELECT count(*) FROM message WHERE attributedBody IS NOT NULL AND date < 1000000000", "0"},
      {"recent texts that are not in the attributed body alone, beyond an eighth",
       "SELECT sum(text IS NULL) * 8 >= count(*) * 7 - 16 FROM message WHERE date >= 668563200000000000",
       "1"},
      {"message of the future", "SELECT count(*) FROM message WHERE date > 731755800000000000", "0"},
  };
  const PDXTestFolder folder;
  const std::string backup = folder / "b";
  ASSERT_EQ(written(backup, 1, 2000), "");
  const std::string store = PDXFiles::joined(backup, kMessages);
  for (const auto& c : cases) EXPECT_THAT(rows(store, c.query), ElementsAre(c.count)) << c.fault;
  // A card's last label is in use nowhere, so that nobody misses it where lists are read one short.
  EXPECT_THAT(
      rows(PDXFiles::joined(backup, kContacts),
           "SELECT count(*) FROM ABMultiValue WHERE label = (SELECT max(ROWID) FROM ABMultiValueLabel)"),
      ElementsAre("0"));
}

TEST(SampleBackup, LeavesFullFoldersAlone) {
  const PDXTestFolder folder;
  folder.write("b/letter.txt", "Dear Ann");
  EXPECT_EQ(written(folder / "b", 1, 10), folder / "b" + " is not empty: choose a new folder");
  EXPECT_EQ(fileText(folder / "b/letter.txt"), "Dear Ann");
}

TEST(SampleBackup, LeavesNothingBehindWhenStopped) {
  const PDXTestFolder folder;
  std::stop_source stop;
  stop.request_stop();
  EXPECT_EQ(PDXSampleBackup::write({.folder = folder / "b"}, stop.get_token()), "stopped");
  EXPECT_THAT(PDXFiles::list(folder / "b"), ElementsAre());
}

TEST(SampleBackup, LegacyFormHoldsTheSameFiles) {
  const PDXTestFolder folder;
  ASSERT_EQ(written(folder / "modern", 1, 50), "");
  ASSERT_FALSE(PDXSampleBackup::write(
      {.folder = folder / "legacy", .messages = 50, .generation = Generation::legacy}));
  std::map<std::string, std::string> modern;
  for (const auto& [path, sha] : contents(folder / "modern")) {
    if (path.find('/') == 2 && sha != sha_1("")) modern[path.substr(3)] = sha;
  }
  auto legacy = contents(folder / "legacy");
  // What systems of the two forms lay out differently.
  for (const char* path : {"Library/CallHistoryDB/CallHistory.storedata", "Library/Safari/Bookmarks.db"}) {
    const std::string id = PDXSampleBackupFolder::fileId("HomeDomain", path);
    EXPECT_TRUE(modern.erase(id) == 1 && legacy.erase(id) == 1) << path;
  }
  EXPECT_EQ(
      legacy.erase(PDXSampleBackupFolder::fileId("WirelessDomain", "Library/CallHistory/call_history.db")),
      1U);
  for (const char* name : {"Info.plist", "Status.plist", "Manifest.plist", "Manifest.mbdb"}) {
    EXPECT_EQ(legacy.erase(name), 1U) << name;
  }
  EXPECT_EQ(legacy, modern);
  const auto version = [&](const char* list) {
    return PDXPropertyList::parseFile(PDXFiles::joined(folder / "legacy", list))->text("Version");
  };
  EXPECT_EQ(version("Status.plist"), "2.4");
  EXPECT_EQ(version("Manifest.plist"), "9.1");
}

TEST(SampleBackupFolder, WritesLegacyRecords) {
  const PDXTestFolder folder;
  PDXSampleDevice device = PDXSampleDevice::of(Generation::legacy);
  device.backupDate = std::chrono::sys_seconds(std::chrono::seconds(0x5A015181));
  PDXSampleBackupFolder backup({.folder = folder / "b", .generation = Generation::legacy}, device);
  backup.addFile("D", "Library/SMS/Attachments/é", "12345");
  backup.addLink("D", "l", "to");
  backup.addFolder("D", "");
  ASSERT_TRUE(backup.finish()) << backup.error();
  std::string hex;
  for (const char each : fileText(folder / "b/Manifest.mbdb")) {
    for (const int shift : {4, 0}) hex += "0123456789ABCDEF"[each >> shift & 15];
  }
  std::string expected =
      "6D6264620500"
      // A file: its texts, mode, inode, user and group, three times, size, class and properties.
      "000144 001A4C6962726172792F534D532F4174746163686D656E74732FC3A9 FFFF FFFF FFFF 81A4 00000000000003E9 "
      "000001F5 000001F5 5A000001 5A000001 5A000001"
      "0000000000000005 02 01 0019636F6D2E6170706C652E6C6173747573656464617465235053 0010 "
      "0100005A000000000000000000000000"
      "000144 00016C 0002746F FFFF FFFF A1ED 00000000000003EA 000001F5 000001F5 5A000001 5A000001 5A000001"
      "0000000000000000 00 00"
      "000144 0000 FFFF FFFF FFFF 41ED 00000000000003EB 000001F5 000001F5 5A000001 5A000001 5A000001"
      "0000000000000000 00 00";
  std::erase(expected, ' ');
  EXPECT_EQ(hex, expected);
}

TEST(SampleBackupFolder, RefusesTheSameFileTwice) {
  const PDXTestFolder folder;
  PDXSampleBackupFolder backup(folder / "b");
  backup.addFile("HomeDomain", "Library/a", "1");
  backup.addFile("HomeDomain", "Library/a", "2");
  EXPECT_FALSE(backup.finish());
  EXPECT_EQ(backup.error(), "HomeDomain-Library/a was added twice");
}

}  // namespace
