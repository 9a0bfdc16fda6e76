#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "calllogs/CallLogCSVGenerator.h"
#include "calllogs/CallLogDbReader.h"
#include "calllogs/CallLogHTMLGenerator.h"
#include "calllogs/CallLogStoreDataReader.h"
#include "samples/Calls.h"
#include "tests/support/TestFolder.h"

namespace {

/// The newest calls of a store as table rows, without the zone, which is the environment's.
std::string newest(PDXCallLogReader& reader, int count) {
  PDXLocalTimes times;
  std::map<PDXDate, std::string, std::greater<>> rows;
  for (const PDXCallLog& log : reader.getCallLogs()) {
    for (const PDXCallLogEntry& entry : log.entries) {
      std::string text;
      PDXCallLogCSVGenerator::appendRow(text, entry, log.participantGroup.displayName(), times);
      if (entry.date) rows[*entry.date] = PDXDates::isoText(*entry.date) + text.substr(text.find(','));
    }
  }
  std::string text;
  for (const auto& [date, line] : rows) text += count-- > 0 ? line : "";
  return text;
}

const char* const kWithHandles =
    "2024-03-10T08:30:00Z,incoming,yes,Phone,754,+447700900101,+447700900101,com.apple.Telephony,Port "
    "Averil\r\n"
    "2024-03-10T07:30:00Z,incoming,no,Phone,0,,,com.apple.Telephony,\r\n"
    "2024-03-10T06:30:00Z,outgoing,yes,Phone,61,020 7946 0101,020 7946 0101,com.apple.Telephony,London\r\n"
    "2024-03-10T04:30:00Z,incoming,no,Phone,0,+447700900105,+447700900105,com.apple.Telephony,\r\n"
    "2024-03-10T01:30:00Z,outgoing,yes,FaceTime "
    "video,1833,ann.fletcher@example.com,ann.fletcher@example.com,com.apple.FaceTime,\r\n"
    "2024-03-10T00:30:00Z,outgoing,yes,FaceTime video,2400,\"'+447700900101, "
    "+447700900105\",\"'+447700900101, +447700900105\",com.apple.FaceTime,\r\n"
    "2024-03-09T22:30:00Z,incoming,yes,WhatsApp,412,+447700900105,+447700900105,net.whatsapp.WhatsApp,\r\n"
    "2024-03-09T21:30:00Z,incoming,yes,Phone,33,+447700900777,+447700900777,com.apple.Telephony,\"<b>Leeds</"
    "b> & "
    "\"\"York\"\"\"\r\n";
const char* const kWithProviders =
    "2024-03-10T08:30:00Z,incoming,yes,Phone,754,+447700900101,+447700900101,com.apple.Telephony,Port "
    "Averil\r\n"
    "2024-03-10T07:30:00Z,incoming,no,Phone,0,,,com.apple.Telephony,\r\n";
const char* const kWithLocations =
    "2024-03-10T08:30:00Z,incoming,yes,Phone,754,+447700900101,+447700900101,,Port Averil\r\n"
    "2024-03-10T07:30:00Z,incoming,no,Phone,0,,,,\r\n";
const char* const kOldest =
    "2024-03-10T08:30:00Z,incoming,yes,Phone,754,+447700900101,+447700900101,,\r\n"
    "2024-03-10T07:30:00Z,incoming,no,Phone,0,,,,\r\n";

TEST(CallLogFiles, TableOfEachGeneration) {
  const struct {
    int version;
    int calls;
    const char* expected;
  } cases[] = {{8, 2, kOldest},
               {9, 2, kWithLocations},
               {10, 2, kWithProviders},
               {12, 8, kWithHandles},
               {17, 8, kWithHandles}};
  const PDXTestFolder folder;
  for (const auto& c : cases) {
    const std::string path = folder / std::to_string(c.version);
    ASSERT_EQ(PDXSampleCalls::writeStore(path, 1, c.version), "");
    PDXCallLogStoreDataReader reader(path, "", "");
    EXPECT_EQ(reader.storedCallCount(), 73U);
    EXPECT_EQ(newest(reader, c.calls), c.expected) << c.version;
  }
  ASSERT_EQ(PDXSampleCalls::writeOlderDatabase(folder / "older"), "");
  PDXCallLogDbReader reader(folder / "older", "", "");
  EXPECT_EQ(
      newest(reader, 9),
      "2001-11-01T00:00:00Z,outgoing,yes,FaceTime,600,ann.fletcher@example.com,ann.fletcher@example.com,,\r\n"
      "2001-10-31T00:00:00Z,incoming,yes,Phone,30,,,,\r\n"
      "2001-10-30T00:00:00Z,incoming,no,Phone,0,07700 900777,07700 900777,,\r\n"
      "2001-10-29T00:00:00Z,outgoing,,Phone,0,020 7946 0101,020 7946 0101,,\r\n"
      "2001-10-28T00:00:00Z,incoming,yes,Phone,65,07700 900101,07700 900101,,\r\n");
}

TEST(CallLogFiles, PageShowsTheNewestFirstAndRunsNothing) {
  PDXCallLog log;
  log.participantGroup.participants.emplace_back().name = "<b>Ann";
  log.participantGroup.participants.front().isContactBlocked = true;
  for (const int day : {3, 1, 2}) {
    PDXCallLogEntry& entry = log.entries.emplace_back();
    entry.date = std::chrono::sys_days(std::chrono::year(2024) / 1 / day) + std::chrono::hours(12);
    entry.address = "<script>" + std::to_string(day);
    entry.duration = day == 2 ? 3723 : 0;
    entry.isAnswered = day == 2;
  }
  log.arrange();
  PDXLocalTimes times;
  const std::string page =
      PDXCallLogHTMLGenerator::beginning({&log}) + PDXCallLogHTMLGenerator::section(log, times);
  EXPECT_EQ(page.find("<script>"), std::string::npos);
  EXPECT_NE(page.find("<h2>&lt;b&gt;Ann</h2>"), std::string::npos);
  EXPECT_NE(page.find("<p>3 calls: 0 outgoing, 3 incoming, 2 of them missed; 1:02:03 in all</p>"),
            std::string::npos);
  const std::size_t newest = page.find("missed, before the block</td><td>Phone</td><td>&lt;script&gt;3");
  const std::size_t middle = page.find("incoming</td><td>Phone</td><td>&lt;script&gt;2");
  EXPECT_TRUE(newest < middle && middle < page.find("missed</td><td>Phone</td><td>&lt;script&gt;1")) << page;
}

}  // namespace
