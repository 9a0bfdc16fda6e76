#include <gtest/gtest.h>

#include <limits>

#include "calllogs/CallLogDbReader.h"
#include "calllogs/CallLogStoreDataReader.h"
#include "contacts/ContactsDatabase.h"
#include "platform/Log.h"
#include "samples/Calls.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

/// What the log was told while it lives, a line each.
class Heard {
 public:
  Heard()
      : before_(PDXLog::listen(
            [this](const PDXProblem& p) { text += p.what + ": " + p.where + ": " + p.why + "\n"; })) {}
  ~Heard() { PDXLog::listen(before_); }
  Heard(const Heard&) = delete;
  Heard& operator=(const Heard&) = delete;

  std::string text;

 private:
  PDXLog::Listener before_;
};

std::string dateText(const std::optional<PDXDate>& date) { return date ? PDXDates::isoText(*date) : "-"; }

std::string entryText(const PDXCallLogEntry& entry) {
  return dateText(entry.date) + " " + std::to_string(static_cast<int>(entry.duration)) + "s f" +
         std::to_string(entry.flags) + " " + entry.address + (entry.isLastEntryBeforeBlock ? " last" : "");
}

/// Every call: the group's name and addresses, then its calls.
std::string all(PDXCallLogReader& reader) {
  std::string text;
  for (const PDXCallLog& log : reader.getCallLogs()) {
    text += log.participantGroup.displayName() + " <" +
            log.participantGroup.participantGroupAddressesString() + ">\n";
    for (const PDXCallLogEntry& entry : log.entries) text += "  " + entryText(entry) + "\n";
  }
  return text;
}

/// The groups of the list, each with the calls that its own statement finds.
std::string listed(PDXCallLogReader& reader) {
  std::string text;
  for (const PDXCallLogParticipantGroup& group : reader.getCallLogParticipantList()) {
    text += group.participantGroupNameString() + " <" + group.participantGroupAddressesString() + "> " +
            group.participantGroupCallIdsString() + " " + dateText(group.mostEarliestDate) + " " +
            dateText(group.mostRecentDate) + "\n";
    for (const PDXCallLogEntry& entry : reader.getCallLogForParticipantGroup(group))
      text += "  " + entry.name + ": " + entryText(entry) + "\n";
  }
  return text;
}

PDXSampleDatabase store(const std::string& more = "") {
  return PDXSampleDatabase().table(
      "ZCALLRECORD",
      "Z_PK INTEGER PRIMARY KEY, ZADDRESS, ZDATE, ZDURATION, ZORIGINATED, ZFACE_TIME_DATA" + more);
}

PDXSampleDatabase joined(const std::string& call, const std::string& handle) {
  return store(", ZSERVICE_PROVIDER, ZNAME")
      .table("ZHANDLE", "Z_PK INTEGER PRIMARY KEY, ZVALUE")
      .table("Z_" + call + "REMOTEPARTICIPANTHANDLES",
             "Z_" + call + "REMOTEPARTICIPANTCALLS, Z_" + handle + "REMOTEPARTICIPANTHANDLES")
      .row("ZHANDLE", 1, "1")
      .row("ZHANDLE", 2, "2")
      .row("ZCALLRECORD", 7, nullptr, 60, 5, 1, 0, "com.apple.FaceTime")
      .row("ZCALLRECORD", 8, "3", 0, 0, 0, nullptr, "com.apple.Telephony")
      .row("Z_" + call + "REMOTEPARTICIPANTHANDLES", 7, 1)
      .row("Z_" + call + "REMOTEPARTICIPANTHANDLES", 7, 2);
}

