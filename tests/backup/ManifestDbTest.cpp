#include "backup/BackupNavigationManifestDb.h"

#include <numeric>

#include "platform/Log.h"
#include "samples/BackupFolder.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

std::string paths(const std::optional<std::vector<PDXBackupFile>>& files) {
  if (!files) return "nothing";
  std::string text;
  for (const PDXBackupFile& file : *files) text += file.domain.value_or("-") + ":" + file.relativePath + "\n";
  return text;
}

/// Names, sizes and bytes of everything directly in a folder.
std::string contents(const std::string& folder) {
  std::string text;
  for (const std::string& name : PDXFiles::list(folder)) {
    text += name + ":" + fileText(PDXFiles::joined(folder, name)) + "\n";
  }
  return text;
}

PDXSampleDatabase manifest() {
  return PDXSampleDatabase()
      .table("Files", "fileID, domain, relativePath, flags, file")
      .row("Files", "aa01", "HomeDomain", "Library", 2)
      .row("Files", "aa02", "HomeDomain", "Library/SMS", 1)
      .row("Files", "aa03", "HomeDomain", "Library/SMS/sms.db", 1, PDXBytes())
      .row("Files", "aa04", "HomeDomain", "Library/SMS2/other.db", 1, PDXBytes{1, 2, 3})
      .row("Files", "aa05", "MediaDomain", "Ann's photo.jpg", 1)
      .row("Files", "aa06", "MediaDomain", "link", 4)
      .row("Files", "", "MediaDomain", "no identifier", 1);
}

TEST(ManifestDb, ListsAndFindsByItsStatements) {
  const PDXTestFolder folder;
  manifest().writeTo(folder / "Manifest.db");
  PDXBackupNavigationManifestDb navigator(folder.path());

  EXPECT_EQ(navigator.GetFileByRelativePathInDomain("Library/SMS/sms.db", "HomeDomain")->fileId, "aa03");
  EXPECT_FALSE(navigator.GetFileByRelativePathInDomain("Library/SMS/sms.db", "MediaDomain"));
  EXPECT_FALSE(navigator.GetFileByRelativePathInDomain("no identifier", "MediaDomain"));
  EXPECT_FALSE(navigator.GetFileByRelativePathInDomain("Ann's photo.jpg", "MediaDomain")) << "a quote";
  EXPECT_EQ(navigator.findFile("Ann's photo.jpg", "MediaDomain")->fileId, "aa05");
  EXPECT_FALSE(navigator.findFile("no identifier", "MediaDomain"));

  EXPECT_EQ(paths(navigator.GetFilesByDomain("HomeDomain")),
            "HomeDomain:Library/SMS\nHomeDomain:Library/SMS/sms.db\nHomeDomain:Library/SMS2/other.db\n");
  EXPECT_EQ(paths(navigator.GetSubFolderContentInDomain("Library/SMS", "HomeDomain")),
            "HomeDomain:Library/SMS/sms.db\nHomeDomain:Library/SMS2/other.db\n");
  EXPECT_EQ(paths(navigator.GetSubFolderContentInDomain(std::nullopt, "MediaDomain")),
            "MediaDomain:Ann's photo.jpg\nMediaDomain:no identifier\n");
  EXPECT_EQ(navigator.GetAllFiles()->size(), 7U);
  EXPECT_EQ(*navigator.GetAllDomainNames(), (std::vector<std::string>{"HomeDomain", "MediaDomain"}));
}

TEST(ManifestDb, KeepsTheMetadataOfListedFiles) {
  const PDXTestFolder folder;
  PDXSampleBackupFolder backup(folder / "b");
  backup.addFile("HomeDomain", "a.txt", std::string_view("12345"));
  ASSERT_TRUE(backup.finish()) << backup.error();
  PDXBackupNavigationManifestDb navigator(folder / "b");
  const auto files = navigator.GetFilesByDomain("HomeDomain");
  ASSERT_TRUE(files && files->size() == 1);
  ASSERT_TRUE(files->front().fileAttributes);
  EXPECT_EQ(*files->front().fileAttributes->find("Size")->integer(), 5);

  manifest().writeTo(folder / "Manifest.db");
  PDXBackupNavigationManifestDb other(folder.path());
  const auto records = *other.GetFilesByDomain("HomeDomain");
  EXPECT_TRUE(std::none_of(records.begin(), records.end(), [](const auto& file) {
    return file.fileAttributes.has_value();
  })) << "empty, missing and damaged archives";
}

