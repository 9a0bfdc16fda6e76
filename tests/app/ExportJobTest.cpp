#include "app/export/ExportJob.h"

#include <nlohmann/json.hpp>

#include "backup/BackupInformation.h"
#include "backup/DeviceData.h"
#include "contacts/ContactsDatabase.h"
#include "samples/SampleBackup.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace std::chrono_literals;

/// Every file below a folder with its bytes, by relative path.
std::map<std::string, std::string> tree(const std::string& folder, const std::string& below = "") {
  std::map<std::string, std::string> files;
  for (const std::string& name : PDXFiles::list(PDXFiles::joined(folder, below))) {
    const std::string path = PDXFiles::joined(below, name);
    if (PDXFiles::isFolder(PDXFiles::joined(folder, path))) {
      files.merge(tree(folder, path));
    } else {
      files[path] = fileText(PDXFiles::joined(folder, path));
    }
  }
  return files;
}

class ExportJob : public testing::Test {
 protected:
  ExportJob() {
    EXPECT_FALSE(PDXSampleBackup::write({.folder = folder_ / "phone", .seed = 5, .messages = 400}));
    PDXDeviceData::setCustomBackupPath(folder_.path());
    device_ = std::make_unique<PDXDeviceData>("phone");
    information_ = std::make_unique<PDXBackupInformation>("phone");
    options_.outputFolder = folder_ / "out";
    PDXFiles::makeFolders(options_.outputFolder);
  }
  ~ExportJob() override { PDXContactsDatabase::clear(); }

  PDXExportReport run(const std::stop_token& stop = {}) {
    PDXExportJob job(*device_, *information_, options_);
    mistake_ = job.prepare().value_or("");
    return job.run({}, stop);
  }

  PDXTestFolder folder_;
  std::unique_ptr<PDXDeviceData> device_;
  std::unique_ptr<PDXBackupInformation> information_;
  PDXExportOptions options_;
  std::string mistake_;
};

TEST_F(ExportJob, BytesDoNotDependOnWorkersOrOnEarlierRuns) {
  run();
  const auto first = tree(options_.outputFolder);
  EXPECT_GT(first.size(), 20U);
  EXPECT_TRUE(first.contains("index.html") && first.contains("export.json"));
  run();
  EXPECT_EQ(tree(options_.outputFolder), first) << "run again";
  options_.jobs = 4;
  options_.outputFolder = folder_ / "other";
  PDXFiles::makeFolders(options_.outputFolder);
  run();
  EXPECT_EQ(tree(options_.outputFolder), first) << "four workers";
}

TEST_F(ExportJob, ReportCountsWhatThePagesHold) {
  const PDXExportReport report = run();
  EXPECT_TRUE(report.isComplete());
  ASSERT_EQ(report.kinds.size(), 5U);
  const PDXKindReport& kind = report.kinds[0];
  EXPECT_EQ(kind.found, kind.written.size());
  EXPECT_GE(kind.missing.size(), 2U);
  std::size_t bubbles = 0;
  std::string pages;
  for (const auto& item : kind.written) {
    const std::string html = fileText(PDXFiles::joined(options_.outputFolder, item.path));
    pages += html;
    for (std::size_t at = 0; (at = html.find("<div class='message ", at)) != std::string::npos; ++at)
      ++bubbles;
  }
  EXPECT_EQ(bubbles, kind.messageCount());
  for (const char* words : {"Who is bringing the tent?", "The view from the top!", "你好，世界",
                            "Hello, is the bicycle still for sale?"}) {
    EXPECT_NE(pages.find(words), std::string::npos) << words;
  }
  const auto json = nlohmann::json::parse(fileText(options_.outputFolder + "/export.json"));
  EXPECT_EQ(json["schema"], 1);
  EXPECT_EQ(json["backup"]["deviceName"], "Ann's iPhone");
  EXPECT_EQ(json["items"][0]["written"]["messages"], bubbles);
  EXPECT_EQ(json["items"][0]["found"]["messages"], 400);
  EXPECT_EQ(json["items"][0]["leftOut"]["messages"], nlohmann::json({{"in no conversation", 1},
                                                                     {"chat without participants", 2},
                                                                     {"recently deleted", 1},
                                                                     {"no text and no attachment", 3},
                                                                     {"damaged text", 0},
                                                                     {"filtered", 0}}));
  EXPECT_EQ(json["items"][0]["unaccounted"]["messages"], 0);
  EXPECT_EQ(json["items"][0]["attachmentsMissing"].size(), kind.missing.size());
  EXPECT_EQ(json["notBuilt"], nlohmann::json::array());
}

