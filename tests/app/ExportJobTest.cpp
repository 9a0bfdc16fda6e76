#include "app/export/ExportJob.h"

#include <filesystem>
#include <nlohmann/json.hpp>

#include "backup/BackupInformation.h"
#include "backup/DeviceData.h"
#include "contacts/ContactsDatabase.h"
#include "samples/BackupFolder.h"
#include "samples/NoteStore.h"
#include "samples/Notes.h"
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
  ASSERT_EQ(report.kinds.size(), 7U);
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

TEST_F(ExportJob, LeavesOutWhatTheFiltersSayNothingAbout) {
  options_.searchTerm = "beach";
  const PDXExportReport searched = run();
  std::vector<std::string> kinds;
  for (const PDXKindReport& kind : searched.kinds) kinds.push_back(kind.kind);
  EXPECT_EQ(kinds, (std::vector<std::string>{"messages", "contacts", "notes", "bookmarks"}));
  EXPECT_EQ(searched.notConcerned, (std::vector<std::string>{"calendars", "calls", "music"}));
  EXPECT_FALSE(PDXFiles::exists(options_.outputFolder + "/Calls"));
}

TEST_F(ExportJob, SaysWhichStoresGotLost) {
  const auto files = device_->listedFiles().value_or(std::vector<PDXBackupFile>());
  std::vector<std::string> lost;
  for (const PDXBackupFile& file : files) {
    for (const char* name : {"/Calendar.sqlitedb", "/CallHistory.storedata", "/MediaLibrary.sqlitedb"}) {
      if (!file.relativePath.ends_with(name)) continue;
      std::filesystem::remove(device_->storedFile(file).path);
      lost.push_back(file.relativePath);
    }
  }
  std::sort(lost.begin(), lost.end());
  ASSERT_EQ(lost.size(), 3U);
  for (const bool isNamed : {false, true}) {
    if (isNamed) options_.kinds = {"calendars", "calls", "music"};
    const PDXExportReport report = run();
    std::vector<std::string> told;
    for (const PDXProblem& problem : report.problems) told.push_back(problem.where);
    EXPECT_EQ(told, lost);
    EXPECT_EQ(report.notHeld, std::vector<std::string>());
    EXPECT_FALSE(report.isComplete());
  }
}

