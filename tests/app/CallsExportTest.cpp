#include "app/export/CallsExport.h"

#include <nlohmann/json.hpp>

#include "app/export/ExportJob.h"
#include "backup/BackupInformation.h"
#include "backup/DeviceData.h"
#include "contacts/ContactsDatabase.h"
#include "samples/SampleBackup.h"
#include "tests/support/TestFolder.h"

namespace {

using Generation = PDXSampleOptions::Generation;

class CallsExport : public testing::Test {
 protected:
  ~CallsExport() override { PDXContactsDatabase::clear(); }

  /// The report of an export of the calls, in a folder of its own.
  nlohmann::json exported(const PDXSampleOptions& sample, const PDXExportOptions& asked = {}) {
    EXPECT_FALSE(PDXSampleBackup::write(sample));
    PDXDeviceData::setCustomBackupPath(folder_.path());
    PDXDeviceData device("phone");
    const PDXBackupInformation information("phone");
    if (sample.password) device.unlock(*sample.password);
    PDXExportOptions options = asked;
    options.outputFolder = folder_ / "z-out";
    options.kinds = {"calls"};
    PDXFiles::makeFolders(options.outputFolder);
    PDXExportJob job(device, information, options);
    job.prepare();
    const PDXExportReport report = job.run({}, {});
    EXPECT_TRUE(report.isComplete());
    table_ = fileText(options.outputFolder + "/Calls/Calls.csv");
    return nlohmann::json::parse(fileText(options.outputFolder + "/export.json"))["items"][0];
  }

  PDXTestFolder folder_;
  std::string table_;
};

/// All but the date of a row of the table, from 1.
std::string row(const std::string& table, int number) {
  std::size_t at = 0;
  while (number-- > 0) at = table.find('\n', at) + 1;
  const std::string line = table.substr(at, table.find('\r', at) - at);
  return line.substr(line.find(',') + 1);
}

TEST_F(CallsExport, NamesPeopleAndAccountsForEveryRow) {
  for (const bool isEncrypted : {false, true}) {
    for (const auto generation : {Generation::modern, Generation::legacy}) {
      PDXFiles::removeTree(folder_ / "phone");
      PDXFiles::removeTree(folder_ / "z-out");
      PDXSampleOptions sample{
          .folder = folder_ / "phone", .messages = 5, .rounds = 3, .generation = generation};
      if (isEncrypted) sample.password = "secret";
      const bool isNew = generation == Generation::modern;
      const auto kind = exported(sample);
      EXPECT_EQ(kind["found"]["calls"], 73);
      EXPECT_EQ(kind["found"]["rows"], isNew ? 73 : 78);
      EXPECT_EQ(kind["written"]["calls"], 73);
      EXPECT_EQ(kind["leftOut"]["rows"]["in the older database, which a newer store replaced"],
                isNew ? 0 : 5);
      EXPECT_EQ(kind["unaccounted"]["rows"], 0);
      EXPECT_EQ(row(table_, 3),
                isNew ? "outgoing,yes,Phone,61,Ann Fletcher,020 7946 0101,com.apple.Telephony,London"
                      : "outgoing,yes,Phone,61,Ann Fletcher,020 7946 0101,,London");
      EXPECT_TRUE(row(table_, 8).starts_with("incoming,yes,Phone,33,\"Bike, 2nd hand\",+447700900777,"))
          << "the name that the device wrote down: " << row(table_, 8);
    }
  }
}

TEST_F(CallsExport, TakesTheRangeOnly) {
  PDXExportOptions range;
  range.startDate = range.endDate = PDXDates::fromDayText("2024-03-10");
  const auto kind = exported({.folder = folder_ / "phone", .messages = 5}, range);
  EXPECT_EQ(kind["written"]["calls"], 6);
  EXPECT_EQ(kind["filtered"]["calls"], 67);
  EXPECT_EQ(kind["unaccounted"]["rows"], 0);
}

}  // namespace