TEST(ManifestDb, NeverChangesTheBackupFolder) {
  const PDXTestFolder folder;
  PDXFiles::makeFolders(folder / "b");
  const std::string path = folder / "b/Manifest.db";
  for (const bool withLog : {false, true}) {
    manifest().sql("PRAGMA journal_mode=WAL").writeTo(path);
    const PDXSQLiteDatabase writer(path, PDXSQLiteAccess::create);
    ASSERT_TRUE(writer.run("INSERT INTO Files VALUES ('bb01', 'NewDomain', 'new', 1, NULL)"));
    ASSERT_TRUE(writer.run("PRAGMA wal_checkpoint(TRUNCATE)"));
    if (withLog) {
      ASSERT_TRUE(writer.run("INSERT INTO Files VALUES ('bb02', 'LogDomain', 'newer', 1, NULL)"));
    }
    PDXFiles::removeTree(folder / "copy");
    PDXFiles::makeFolders(folder / "copy");
    ASSERT_TRUE(PDXFiles::copy(path, folder / "copy/Manifest.db"));
    if (withLog) {
      ASSERT_TRUE(PDXFiles::copy(path + "-wal", folder / "copy/Manifest.db-wal"));
    }

    const std::string before = contents(folder / "copy");
    PDXBackupNavigationManifestDb navigator(folder / "copy");
    EXPECT_TRUE(navigator.findFile("new", "NewDomain"));
    EXPECT_EQ(navigator.findFile("newer", "LogDomain").has_value(), withLog);
    EXPECT_EQ(navigator.GetAllFiles()->size(), withLog ? 9U : 8U);
    EXPECT_EQ(contents(folder / "copy"), before) << (withLog ? "with a log" : "without one");
  }
}

TEST(ManifestDb, AJournalBesideItIsNotPlayedBack) {
  const PDXTestFolder folder;
  manifest().writeTo(folder / "Manifest.db");
  // The last bytes of a journal may name a file, which SQLite deletes when it plays the journal back.
  const std::string victim = folder.write("thesis.txt", "years of work");
  const auto number = [](std::size_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
    return bytes;
  };
  const std::size_t sum = std::accumulate(victim.begin(), victim.end(), std::size_t{0});
  folder.write("Manifest.db-journal", std::string(512, 'X') + number(0x40000000 / 4096 + 1) + victim +
                                          number(victim.size()) + number(sum) +
                                          "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7");
  PDXBackupNavigationManifestDb navigator(folder.path());
  EXPECT_TRUE(navigator.findFile("Library/SMS/sms.db", "HomeDomain"));
  EXPECT_EQ(fileText(victim), "years of work");
}

TEST(ManifestDb, SaysOnceThatAManifestCannotBeRead) {
  const PDXTestFolder folder;
  const std::string whole = fileText(manifest().writeTo(folder / "good.db"));
  const struct {
    const char* what;
    std::optional<std::string> bytes;
  } cases[] = {
      {"missing", std::nullopt},
      {"empty", ""},
      {"text",
       "this is no database, but long enough to have a header of one hundred bytes, as any would have"},
      {"cut off", whole.substr(0, whole.size() / 2)},
  };
  for (const auto& c : cases) {
    PDXFiles::remove(folder / "Manifest.db");
    if (c.bytes) folder.write("Manifest.db", *c.bytes);
    int reports = 0;
    const auto before = PDXLog::listen([&reports](const PDXProblem&) { ++reports; });
    PDXBackupNavigationManifestDb navigator(folder.path());
    EXPECT_FALSE(navigator.GetFileByRelativePathInDomain("Library/SMS/sms.db", "HomeDomain")) << c.what;
    EXPECT_FALSE(navigator.findFile("Library/SMS/sms.db", "HomeDomain")) << c.what;
    EXPECT_TRUE(navigator.GetAllFiles().value_or(std::vector<PDXBackupFile>()).empty()) << c.what;
    EXPECT_EQ(reports, 1) << c.what;
    PDXLog::listen(before);
  }
  PDXBackupNavigationManifestDb encrypted(folder.path());
  manifest().writeTo(folder / "Manifest.db");
  encrypted.setManifestDbIsEncrypted(true);
  EXPECT_FALSE(encrypted.GetAllDomainNames()) << "there is no deciphered copy";
}

}  // namespace
