#include <gtest/gtest.h>

#include "notes/LegacyNoteBody.h"
#include "notes/LegacyNoteDatabaseReader.h"
#include "notes/NoteRowCounts.h"
#include "samples/Notes.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

TEST(LegacyNoteBody, BecomesText) {
  const struct {
    const char* html;
    const char* text;
  } cases[] = {
      {"a<div>b</div>", "a\r\nb"},
      {"a<div><br></div><div>b<br>c</div>", "a\r\n\r\nb\r\nc"},
      {"&nbsp;", ""},
      {"1 &lt; 2 &amp;amp; 3&nbsp;4", "1 &lt; 2 &amp; 3 4"},
      {"&amp;nbsp;x", "x"},
      {"a <> b <i\nclass='x'>c</i>", "a <> b c"},
      {"a < b", "a < b"},
      {"a <<b>> c", "a > c"},
      {"  \r\n a ", "a"},
  };
  for (const auto& c : cases) EXPECT_EQ(PDXLegacyNoteBody::plainText(c.html), c.text) << c.html;
  const std::string signs(1'000'000, '<');
  EXPECT_EQ(PDXLegacyNoteBody::plainText(signs), signs) << "in a moment";
}

/// Notes as text, one line each: id|title|text|last change.
std::string listed(const std::string& path) {
  std::string text;
  for (const PDXLegacyNoteDetail& note : PDXLegacyNoteDatabaseReader(path).getAllNotes()) {
    text += std::to_string(note.noteId) + "|" + note.title + "|" + note.text + "|" +
            (note.lastModified ? PDXDates::isoText(*note.lastModified) : "-") + "\n";
  }
  return text;
}

PDXSampleDatabase newer() {
  return PDXSampleDatabase()
      .table("ZNOTE", "Z_PK, ZINTEGERID, ZTITLE, ZSUMMARY, ZMODIFICATIONDATE, ZCREATIONDATE")
      .table("ZNOTEBODY", "Z_PK, ZOWNER, ZCONTENT");
}

TEST(LegacyNoteDatabaseReader, ReadsBothLayouts) {
  const struct {
    const char* fault;
    PDXSampleDatabase sample;
    const char* expected;
  } cases[] = {
      {"store of another kind", PDXSampleDatabase().table("song", "title"), ""},
      {"oldest layout",
       PDXSampleDatabase()
           .table("Note", "title")
           .table("note_bodies", "note_id, data")
           .row("Note", "Eggs")
           .row("note_bodies", 1, "a<div>b</div>"),
       "0|Eggs|a\r\nb|-\n"},
      {"fraction of a second, NULL title",
       newer().row("ZNOTE", 7, 70, nullptr, "", 86400.9, 0).row("ZNOTEBODY", 1, 7, "milk"),
       "70||milk|2001-01-02T00:00:00Z\n"},
      {"date before 2001, date that is none",
       newer()
           .row("ZNOTE", 7, 70, "a", "", -86400, 0)
           .row("ZNOTE", 8, 80, "b", "", "soon", 0)
           .row("ZNOTEBODY", 1, 7, "")
           .row("ZNOTEBODY", 2, 8, nullptr),
       "70|a||2000-12-31T00:00:00Z\n80|b||-\n"},
      {"body of no note, note without body", newer().row("ZNOTE", 7, 70, "a").row("ZNOTEBODY", 1, 8, "x"),
       ""},
      {"column missing", PDXSampleDatabase().table("ZNOTE", "Z_PK").table("ZNOTEBODY", "ZOWNER, ZCONTENT"),
       ""},
  };
  const PDXTestFolder folder;
  for (const auto& c : cases) EXPECT_EQ(listed(c.sample.writeTo(folder / "n.sqlite")), c.expected) << c.fault;
  EXPECT_EQ(listed(""), "");
  EXPECT_EQ(listed(folder / "none"), "");
  EXPECT_EQ(listed(folder.write("junk", std::string(5000, 'x'))), "");
}

TEST(LegacyNoteDatabaseReader, ReadsTheSampleOfBothLayouts) {
  const PDXTestFolder folder;
  ASSERT_EQ(PDXSampleNotes::writeOlderStore(folder / "older", false), "");
  ASSERT_EQ(PDXSampleNotes::writeOlderStore(folder / "oldest", true), "");
  EXPECT_EQ(listed(folder / "oldest"),
            "0|Bread|Bread\r\n500 g flour\r\n\r\nSalt & water, 1 &lt; 2|-\n"
            "0||A note without title|-\n0|Empty||-\n");
  EXPECT_EQ(PDXLegacyNoteDatabaseReader(folder / "older").getAllNotes().size(), 5U);
  EXPECT_EQ(PDXNoteRowCounts::ofLegacyStore(folder / "older")->rows, 5U);
  EXPECT_EQ(PDXNoteRowCounts::ofLegacyStore(folder / "oldest")->rows, 3U);
}

TEST(LegacyNoteDetail, WritesPages) {
  PDXLegacyNoteDetail note;
  EXPECT_EQ(note.htmlRepresentationWithTitle(std::nullopt),
            "<!DOCTYPE HTML>\n<html>\n<head>\n\t<title>Note</title>\n</head>\n<body>\n</body>\n</html>");
  note.text = "a < b\r\n1 &lt; 2 & c";
  EXPECT_EQ(
      note.htmlRepresentationWithTitle("<x> & y"),
      "<!DOCTYPE HTML>\n<html>\n<head>\n\t<title>&lt;x&gt; &amp; y</title>\n</head>\n<body>\n\t<p>a &lt; b\r"
      "<br/>1 &lt; 2 & c</p>\n</body>\n</html>");
  note.text = " a<div>b</div>&nbsp;<i>c</i> ";
  EXPECT_EQ(note.plainTextRepresentation(), "a\r\nbc");
}

}  // namespace