TEST(CallLogStoreDataReader, FindsParticipantsWhateverTheirTablesAreNumbered) {
  const char* const expected =
      "1, 2 <1,2>\n  2001-01-01T00:01:00Z 5s f17 1, 2\n3 <3>\n  2001-01-01T00:00:00Z 0s f0 3\n";
  const PDXTestFolder folder;
  const PDXSampleDatabase cases[] = {joined("2", "3"), joined("2", "4"),
                                     joined("5", "9")
                                         .table("Z_PRIMARYKEY", "Z_ENT, Z_NAME")
                                         .row("Z_PRIMARYKEY", 5, "CallRecord")
                                         .row("Z_PRIMARYKEY", 9, "Handle")};
  for (const auto& sample : cases) {
    PDXCallLogStoreDataReader reader(sample.writeTo(folder / "c.storedata"), "", "");
    EXPECT_EQ(all(reader), expected);
  }
}

TEST(CallLogStoreDataReader, ListDropsOtherProvidersAndTheWholeHasThem) {
  const PDXTestFolder folder;
  const std::string path = store(", ZSERVICE_PROVIDER")
                               .row("ZCALLRECORD", 1, "5", 60, 1, 1, nullptr, "com.apple.Telephony")
                               .row("ZCALLRECORD", 2, "6", 30, 2, 0, nullptr, "a'b.c")
                               .row("ZCALLRECORD", 3, "5", 20.5, 3, 0, nullptr, "net.whatsapp.WhatsApp")
                               .row("ZCALLRECORD", 4, "5", 10, 4, 0, nullptr, nullptr)
                               .writeTo(folder / "c");
  PDXCallLogStoreDataReader reader(path, "", "");
  EXPECT_EQ(listed(reader),
            "5 <5> (1,3,4) 2001-01-01T00:00:10Z 2001-01-01T00:01:00Z\n  5: 2001-01-01T00:01:00Z 1s f1 5\n"
            "6 <6> (2) 2001-01-01T00:00:30Z 2001-01-01T00:00:30Z\n");
  EXPECT_EQ(all(reader),
            "5 <5>\n  2001-01-01T00:00:10Z 4s f0 5\n  2001-01-01T00:00:20.5Z 3s f0 5\n"
            "  2001-01-01T00:01:00Z 1s f1 5\n6 <6>\n  2001-01-01T00:00:30Z 2s f0 6\n");
}

TEST(CallLogStoreDataReader, TakesAddressesOutOfBytes) {
  const PDXTestFolder folder;
  const PDXBytes bytes = {'4', '2'};
  const PDXBytes quoted = {'o', '\'', 'b'};
  const std::string path = PDXSampleDatabase()
                               .table("ZCALLRECORD", "Z_PK INTEGER PRIMARY KEY, ZADDRESS BLOB, ZDATE")
                               .row("ZCALLRECORD", 1, bytes, 60)
                               .row("ZCALLRECORD", 2, quoted, 61)
                               .row("ZCALLRECORD", 3, nullptr, 62)
                               .writeTo(folder / "c");
  PDXCallLogStoreDataReader reader(path, "", "");
  EXPECT_EQ(listed(reader),
            "42 <42> (1) 2001-01-01T00:01:00Z 2001-01-01T00:01:00Z\n  42: 2001-01-01T00:01:00Z 0s f0 42\n"
            "o'b <o'b> (2) 2001-01-01T00:01:01Z 2001-01-01T00:01:01Z\n  o'b: 2001-01-01T00:01:01Z 0s f0 o'b\n"
            " <> (3) 2001-01-01T00:01:02Z 2001-01-01T00:01:02Z\n  : 2001-01-01T00:01:02Z 0s f0 \n");
  const PDXSQLiteDatabase changed(path);
  auto rows = changed.prepare("SELECT group_concat(ifnull(PDXADDRESSEXTRACT, '-')) FROM ZCALLRECORD");
  ASSERT_TRUE(rows.step());
  EXPECT_EQ(rows.text(0), "42,-,-");
}

