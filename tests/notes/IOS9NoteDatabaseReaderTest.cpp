#include "notes/IOS9NoteDatabaseReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "notes/NoteRowCounts.h"
#include "samples/BackupFolder.h"
#include "samples/NoteBody.h"
#include "samples/NoteStore.h"
#include "samples/Notes.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

using testing::ElementsAre;
using Object = PDXSampleNoteObject;

/// "title|account|folder|created|summary" for each note.
std::vector<std::string> listed(const std::string& store, const std::string& legacy = "") {
  std::vector<std::string> lines;
  for (const PDXIOS9NoteDetail& note : PDXIOS9NoteDatabaseReader(store, legacy).getAllNotes()) {
    lines.push_back(note.title + "|" + (note.accountDetail ? note.accountDetail->name : "-") + "|" +
                    (note.folderDetail ? note.folderDetail->name : "-") + "|" +
                    (note.creationDate ? PDXDates::isoText(*note.creationDate) : "-") + "|" + note.summary);
  }
  return lines;
}

std::vector<Object> someNotes() {
  std::vector<Object> objects = {
      {.kind = Object::Kind::account, .row = 1, .identifier = "A", .title = "Phone"},
      {.kind = Object::Kind::account, .row = 2, .identifier = "B", .title = "Cloud"},
      {.kind = Object::Kind::folder, .row = 3, .identifier = "C", .title = "Notes"},
      {.kind = Object::Kind::folder, .row = 4, .identifier = "D", .title = "Ideas"}};
  const auto add = [&](std::int64_t row, std::optional<std::string> title, std::int64_t account,
                       std::int64_t folder) -> Object& {
    Object note{.kind = Object::Kind::note, .row = row, .identifier = std::to_string(row), .title = title};
    note.account = account;
    note.folder = folder;
    note.date = 86400 * row;
    note.body = PDXSampleNoteBody::packed(PDXSampleNoteBody::record(title.value_or("none") + "\nmore\n"));
    return objects.emplace_back(std::move(note));
  };
  add(10, "b", 2, 3);
  add(11, "a", 2, 3);
  add(12, "z", 2, 4);
  add(13, "m", 1, 3);
  add(14, "homeless", 0, 0);
  add(15, "locked", 1, 3).isLocked = true;
  add(16, "deleted", 1, 3).isDeleted = true;
  add(17, std::nullopt, 1, 3);
  add(18, "unknown account", 99, 98);
  return objects;
}

TEST(IOS9NoteDatabaseReader, ReadsEveryGeneration) {
  for (const PDXSampleNoteGeneration& generation : PDXSampleNoteStore::generations()) {
    const PDXTestFolder folder;
    const std::string store = folder / "NoteStore.sqlite";
    ASSERT_EQ(PDXSampleNoteStore::write(store, generation, someNotes()), "");
    EXPECT_THAT(listed(store), ElementsAre("homeless|-|-|2001-01-14T00:00:00Z|homeless\nmore",
                                           "unknown account|-|-|2001-01-18T00:00:00Z|unknown account\nmore",
                                           "m|Phone|Notes|2001-01-13T00:00:00Z|m\nmore",
                                           "z|Cloud|Ideas|2001-01-12T00:00:00Z|z\nmore",
                                           "a|Cloud|Notes|2001-01-11T00:00:00Z|a\nmore",
                                           "b|Cloud|Notes|2001-01-10T00:00:00Z|b\nmore"))
        << generation.version;
    const auto counts = PDXNoteRowCounts::ofStores(store, "");
    EXPECT_EQ(counts->rows, 9U);
    EXPECT_THAT(counts->locked, ElementsAre("locked"));
    EXPECT_EQ(counts->deleted + counts->untitled, 2U);
  }
}