TEST_F(ExportJob, NamesDamagedStoresAlikeInEveryRun) {
  const auto files = device_->listedFiles().value_or(std::vector<PDXBackupFile>());
  for (const PDXBackupFile& file : files) {
    if (!file.relativePath.ends_with("/CallHistory.storedata")) continue;
    PDXAtomicFile damaged(device_->storedFile(file).path);
    damaged.append("no database");
    ASSERT_TRUE(damaged.commit());
  }
  options_.kinds = {"calls"};
  const PDXExportReport report = run();
  ASSERT_EQ(report.problems.size(), 1U);
  EXPECT_EQ(report.problems[0].where, "CallHistory.storedata");
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

// An exception that leaves a thread would end the process as it stands, with the scratch folder left behind.
TEST_F(ExportJob, AFailedWorkerEndsTheRunInOrder) {
  options_.jobs = 4;
  for (const char* kind : {"messages", "notes"}) {
    options_.kinds = {kind};
    PDXExportJob job(*device_, *information_, options_);
    job.prepare();
    const auto fails = [](const std::string&, std::size_t done, std::size_t) {
      if (done > 2) throw std::bad_alloc();
    };
    EXPECT_THROW(job.run(fails, {}), std::bad_alloc) << kind;
    for (const auto& [path, bytes] : tree(options_.outputFolder))
      EXPECT_FALSE(path.ends_with(".part")) << path;
  }
}

TEST_F(ExportJob, WritesNotesIntoTheirFolders) {
  options_.kinds = {"notes"};
  options_.writesText = true;
  const PDXExportReport report = run();
  EXPECT_TRUE(report.isComplete());
  ASSERT_EQ(report.kinds.size(), 1U);
  const PDXNotesReport& notes = *report.kinds[0].notes;
  EXPECT_EQ(notes.rows->rows, 22U);
  EXPECT_EQ(notes.rows->leftOutRows(), 6U);
  EXPECT_EQ(notes.rows->unaccounted, 0);
  EXPECT_EQ(notes.locked, std::vector<std::string>{"Where the spare key is"});
  EXPECT_EQ(notes.unreached.size(), 4U);
  auto files = tree(options_.outputFolder + "/Notes");
  for (const char* name :
       {"Cloud/Holidays/Boat times - Attachments/Timetable.pdf",
        "Cloud/Notes/Drawn by hand - Attachments/2.png", "No Account/No Folder/In no folder.html",
        "On My iPhone/Notes/.._.._.._CON.html", "On My iPhone/Notes/SOUP.html",
        "On My iPhone/Notes/Soup (1).html", "Post/Notes/From the office.txt"}) {
    EXPECT_TRUE(files.contains(name)) << name;
  }
  EXPECT_EQ(files["Cloud/Notes/Packing list.txt"],
            "Packing list\nGreen scarf\nTent & pegs\n\nStove <the small one>\n½ l paraffin 🔥\nIt's \"all\"?");
  const auto written =
      std::filesystem::last_write_time(options_.outputFolder + "/Notes/Cloud/Notes/Packing list.html");
  EXPECT_EQ(std::chrono::floor<std::chrono::days>(std::chrono::file_clock::to_sys(written)),
            std::chrono::sys_days(2023y / 12 / 11));
}

// A text shows no pictures, films and files: they must lie beside it all the same.
TEST_F(ExportJob, NotesAsTextAloneLoseNoAttachment) {
  options_.kinds = {"notes"};
  options_.writesText = true;
  const std::size_t attachments = run().kinds[0].attachmentCount();
  auto both = tree(options_.outputFolder + "/Notes");
  std::erase_if(both, [](const auto& file) { return file.first.ends_with(".html"); });
  options_.writesHtml = false;
  options_.outputFolder = folder_ / "text";
  PDXFiles::makeFolders(options_.outputFolder);
  const PDXExportReport report = run();
  EXPECT_EQ(tree(options_.outputFolder + "/Notes"), both);
  EXPECT_GT(attachments, 0U);
  EXPECT_EQ(report.kinds[0].attachmentCount(), attachments);
  const std::string page = fileText(options_.outputFolder + "/index.html");
  EXPECT_NE(page.find("1 attachment was copied unchanged"), std::string::npos) << "it is no picture";
}

TEST_F(ExportJob, SearchesNotesAndKeepsTheirNames) {
  options_.kinds = {"notes"};
  options_.searchTerm = "FROM ANN";
  const PDXExportReport report = run();
  ASSERT_EQ(report.kinds[0].written.size(), 1U);
  EXPECT_EQ(report.kinds[0].written[0].path, "Notes/On My iPhone/Notes/Soup (2).html");
  EXPECT_EQ(report.kinds[0].filtered, 15U);
  EXPECT_EQ(report.kinds[0].notes->rows->unaccounted, 0);
}

TEST_F(ExportJob, ReplacesAttachmentsOfEarlierExports) {
  options_.kinds = {"notes"};
  const std::string picture = "Notes/Cloud/Notes/Drawn by hand - Attachments/2.png";
  folder_.write("out/" + picture, "of another phone");
  run();
  EXPECT_TRUE(fileText(PDXFiles::joined(options_.outputFolder, picture)).starts_with("\x89PNG"));
}

// Devices from before the newer store, and those that have an empty one and never moved.
TEST_F(ExportJob, ReadsTheOlderStoreOfDevicesThatNeverMoved) {
  for (const bool hasEmptyStore : {false, true}) {
    const std::string name = hasEmptyStore ? "empty" : "older";
    PDXSampleBackupFolder backup(folder_ / name);
    ASSERT_EQ(PDXSampleNotes::writeOlderStore(folder_ / "notes.sqlite", false), "");
    backup.takeFile("HomeDomain", "Library/Notes/notes.sqlite", folder_ / "notes.sqlite");
    if (hasEmptyStore) {
      ASSERT_EQ(PDXSampleNoteStore::write(folder_ / "n", PDXSampleNoteStore::generations()[0], {}), "");
      backup.takeFile("AppDomainGroup-group.com.apple.notes", "NoteStore.sqlite", folder_ / "n");
    }
    ASSERT_TRUE(backup.finish()) << backup.error();
    device_ = std::make_unique<PDXDeviceData>(name);
    options_.kinds = {"notes"};
    options_.outputFolder = folder_ / ("out-" + name);
    PDXFiles::makeFolders(options_.outputFolder);
    const PDXExportReport report = run();
    EXPECT_TRUE(report.isComplete()) << name;
    EXPECT_EQ(report.kinds[0].written.size(), 5U) << name;
    EXPECT_EQ(report.kinds[0].notes->rows->unaccounted, 0) << name;
    auto files = tree(options_.outputFolder + "/Notes/No Account/No Folder");
    EXPECT_NE(files["Untitled.html"].find("<title>Note</title>"), std::string::npos) << name;
  }
}

}  // namespace