/// How often `part` stands in `text`.
std::size_t occurrences(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) ++count;
  return count;
}

TEST_F(ExportJob, WritesContactsAndAccountsForEveryRow) {
  options_.kinds = {"contacts"};
  const PDXExportReport report = run();
  ASSERT_EQ(report.kinds.size(), 1U);
  EXPECT_EQ(PDXFiles::list(options_.outputFolder + "/Contacts"),
            (std::vector<std::string>{"Contacts.csv", "Contacts.vcf"}));
  const PDXContactRows& rows = *report.kinds[0].rows;
  const std::string cards = fileText(options_.outputFolder + "/Contacts/Contacts.vcf");
  EXPECT_EQ(occurrences(cards, "BEGIN:VCARD\r\n"), rows.written);
  EXPECT_TRUE(cards.find("FN:newsletter@example.net\r\n") != std::string::npos)
      << "known by an address alone";
  EXPECT_GT(rows.merged, 0U);
  EXPECT_EQ(*rows.found, rows.written + rows.merged + rows.empty);
  EXPECT_TRUE(report.isComplete());
  const std::string page = fileText(options_.outputFolder + "/index.html");
  EXPECT_EQ(occurrences(page, "<a href=\"Contacts/Contacts."), 2U);

  options_.searchTerm = "07700900101";
  options_.outputFolder = folder_ / "found";
  PDXFiles::makeFolders(options_.outputFolder);
  const PDXExportReport found = run();
  EXPECT_EQ(found.kinds[0].rows->written, 1U);
  EXPECT_EQ(found.kinds[0].filtered, rows.written - 1);
  EXPECT_EQ(found.kinds[0].rows->unaccounted(), 0);
}

TEST_F(ExportJob, RowsThatNobodySawAreNotPassedOver) {
  PDXExportReport report;
  report.kinds.emplace_back().rows = PDXContactRows{"ABPerson", 9, 4, 2, 1, 1};
  EXPECT_EQ(report.kinds[0].rows->unaccounted(), 1);
  EXPECT_FALSE(report.isComplete());
  report.kinds[0].rows->found.reset();
  EXPECT_TRUE(report.isComplete()) << "what cannot be counted is a problem of its own";
}

TEST_F(ExportJob, FiltersLeaveConversationsOutUnlessNamed) {
  const PDXExportReport all = run();
  const std::string title = all.kinds[0].written[0].title;
  options_.outputFolder = folder_ / "filtered";
  PDXFiles::makeFolders(options_.outputFolder);
  options_.searchTerm = "no message of the sample holds this";
  PDXExportReport report = run();
  EXPECT_EQ(report.kinds[0].filtered, all.kinds[0].found);
  EXPECT_TRUE(report.kinds[0].written.empty());
  EXPECT_FALSE(PDXFiles::exists(options_.outputFolder + "/Messages"));

  EXPECT_EQ(report.kinds[0].messageRows->unaccounted, 0);

  options_.conversations = {title};
  report = run();
  EXPECT_EQ(report.kinds[0].messageRows->leftOutRows(), 400U);
  ASSERT_EQ(report.kinds[0].written.size(), 1U);
  EXPECT_NE(fileText(options_.outputFolder + "/" + report.kinds[0].written[0].path)
                .find("noMessagesInDateRange\">"),
            std::string::npos);

  options_.conversations = {"Nobody of that name"};
  run();
  EXPECT_TRUE(mistake_.starts_with("there is no conversation \"Nobody of that name\"")) << mistake_;
}

TEST_F(ExportJob, StopsAndSaysWhatCannotBeWritten) {
  std::stop_source stop;
  stop.request_stop();
  EXPECT_EQ(run(stop.get_token()).outcome, PDXExportReport::Outcome::stopped);
  EXPECT_TRUE(tree(options_.outputFolder).empty());

  folder_.write("out/Messages", "a file where the folder should be");
  const PDXExportReport report = run();
  EXPECT_EQ(report.outcome, PDXExportReport::Outcome::unwritable);
  EXPECT_EQ(report.unwritablePath, options_.outputFolder + "/Messages");
}

}  // namespace
