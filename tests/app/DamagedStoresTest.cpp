#include <gtest/gtest.h>

#include <algorithm>

#include "app/export/ExportJob.h"
#include "backup/BackupInformation.h"
#include "backup/DeviceData.h"
#include "contacts/ContactsDatabase.h"
#include "platform/Sqlite.h"
#include "samples/SampleBackup.h"
#include "tests/support/TestFolder.h"

namespace {

/// A sample backup whose stores are damaged one at a time.
class DamagedStores : public testing::Test {
 protected:
  DamagedStores() {
    EXPECT_FALSE(PDXSampleBackup::write({.folder = folder_ / "phone", .seed = 5, .messages = 60}));
    PDXDeviceData::setCustomBackupPath(folder_.path());
  }
  ~DamagedStores() override { PDXContactsDatabase::clear(); }

  std::string pathOf(const std::string& store) const {
    PDXDeviceData device("phone");
    for (const PDXBackupFile& file : device.listedFiles().value_or(std::vector<PDXBackupFile>())) {
      if (file.relativePath.ends_with(store)) return device.storedFile(file).path;
    }
    return "";
  }

  PDXKindReport exported(const std::string& kind, bool& isComplete, std::string& said) const {
    PDXContactsDatabase::clear();
    PDXDeviceData device("phone");
    const PDXBackupInformation information("phone");
    PDXExportOptions options;
    options.kinds = {kind};
    options.outputFolder = folder_ / "out";
    PDXFiles::makeFolders(options.outputFolder);
    PDXExportJob job(device, information, options);
    EXPECT_FALSE(job.prepare());
    const PDXExportReport report = job.run({}, {});
    isComplete = report.isComplete();
    said.clear();
    for (const PDXProblem& problem : report.problems)
      said += problem.what + ": " + problem.where + ": " + problem.why + "\n";
    return report.kinds.empty() ? PDXKindReport() : report.kinds.front();
  }

  PDXTestFolder folder_;
};

/// Fills a page of a table with zeros: its only one, or else the middle one of those with its rows.
void zeroPageOf(const std::string& table, const std::string& path) {
  std::vector<std::int64_t> pages;
  std::int64_t size = 0;
  {
    const PDXSQLiteDatabase database(path, PDXSQLiteAccess::create);
    auto rows = database.prepare("SELECT pageno, pgsize FROM dbstat WHERE name = ? AND pagetype = 'leaf'");
    rows.bind(1, std::string_view(table));
    while (rows.step()) {
      pages.push_back(rows.int64(0));
      size = rows.int64(1);
    }
  }
  ASSERT_FALSE(pages.empty()) << table;
  std::string bytes = fileText(path);
  const auto begin = static_cast<std::size_t>((pages[pages.size() / 2] - 1) * size);
  std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(begin), size, '\0');
  PDXAtomicFile file(path);
  file.append(bytes);
  ASSERT_TRUE(file.commit());
}

std::size_t writtenBy(const PDXKindReport& kind) {
  if (kind.rows) return kind.rows->written;
  if (kind.entries) return kind.entries->written;
  return kind.notes ? kind.written.size() : kind.messageCount();
}

TEST_F(DamagedStores, WhatIsLostIsSaidAndTheRestIsThere) {
  const struct {
    const char* store;
    const char* table;
    enum { dropped, emptied, pageZeroed } damage;
    const char* kind;
    std::size_t least;  ///< Of what is written all the same.
    const char* said;
  } cases[] = {
      {"NoteStore.sqlite", "Z_PRIMARYKEY", cases[0].pageZeroed, "notes", 16, "Z_PRIMARYKEY"},
      {"NoteStore.sqlite", "Z_PRIMARYKEY", cases[0].dropped, "notes", 16, "Z_PRIMARYKEY"},
      {"NoteStore.sqlite", "Z_PRIMARYKEY", cases[0].emptied, "notes", 16, "Z_PRIMARYKEY"},
      {"notes.sqlite", "ZNOTE", cases[0].dropped, "notes", 14, "ZNOTE"},
      {"MediaLibrary.sqlitedb", "container_item", cases[0].pageZeroed, "music", 6, "playlists"},
      {"MediaLibrary.sqlitedb", "container_item", cases[0].dropped, "music", 6, "container_item"},
      {"MediaLibrary.sqlitedb", "genre", cases[0].dropped, "music", 6, "genre"},
      {"AddressBook.sqlitedb", "ABPerson", cases[0].pageZeroed, "contacts", 150, "contacts"},
      {"AddressBook.sqlitedb", "ABMultiValueEntry", cases[0].dropped, "contacts", 170, "ABMultiValueEntry"},
      {"AddressBookImages.sqlitedb", "ABThumbnailImage", cases[0].dropped, "contacts", 170,
       "ABThumbnailImage"},
      {"Calendar.sqlitedb", "CalendarItem", cases[0].dropped, "calendars", 0, "CalendarItem"},
      {"Calendar.sqlitedb", "Location", cases[0].dropped, "calendars", 8, "Location"},
      {"Calendar.sqlitedb", "Recurrence", cases[0].dropped, "calendars", 7, "Recurrence"},
      {"CallHistory.storedata", "ZHANDLE", cases[0].dropped, "calls", 70, "ZHANDLE"},
      {"CallHistory.storedata", "Z_2REMOTEPARTICIPANTHANDLES", cases[0].dropped, "calls", 70, "handles"},
      {"sms.db", "message_attachment_join", cases[0].dropped, "messages", 30, "message_attachment_join"},
      {"sms.db", "chat_message_join", cases[0].dropped, "messages", 0, "chat_message_join"},
  };
  for (const auto& c : cases) {
    const std::string place = std::string(c.store) + " " + c.table;
    const std::string path = pathOf(c.store);
    const std::string sound = fileText(path);
    if (c.damage == c.pageZeroed) {
      zeroPageOf(c.table, path);
    } else {
      const std::string statement = c.damage == c.dropped ? "DROP TABLE " : "DELETE FROM ";
      ASSERT_TRUE(PDXSQLiteDatabase(path, PDXSQLiteAccess::create).run(statement + c.table)) << place;
    }
    bool isComplete = true;
    std::string said;
    const PDXKindReport kind = exported(c.kind, isComplete, said);
    EXPECT_FALSE(isComplete) << place;
    EXPECT_NE(said.find(c.said), std::string::npos) << place << ": " << said;
    EXPECT_GE(writtenBy(kind), c.least) << place;
    PDXAtomicFile file(path);
    file.append(sound);
    ASSERT_TRUE(file.commit());
  }
  for (const char* kind : {"notes", "music", "contacts", "calendars", "calls", "messages"}) {
    bool isComplete = false;
    std::string said;
    exported(kind, isComplete, said);
    EXPECT_TRUE(isComplete) << kind << ": " << said;
  }
}

}  // namespace