TEST(CallLogStoreDataReader, BadValuesCostThemselvesAlone) {
  const PDXTestFolder folder;
  const double infinite = std::numeric_limits<double>::infinity();
  const std::string path = joined("2", "3")
                               .row("ZCALLRECORD", 9, "9", "soon", "long", "x", nullptr)
                               .row("ZCALLRECORD", 10, "9", infinite, infinite, 1, nullptr)
                               .row("ZCALLRECORD", 11, "9", 252455616000.0, -5, 1, nullptr)
                               .row("ZCALLRECORD", 12, "9", -86400, 1e300, 1, nullptr)
                               .row("ZCALLRECORD", 13, "9", nullptr, nullptr, nullptr, nullptr)
                               .row("Z_2REMOTEPARTICIPANTHANDLES", 13, 999)
                               .row("Z_2REMOTEPARTICIPANTHANDLES", 4000, 1)
                               .writeTo(folder / "c");
  const Heard heard;
  PDXCallLogStoreDataReader reader(path, "", "");
  EXPECT_EQ(all(reader),
            "1, 2 <1,2>\n  2001-01-01T00:01:00Z 5s f17 1, 2\n3 <3>\n  2001-01-01T00:00:00Z 0s f0 3\n9 <9>\n  "
            "- 0s f0 9\n"
            "  - 0s f1 9\n  - 0s f1 9\n  - 0s f0 9\n  2000-12-31T00:00:00Z 0s f1 9\n");
  for (const char* said :
       {"date of a call: record 9: no date is stored as soon\n",
        "date of a call: record 10: no date is stored as Inf\n",
        "date of a call: record 11: no date is stored as 252455616000.0\n", "duration of a call: record 12: ",
        "participant of a call: record 13: the store holds no address of the number 999\n"}) {
    EXPECT_NE(heard.text.find(said), std::string::npos) << said << heard.text;
  }
  EXPECT_EQ(heard.text.find("4000"), std::string::npos) << "a call that is gone";
}

TEST(CallLogReaders, WhatIsNoStoreIsEmptyAndSaid) {
  const PDXTestFolder folder;
  const std::string half =
      PDXSampleCalls::writeStore(folder / "whole", 1, 17).empty() ? fileText(folder / "whole") : "";
  const struct {
    const char* fault;
    std::string path;
    bool isSaid;
  } cases[] = {
      {"no path", "", false},
      {"no file", folder / "none", false},
      {"no database", folder.write("junk", std::string(9000, 'x')), true},
      {"of another kind", PDXSampleDatabase().table("song", "title").writeTo(folder / "song"), true},
      {"half", folder.write("half", half.substr(0, half.size() / 2)), true},
      {"no key", PDXSampleDatabase().table("ZCALLRECORD", "ZADDRESS").writeTo(folder / "keyless"), true}};
  for (const auto& c : cases) {
    const Heard heard;
    PDXCallLogStoreDataReader newer(c.path, "", "");
    PDXCallLogDbReader older(c.path, "", "");
    newer.getCallLogs();
    EXPECT_TRUE(newer.getCallLogParticipantList().empty() || *c.fault == 'h') << c.fault;
    EXPECT_TRUE(older.getCallLogs().empty()) << c.fault;
    EXPECT_EQ(!heard.text.empty(), c.isSaid) << c.fault << heard.text;
  }
}

TEST(CallLogDbReader, GroupsByNameAndTakesInEveryRow) {
  const PDXTestFolder folder;
  const std::string path = PDXSampleDatabase()
                               .table("call", "address, date, duration, flags")
                               .row("call", "b", 60, 10, 17)
                               .row("call", "", 61, 0, 4)
                               .row("call", "a'c", 62, 0, 4)
                               .row("call", "b", 30, "x", 5)
                               .row("call", nullptr, nullptr, 2, 65540)
                               .writeTo(folder / "c");
  PDXCallLogDbReader reader(path, "", "");
  EXPECT_EQ(listed(reader),
            "a'c <a'c> () - -\nb <b> () 2001-01-01T00:00:30Z 2001-01-01T00:01:00Z\n"
            "  b: 2001-01-01T00:00:30Z 0s f5 b\n  b: 2001-01-01T00:01:00Z 10s f17 b\n");
  EXPECT_EQ(all(reader),
            "a'c <a'c>\n  2001-01-01T00:01:02Z 0s f4 a'c\nb <b>\n  2001-01-01T00:00:30Z 0s f5 b\n"
            "  2001-01-01T00:01:00Z 10s f17 b\n <>\n  - 2s f65540 \n  2001-01-01T00:01:01Z 0s f4 \n");
}

