#include "app/export/ExportJob.h"
#include "backup/BackupInformation.h"
#include "backup/DeviceData.h"
#include "contacts/ContactsDatabase.h"
#include "platform/Sqlite.h"
#include "platform/Text.h"
#include "samples/BackupFolder.h"
#include "samples/Calendars.h"
#include "samples/MessageStore.h"
#include "samples/NoteBody.h"
#include "samples/NoteStore.h"
#include "tests/contacts/AddressBookSample.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

/// Backups whose texts were written to be more than texts.
class HostileValues : public testing::Test {
 protected:
  ~HostileValues() override { PDXContactsDatabase::clear(); }

  PDXExportReport exported(const std::vector<std::string>& kinds, const std::string& library = "") {
    PDXDeviceData::setCustomBackupPath(folder_.path());
    PDXDeviceData device("phone");
    const PDXBackupInformation information("phone");
    PDXExportOptions options;
    options.outputFolder = out_;
    options.kinds = kinds;
    options.libraryFile = library;
    PDXFiles::makeFolders(out_);
    PDXExportJob job(device, information, options);
    job.prepare();
    return job.run({}, {});
  }

  std::string written(const std::string& path) const { return fileText(PDXFiles::joined(out_, path)); }

  PDXTestFolder folder_;
  std::string out_ = folder_ / "out";
};