PDXSampleDatabase storeWith(const std::string& keys, const std::string& columns) {
  return PDXSampleDatabase()
      .table("ZICCLOUDSYNCINGOBJECT",
             "Z_PK INTEGER PRIMARY KEY, Z_ENT, ZTITLE1, ZMARKEDFORDELETION, ZNAME, ZTITLE2, ZIDENTIFIER, " +
                 columns)
      .table("ZICNOTEDATA", "ZNOTE, ZDATA")
      .sql("CREATE TABLE Z_PRIMARYKEY AS " + keys);
}

TEST(IOS9NoteDatabaseReader, KeepsItsChoicesWhereTheyWorkAndFindsOthersWhereNot) {
  const std::string noKeys = "SELECT 1 AS Z_ENT, 'x' AS Z_NAME WHERE 0";
  const std::string eight = "SELECT 8 AS Z_ENT, 'ICNote' AS Z_NAME UNION SELECT 10, 'ICAccount'";
  const std::string many =
      "SELECT 42 AS Z_ENT, 'ICNote' AS Z_NAME UNION SELECT 44, 'ICAccount' UNION SELECT 45, "
      "'ICFolder'";
  const struct {
    const char* fault;
    PDXSampleDatabase sample;
    const char* expected;
  } cases[] = {
      {"kinds unknown: version 9",
       storeWith(noKeys, "ZACCOUNT3, ZMODIFICATIONDATE1, ZCREATIONDATE")
           .row("ZICCLOUDSYNCINGOBJECT", 1, 11, nullptr, 0, "Phone")
           .row("ZICCLOUDSYNCINGOBJECT", 2, 9, "a", 0, nullptr, nullptr, nullptr, 1, 0, 60),
       "a|Phone|-|2001-01-01T00:01:00Z|"},
      {"kinds unknown: version 10",
       storeWith(noKeys, "ZACCOUNT2, ZMODIFICATIONDATE1, ZCREATIONDATE")
           .sql("CREATE TABLE Z_11NOTES (Z_11FOLDERS, Z_8NOTES)")
           .row("Z_11NOTES", 3, 2)
           .row("ZICCLOUDSYNCINGOBJECT", 1, 10, nullptr, 0, "Phone")
           .row("ZICCLOUDSYNCINGOBJECT", 3, 11, nullptr, 0, nullptr, "Ideas")
           .row("ZICCLOUDSYNCINGOBJECT", 2, 8, "a", 0, nullptr, nullptr, nullptr, 1, 0, 60),
       "a|Phone|Ideas|2001-01-01T00:01:00Z|"},
      {"number 8 has the second account column, also when the third is filled",
       storeWith(eight, "ZACCOUNT2, ZACCOUNT3, ZMODIFICATIONDATE1, ZCREATIONDATE, ZCREATIONDATE1")
           .row("ZICCLOUDSYNCINGOBJECT", 1, 10, nullptr, 0, "Phone")
           .row("ZICCLOUDSYNCINGOBJECT", 4, 10, nullptr, 0, "Cloud")
           .row("ZICCLOUDSYNCINGOBJECT", 2, 8, "a", 0, nullptr, nullptr, nullptr, 1, 4, 0, 60, 120),
       "a|Phone|-|2001-01-01T00:02:00Z|"},
      {"every usual column absent, and a row that does not say whether it is deleted",
       storeWith(many, "ZACCOUNT7, ZMODIFICATIONDATE, ZCREATIONDATE3, ZFOLDER")
           .row("ZICCLOUDSYNCINGOBJECT", 1, 44, nullptr, nullptr, "Phone")
           .row("ZICCLOUDSYNCINGOBJECT", 3, 45, nullptr, nullptr, nullptr, "Ideas")
           .row("ZICCLOUDSYNCINGOBJECT", 2, 42, "a", nullptr, nullptr, nullptr, nullptr, 1, 0, 60, 3),
       "a|Phone|Ideas|2001-01-01T00:01:00Z|"},
      {"usual columns empty, another refers to no account",
       storeWith(many, "ZACCOUNT3, ZACCOUNT5, ZACCOUNT8, ZCREATIONDATE1, ZCREATIONDATE2, ZMODIFICATIONDATE1")
           .row("ZICCLOUDSYNCINGOBJECT", 1, 44, nullptr, 0, "Phone")
           .row("ZICCLOUDSYNCINGOBJECT", 2, 42, "a", 0, nullptr, nullptr, nullptr, nullptr, 2, 1, nullptr, 60,
                0),
       "a|Phone|-|2001-01-01T00:01:00Z|"},
      {"folders joined under other numbers, and a date that is none",
       storeWith(many, "ZACCOUNT3, ZMODIFICATIONDATE1, ZCREATIONDATE")
           .sql("CREATE TABLE Z_7NOTES (Z_7FOLDERS, Z_6NOTES)")
           .row("Z_7NOTES", 3, 2)
           .row("ZICCLOUDSYNCINGOBJECT", 3, 45, nullptr, 0, nullptr, "Ideas")
           .row("ZICCLOUDSYNCINGOBJECT", 2, 42, "a", 0, nullptr, nullptr, nullptr, nullptr, 0, "yesterday"),
       "a|-|Ideas|-|"},
  };
  const PDXTestFolder folder;
  for (const auto& c : cases)
    EXPECT_THAT(listed(c.sample.writeTo(folder / "NoteStore.sqlite")), ElementsAre(c.expected)) << c.fault;
}

