#include "app/export/CalendarsExport.h"

#include <nlohmann/json.hpp>

#include "app/export/ExportJob.h"
#include "backup/BackupInformation.h"
#include "backup/DeviceData.h"
#include "samples/SampleBackup.h"
#include "tests/support/TestFolder.h"

namespace {

class CalendarsExport : public testing::Test {
 protected:
  nlohmann::json exported(const PDXExportOptions& asked = {}) {
    PDXDeviceData::setCustomBackupPath(folder_.path());
    PDXDeviceData device("phone");
    const PDXBackupInformation information("phone");
    if (information.IsEncrypted()) device.unlock("secret");
    PDXExportOptions options = asked;
    options.outputFolder = out_;
    options.kinds = {"calendars"};
    PDXFiles::removeTree(out_);
    PDXFiles::makeFolders(out_);
    PDXExportJob job(device, information, options);
    job.prepare();
    EXPECT_TRUE(job.run({}, {}).isComplete());
    return nlohmann::json::parse(fileText(out_ + "/export.json"))["items"][0];
  }

  PDXTestFolder folder_;
  std::string out_ = folder_ / "out";
};

TEST_F(CalendarsExport, WritesEveryCalendarAndAccountsForEveryRow) {
  for (const bool isEncrypted : {false, true}) {
    PDXFiles::removeTree(folder_ / "phone");
    PDXSampleOptions sample{.folder = folder_ / "phone", .messages = 5, .rounds = 3};
    if (isEncrypted) sample.password = "secret";
    ASSERT_FALSE(PDXSampleBackup::write(sample));
    const auto kind = exported();
    EXPECT_EQ(PDXFiles::list(out_ + "/Calendars"),
              (std::vector<std::string>{"Birthdays _of people_ _ all.ics", "Home.ics", "Work.ics",
                                        "work (1).ics"}));
    EXPECT_EQ(kind["found"], nlohmann::json({{"events", 8}, {"rows", 9}}));
    EXPECT_EQ(kind["written"]["events"], 8);
    EXPECT_EQ(kind["leftOut"]["rows"], nlohmann::json({{"in an inbox of invitations", 1}, {"filtered", 0}}));
    EXPECT_EQ(kind["unaccounted"]["rows"], 0);
    EXPECT_EQ(
        fileText(out_ + "/Calendars/work (1).ics"),
        "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nCALSCALE:GREGORIAN\r\nPRODID::-//Lantern Byte Ltd.//Pocketdex 11 "
        "Mac//EN\r\nX-WR-CALNAME:work\r\nX-APPLE-CALENDAR-COLOR:#63da38\r\nBEGIN:VTIMEZONE\r\n"
        "TZID:Europe/London\r\nEND:VTIMEZONE\r\nBEGIN:VEVENT\r\nDTSTART;TZID=Europe/"
        "London:20240324T160000Z\r\n"
        "DTEND;TZID=Europe/London:20240324T163000Z\r\nSUMMARY:Übergabe 交接\r\nRRULE:;COUNT=3\r\n"
        "CLASS:PUBLIC\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n");
  }
}

TEST_F(CalendarsExport, TakesWhatLiesWhollyInTheRange) {
  ASSERT_FALSE(PDXSampleBackup::write({.folder = folder_ / "phone", .messages = 5}));
  PDXExportOptions range;
  range.startDate = PDXDates::fromDayText("2024-03-21");
  range.endDate = PDXDates::fromDayText("2024-03-24");
  const auto kind = exported(range);
  EXPECT_EQ(PDXFiles::list(out_ + "/Calendars"), (std::vector<std::string>{"Work.ics", "work (1).ics"}));
  EXPECT_EQ(kind["written"]["events"], 3);
  EXPECT_EQ(kind["leftOut"]["rows"]["filtered"], 5);
  EXPECT_EQ(kind["unaccounted"]["rows"], 0);
}

}  // namespace