/// The lines of a file between "\r\n"; every other end of a line shows as "|".
std::string lines(std::string text) {
  text = PDXText::replacedAll(std::move(text), "\r\n", "\x1F");
  for (const char* end : {"\r", "\n", "\v", "\f", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"})
    text = PDXText::replacedAll(std::move(text), end, "|");
  return PDXText::replacedAll(std::move(text), "\x1F", "\n");
}

TEST_F(HostileValues, NoCardOrRowIsForged) {
  const std::string card = "\r\nEND:VCARD\r\nBEGIN:VCARD\r\nFN:Bank\r\n";
  const std::string book =
      addressBook()
          .row("ABPerson", 1, "Ann" + card + " TEL:1", "", "Lee\u2028\u0085END:VCARD", "Dr\vX", "", "O\fX",
               "=1+1\x1B[2J", "=cmd()\rTEL:2\nsecond")
          .row("ABPerson", 2, "@SUM(A1)", "", "-Lee", "", "", "", "", "a, b\nsecond\u2029third\rfourth")
          .row("ABMultiValue", 1, 1, 3, 1, "+44 (0) 7700\n900123")
          .row("ABMultiValue", 2, 1, 4, 1, "a@b.example\nEND:VCARD")
          .row("ABMultiValue", 3, 1, 22, 1, "https://b.example\rEND:VCARD")
          .row("ABMultiValue", 4, 1, 5, 1, nullptr)
          .row("ABMultiValueEntryKey", "City")
          .row("ABMultiValueEntry", 4, 1, "Eastmere\nEND:VCARD")
          .row("ABMultiValue", 5, 2, 3, 1, "+44 7700 900123")
          .writeTo(folder_ / "book");
  PDXSampleBackupFolder backup(folder_ / "phone");
  backup.addFileFrom("HomeDomain", "Library/AddressBook/AddressBook.sqlitedb", book);
  ASSERT_TRUE(backup.finish());
  EXPECT_TRUE(exported({"contacts"}).isComplete());
  const std::string head = "BEGIN:VCARD\nVERSION:3.0\nPRODID:-//Lantern Byte Ltd.//Pocketdex 21//EN\n";
  EXPECT_EQ(lines(written("Contacts/Contacts.vcf")),
            head + "N:Lee  END:VCARD;Ann  END:VCARD  BEGIN:VCARD  FN:Bank   TEL:1;(null);Dr X;(null)\n" +
                "FN:Ann  END:VCARD  BEGIN:VCARD  FN:Bank   TEL:1 Lee  END:VCARD\nUID:1\n" +
                "ADR;TYPE=HOME:;Eastmere END:VCARD;;;\nTEL;TYPE=cell,voice,HOME:+44 (0) 7700 900123\n" +
                "EMAIL;TYPE=HOME:a@b.example END:VCARD\nTITLE;CHARSET=utf-8:=1+1 [2J\n" +
                "ORG;CHARSET=utf-8:O X\nNOTE;CHARSET=utf-8:=cmd() TEL:2\\nsecond\n" +
                "URL:https://b.example END:VCARD\nEND:VCARD\n" + head +
                "N:-Lee;@SUM(A1);(null);(null);(null)\n" +
                "FN:@SUM(A1) -Lee\nUID:2\nTEL;TYPE=cell,voice,HOME:+44 7700 900123\n" +
                "NOTE;CHARSET=utf-8:a, b\\nsecond third fourth\nEND:VCARD\n");
  const std::string table = lines(written("Contacts/Contacts.csv"));
  EXPECT_EQ(
      table.substr(table.find('\n') + 1),
      "Ann  END:VCARD  BEGIN:VCARD  FN:Bank   TEL:1 Lee  END:VCARD,Ann  END:VCARD  BEGIN:VCARD  FN:Bank "
      "  TEL:1,,Lee  END:VCARD,,,,,Dr X,,,,,,,,,,,,,,,,,'=cmd() TEL:2 second,,,,Home,a@b.example "
      "END:VCARD,Home,'+44 (0) 7700 900123,Home,,,Eastmere END:VCARD,,,,,,Other,O X,,,,,,,Other,"
      "https://b.example END:VCARD\n'@SUM(A1) -Lee,'@SUM(A1),,'-Lee,,,,,,,,,,,,,,,,,,,,,,"
      "\"a, b|second third fourth\",,,,,,Home,+44 7700 900123,,,,,,,,,,,,,,,,,,,\n");
}

TEST_F(HostileValues, NoEventOrAlarmIsForged) {
  const std::string path = folder_ / "calendar";
  ASSERT_EQ(PDXSampleCalendars::writeStore(path, 17), "");
  {
    const PDXSQLiteDatabase store(path, PDXSQLiteAccess::create);
    const std::string end = "char(13,10)||'END:VEVENT'||char(10)||'BEGIN:VALARM'";
    ASSERT_TRUE(store.run(("DELETE FROM CalendarItem WHERE ROWID > 1; DELETE FROM Recurrence;"
                           "UPDATE Calendar SET title = title||" +
                           end +
                           ";"
                           "UPDATE Location SET title = 'Pier'||char(8232)||" +
                           end +
                           ";"
                           "UPDATE CalendarItem SET summary = 'X'||char(133)||" +
                           end + ", description = 'first'||char(11)||' '||" + end)
                              .c_str()))
        << store.error();
  }
  PDXSampleBackupFolder backup(folder_ / "phone");
  backup.addFileFrom("HomeDomain", "Library/Calendar/Calendar.sqlitedb", path);
  ASSERT_TRUE(backup.finish());
  EXPECT_TRUE(exported({"calendars"}).isComplete());
  const std::string calendar = lines(written("Calendars/HomeEND_VEVENTBEGIN_VALARM.ics"));
  EXPECT_EQ(calendar.substr(0, calendar.find("BEGIN:VTIMEZONE")),
            "BEGIN:VCALENDAR\nVERSION:2.0\nCALSCALE:GREGORIAN\nPRODID::-//Lantern Byte Ltd.//Pocketdex 11 "
            "Mac//EN\nX-WR-CALNAME:Home  END:VEVENT BEGIN:VALARM\nX-APPLE-CALENDAR-COLOR:#1badf8\n");
  EXPECT_EQ(calendar.substr(calendar.find("SUMMARY")),
            "SUMMARY:X   END:VEVENT BEGIN:VALARM\nDESCRIPTION:first    END:VEVENT BEGIN:VALARM\n"
            "LOCATION:Pier   END:VEVENT BEGIN:VALARM\nCLASS:PUBLIC\nEND:VEVENT\nEND:VCALENDAR\n");
}

TEST_F(HostileValues, PlaylistsStayInTheirFolder) {
  const std::string library = PDXSampleDatabase()
                                  .table("item_extra", "item_pid, title, location, media_kind")
                                  .table("item", "item_pid, base_location_id")
                                  .table("base_location", "base_location_id, path")
                                  .table("container", "container_pid, name, is_hidden")
                                  .table("container_item", "container_pid, item_pid, position")
                                  .row("container", 1, "a\u2028/etc/passwd\u0085b", 0)
                                  .row("base_location", 1, "../../../../..")
                                  .row("base_location", 2, "http://b.example")
                                  .row("item_extra", 1, "One\u2028file:///etc/passwd", "etc/passwd", 1)
                                  .row("item_extra", 2, "Two\x0B/etc/passwd", "a\nb.mp3", 1)
                                  .row("item", 1, 1)
                                  .row("item", 2, 2)
                                  .row("container_item", 1, 1, 1)
                                  .row("container_item", 1, 2, 2)
                                  .writeTo(folder_ / "library");
  PDXSampleBackupFolder backup(folder_ / "phone");
  backup.addFile("MediaDomain", "Media/http://b.example/a\nb.mp3", std::string_view("sound"));
  ASSERT_TRUE(backup.finish());
  exported({"music"}, library);
  EXPECT_EQ(lines(written("Music/a_etc_passwdb.m3u8")),
            "#EXTM3U|#EXTENC:UTF-8|#PLAYLIST:a /etc/passwd b|# Not in the backup: One file:///etc/passwd|"
            "#EXTINF:0,Two /etc/passwd|http_/Untitled/b.example/ab.mp3|");
}

TEST_F(HostileValues, NoAttachmentOpensAsAPage) {
  PDXSampleBackupFolder backup(folder_ / "phone");
  {
    PDXSampleMessageStore store(folder_ / "sms.db");
    const std::int64_t ann = store.addHandle("+447700900001", "iMessage");
    store.addParticipant(store.addChat({.address = "+447700900001", .service = "iMessage", .name = ""}, ""),
                         ann);
    const std::pair<const char*, const char*> files[] = {{"a.HTML", "text/html"},
                                                         {"b.svg", "image/svg+xml"},
                                                         {"c.mhtml", "video/mp4"},
                                                         {"d.pdf", "text/html"}};
    for (const auto& [name, type] : files) {
      PDXSampleMessage message;
      message.chat = 1;
      message.handle = ann;
      message.guid = name;
      message.text = std::string_view("a\0b", 3);
      message.service = "iMessage";
      message.date = 7'000'000'000'000'000;
      message.hasAttachments = true;
      const std::string path = std::string("Library/SMS/Attachments/") + name;
      PDXSampleAttachmentRow attachment;
      attachment.message = store.addMessage(message);
      attachment.guid = name;
      attachment.filename = "~/" + path;
      attachment.mimeType = type;
      store.addAttachment(attachment);
      backup.addFile("MediaDomain", path, std::string_view("<script>alert(1)</script>"));
    }
    ASSERT_TRUE(store.finish()) << store.error();
  }
  backup.addFileFrom("HomeDomain", "Library/SMS/sms.db", folder_ / "sms.db");
  const std::string shown = "7B1A5C14-0000-4000-8000-000000000001";
  using Object = PDXSampleNoteObject;
  const std::string_view text("Title\nzero\0byte\n\xEF\xBF\xBC\n", 20);
  ASSERT_EQ(
      PDXSampleNoteStore::write(
          folder_ / "notes", PDXSampleNoteStore::generations().back(),
          {{.kind = Object::Kind::note,
            .row = 1,
            .identifier = "n",
            .title = "Title",
            .body = PDXSampleNoteBody::packed(PDXSampleNoteBody::record(text, {{shown, "public.jpeg"}}))},
           {.kind = Object::Kind::attachment,
            .row = 2,
            .identifier = shown,
            .title = {},
            .owner = 1,
            .media = 3,
            .type = "public.jpeg"},
           {.kind = Object::Kind::media, .row = 3, .identifier = "m", .title = "x.xhtml"},
           {.kind = Object::Kind::attachment,
            .row = 4,
            .identifier = "other",
            .title = {},
            .owner = 1,
            .media = 5,
            .type = "public.html"},
           {.kind = Object::Kind::media, .row = 5, .identifier = "k", .title = "page.html"}}),
      "");
  const char* domain = "AppDomainGroup-group.com.apple.notes";
  backup.addFileFrom(domain, "NoteStore.sqlite", folder_ / "notes");
  for (const char* path : {"Media/m/x.xhtml", "Media/k/page.html"})
    backup.addFile(domain, path, std::string_view("<script>alert(1)</script>"));
  ASSERT_TRUE(backup.finish());

  const PDXExportReport report = exported({"messages", "notes"});
  EXPECT_EQ(PDXFiles::list(out_ + "/Messages/+447700900001 Media"),
            (std::vector<std::string>{"1.HTML.txt", "2.svg.txt", "3.mhtml.txt", "4.pdf"}));
  EXPECT_EQ(PDXFiles::list(out_ + "/Notes/No Account/No Folder/Title - Attachments"),
            (std::vector<std::string>{"1.xhtml.txt", "page.html.txt"}));
  ASSERT_EQ(report.kinds.size(), 2U);
  EXPECT_EQ(report.kinds[0].savedAsText.size(), 3U);
  EXPECT_EQ(report.kinds[1].savedAsText.size(), 2U);
  for (const char* page : {"Messages/+447700900001.html", "Notes/No Account/No Folder/Title.html"}) {
    const std::string html = written(page);
    EXPECT_EQ(html.find('\0'), std::string::npos) << page;
    for (const char* link : {"HTML'", "svg'", "mhtml'", "html\""})
      EXPECT_EQ(html.find(link), std::string::npos) << page << link;
  }
  EXPECT_NE(written("index.html").find("3 attachments were saved as text"), std::string::npos);
}

}  // namespace