TEST(IOS9NoteDatabaseReader, AddsOtherAccountsOfTheOlderStore) {
  const PDXTestFolder folder;
  const std::string store = folder / "NoteStore.sqlite";
  const std::string older = folder / "notes.sqlite";
  ASSERT_EQ(PDXSampleNoteStore::write(store, PDXSampleNoteStore::generations().back(), {}), "");
  ASSERT_EQ(PDXSampleNotes::writeOlderStore(older, false), "");
  EXPECT_THAT(
      listed(store, older),
      ElementsAre("From the office|Post|Notes|2013-09-14T15:06:40Z|From the office\r\nCall Mr Webb & ask "
                  "for two keys\r\n\r\nDone",
                  "Picture by post|Post|Notes|2013-09-15T15:06:40Z|Picture by post"));
  EXPECT_THAT(listed("", older), ElementsAre()) << "without the newer store";

  auto notes = PDXIOS9NoteDatabaseReader(store, older).getAllNotes();
  EXPECT_EQ(notes[0].content.size(), 4U);
  EXPECT_EQ(notes[0].plainTextRepresentation(), "From the office\nCall Mr Webb & ask for two keys\n\nDone");
  const auto counts = PDXNoteRowCounts::ofStores(store, older);
  EXPECT_EQ(counts->rows, 5U);
  EXPECT_EQ(counts->inOwnAccount, 3U);
}

TEST(IOS9NoteDatabaseReader, StaysQuietOnDamage) {
  const PDXTestFolder folder;
  std::vector<PDXProblem> problems;
  const auto before = PDXLog::listen([&](const PDXProblem& problem) { problems.push_back(problem); });
  EXPECT_THAT(listed(folder / "none"), ElementsAre());
  EXPECT_EQ(problems.size(), 0U);
  EXPECT_THAT(listed(folder.write("junk", std::string(9000, 'x'))), ElementsAre());
  EXPECT_EQ(problems.size(), 1U);
  auto objects = someNotes();
  objects[4].body = {1, 2, 3};
  objects[5].body = {};
  ASSERT_EQ(PDXSampleNoteStore::write(folder / "s", PDXSampleNoteStore::generations().back(), objects), "");
  EXPECT_EQ(listed(folder / "s").size(), 6U);
  ASSERT_EQ(problems.size(), 2U);
  EXPECT_EQ(problems[1].where, "b");
  PDXLog::listen(before);
}

}  // namespace