/// A contacts store in which Ann has two numbers.
class Named : public testing::Test {
 protected:
  Named() {
    folder_.write("people/ann.vcf",
                  "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Lee;Ann;;;\r\nFN:Ann Lee\r\nTEL;TYPE=CELL:5550100\r\n"
                  "TEL;TYPE=HOME:5550111\r\nEND:VCARD\r\n");
    PDXContactsDatabase::loadContactsFromFolderPath(folder_ / "people");
  }
  ~Named() override { PDXContactsDatabase::clear(); }
  PDXTestFolder folder_;
};

TEST_F(Named, NumbersOfOneContactAreOneGroup) {
  PDXCallLogStoreDataReader newer(store()
                                      .row("ZCALLRECORD", 1, "5550100", 60, 0, 1, nullptr)
                                      .row("ZCALLRECORD", 2, "5550199", 61, 0, 1, nullptr)
                                      .row("ZCALLRECORD", 3, "5550111", 62, 0, 0, 1)
                                      .row("ZCALLRECORD", 4, "5550100", 63, 0, 0, nullptr)
                                      .writeTo(folder_ / "newer"),
                                  "", "");
  EXPECT_EQ(
      all(newer),
      "Ann Lee <5550100,5550111>\n  2001-01-01T00:01:00Z 0s f1 5550100\n  2001-01-01T00:01:02Z 0s f16 "
      "5550111\n"
      "  2001-01-01T00:01:03Z 0s f0 5550100\n5550199 <5550199>\n  2001-01-01T00:01:01Z 0s f1 5550199\n");
  PDXCallLogDbReader older(PDXSampleDatabase()
                               .table("call", "address, date, duration, flags")
                               .row("call", "5550100", 60, 0, 4)
                               .row("call", "5550111", 61, 0, 5)
                               .writeTo(folder_ / "older"),
                           "", "");
  EXPECT_EQ(listed(older), "Ann Lee <5550100,5550111> () 2001-01-01T00:01:00Z 2001-01-01T00:01:01Z\n")
      << "one joined text finds no call";
  EXPECT_EQ(all(older),
            "Ann Lee <5550100,5550111>\n  2001-01-01T00:01:00Z 0s f4 5550100\n  2001-01-01T00:01:01Z 0s f5 "
            "5550111\n");
}

TEST(CallLogProvider, IsToldByItsText) {
  const struct {
    const char* raw;
    std::int32_t type;
    const char* text;
  } cases[] = {{"com.apple.Telephony", 1, "Phone"},
               {"com.apple.FaceTime", 2, "FaceTime"},
               {"net.WHATSAPP.WhatsApp", 3, "WhatsApp"},
               {"com.toyopagroup.picaboo", 4, "Snapchat"},
               {"com.skype.skype", 5, "Skype"},
               {"com.skype.whatsapp", 5, "Whatsapp"},
               {"org.example.élan", 0, "Élan"},
               {"org.example.", 0, ""},
               {"skype", 0, "Unknown"},
               {"", 0, "Unknown"}};
  for (const auto& c : cases) {
    const PDXCallLogProvider provider{c.raw};
    EXPECT_EQ(provider.callLogProviderType(), c.type) << c.raw;
    EXPECT_EQ(provider.callLogProviderTypeString(), c.text) << c.raw;
  }
}

}  // namespace
