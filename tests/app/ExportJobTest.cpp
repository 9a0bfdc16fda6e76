#include "app/export/ExportJob.h"

#include <filesystem>
#include <nlohmann/json.hpp>

#include "backup/BackupInformation.h"
#include "backup/DeviceData.h"
#include "contacts/ContactsDatabase.h"
#include "platform/Text.h"
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

  options_.outputFolder = folder_.write("file", "where the folder should be");
  const PDXExportReport report = run();
  EXPECT_EQ(report.outcome, PDXExportReport::Outcome::unwritable);
  EXPECT_EQ(report.unwritablePath, options_.outputFolder);
}

TEST_F(ExportJob, RefusesFoldersOfOthers) {
  const std::string report = R"({"schema":1,"kind":"export","items":[],"files":[],"device":)";
  const struct {
    const char* what;
    const char* file;
    std::string text;
    bool isRefused;
  } cases[] = {
      {"somebody's file", "notes.txt", "mine", true},
      {"a report of something else", "export.json", R"({"schema":1,"kind":"export"})", true},
      {"another device", "export.json", report + "\"another\"}", true},
      {"this device in another spelling", "export.json",
       report + '"' + PDXText::lowercased(information_->deviceIdentifier()) + "\"}", false},
      {"what a killed run was just writing", "Messages/.pocketdex-999999999-1.part", "half", false},
  };
  for (const auto& c : cases) {
    options_.outputFolder = folder_ / c.what;
    folder_.write(std::string(c.what) + "/" + c.file, c.text);
    options_.kinds = {"calls"};
    const PDXExportReport ran = run();
    EXPECT_EQ(ran.outcome == PDXExportReport::Outcome::refused, c.isRefused) << c.what;
    EXPECT_EQ(mistake_.find("--force") != std::string::npos, c.isRefused) << c.what << mistake_;
    if (c.isRefused) {
      EXPECT_EQ(tree(options_.outputFolder), (std::map<std::string, std::string>{{c.file, c.text}}))
          << c.what;
    }
  }
}

TEST_F(ExportJob, KnowsTheDeviceWhateverTheFolderIsCalled) {
  const auto list = [](const std::string& inside) {
    return R"(<?xml version="1.0"?><plist version="1.0"><dict>)" + inside + "</dict></plist>";
  };
  const std::string info = list("<key>Unique Identifier</key><string>0000-AB</string>");
  const std::string manifest =
      list("<key>Lockdown</key><dict><key>UniqueDeviceID</key><string>0000-CD</string></dict>");
  const struct {
    const char* folder;
    std::string info;
    std::string manifest;
    const char* device;
  } cases[] = {
      {"a", info, manifest, "0000-AB"},
      {"b", list(""), manifest, "0000-CD"},
      {"0000-EF", list(""), list(""), "0000-EF"},
      {"0000-EF-20230101-120000", list(""), "no list", "0000-EF"},
      {"0000-EF-2023010-120000", list(""), list(""), "0000-EF-2023010-120000"},
      {"-20230101-120000", list(""), list(""), "-20230101-120000"},
  };
  for (const auto& c : cases) {
    const std::string folder = std::string("backups/") + c.folder;
    folder_.write(folder + "/Info.plist", c.info);
    folder_.write(folder + "/Manifest.plist", c.manifest);
    EXPECT_EQ(PDXBackupInformation::ofFolder(folder_ / folder).deviceIdentifier(), c.device) << c.folder;
  }
}

// Whatever the names are that an export would use, files, folders and links that were there stay, and nothing
// goes through a link.
TEST_F(ExportJob, ForceReplacesNothingOfOthers) {
  const std::string title = "Ann Fletcher";
  std::map<std::string, std::string> theirs;
  for (const char* path :
       {"INDEX.html", "EXPORT.json", "Messages/ann fletcher.html", "Contacts", "Calls/Calls.csv",
        "Music/Tracks.csv", "Calendars/Home.ics", "Notes/Cloud/Notes/Packing list.txt",
        "Notes/Cloud/Notes/Drawn by hand - Attachments/2.png"})
    theirs[path] = "theirs";
  for (const auto& [path, text] : theirs) folder_.write("out/" + path, text);
  PDXFiles::makeFolders(folder_ / "elsewhere");
  std::filesystem::create_directory_symlink(folder_ / "elsewhere", folder_ / "out/Bookmarks");
  options_.isForced = true;
  const PDXExportReport report = run();
  EXPECT_TRUE(report.isComplete());
  auto files = tree(options_.outputFolder);
  for (const auto& [path, text] : theirs) EXPECT_EQ(files[path], text) << path;
  EXPECT_TRUE(PDXFiles::list(folder_ / "elsewhere").empty());
  for (const char* path :
       {"index (1).html", "export (1).json", "Messages/Ann Fletcher (1).html", "Contacts (1)/Contacts.vcf",
        "Calls/Calls (1).csv", "Calls/Calls.html", "Bookmarks (1)/Bookmarks.html", "Music/Tracks (1).csv",
        "Notes/Cloud/Notes/Packing list (1).html", "Notes/Cloud/Notes/Drawn by hand (1) - Attachments/2.png"})
    EXPECT_TRUE(files.contains(path)) << path;
  const std::string start = files["index (1).html"];
  EXPECT_NE(start.find(PDXText::pathForHtmlLink("Messages/Ann Fletcher (1).html")), std::string::npos);
  const auto json = nlohmann::json::parse(files["export (1).json"]);
  EXPECT_GE(json["notOurs"].size(), theirs.size());
  EXPECT_NE(start.find("Messages/ann fletcher.html"), std::string::npos) << "it says so";

  options_.isForced = false;
  run();
  EXPECT_EQ(mistake_, "") << "now it is an export of ours as well";
  EXPECT_EQ(tree(options_.outputFolder), files);
}

TEST_F(ExportJob, AFurtherExportAddsToTheFirst) {
  run();
  const auto all = tree(options_.outputFolder);
  options_.kinds = {"messages"};
  options_.conversations = {"Ann Fletcher"};
  run();
  auto both = tree(options_.outputFolder);
  const auto json = nlohmann::json::parse(both["export.json"]);
  EXPECT_EQ(json["items"].size(), 7U);
  EXPECT_EQ(json["items"][0]["written"]["conversations"], 1);
  EXPECT_GT(json["items"][0]["pages"].size(), 10U);
  EXPECT_EQ(json["items"][0]["pages"][1]["earlier"], true);
  EXPECT_EQ(json["items"][1]["earlier"], true);
  EXPECT_EQ(json["files"].size(), both.size());
  for (const char* page : {"Contacts/Contacts.vcf", "Calls/Calls.html", "Messages/Bob%20Okafor.html"})
    if (all.at("index.html").find(page) != std::string::npos) {
      EXPECT_NE(both["index.html"].find(page), std::string::npos) << page;
    }
  run();
  EXPECT_EQ(tree(options_.outputFolder), both) << "the same again";
  options_.kinds = {};
  options_.conversations = {};
  run();
  EXPECT_EQ(tree(options_.outputFolder), all) << "and all of it again";
}

/// Runs an export that is looked at in its middle.
TEST_F(ExportJob, ARunningExportIsMarkedAndAlone) {
  bool isSeen = false;
  const auto look = [&](const std::string&, std::size_t, std::size_t) {
    if (std::exchange(isSeen, true)) return;
    const auto files = tree(options_.outputFolder);
    const auto json = nlohmann::json::parse(files.at("export.json"));
    EXPECT_EQ(json["complete"], false);
    EXPECT_NE(files.at("index.html").find("This export is not complete"), std::string::npos);
    PDXExportJob second(*device_, *information_, options_);
    const PDXExportReport refused = second.run({}, {});
    EXPECT_EQ(refused.outcome, PDXExportReport::Outcome::unwritable);
    EXPECT_NE(refused.why.find("another export is running"), std::string::npos) << refused.why;
    // What a killed run leaves behind is what lies there now.
    std::filesystem::copy(options_.outputFolder, folder_ / "killed",
                          std::filesystem::copy_options::recursive);
  };
  PDXExportJob job(*device_, *information_, options_);
  job.prepare();
  job.run(look, {});
  EXPECT_TRUE(isSeen);
  const auto whole = tree(options_.outputFolder);
  EXPECT_EQ(nlohmann::json::parse(whole.at("export.json"))["complete"], true);
  EXPECT_FALSE(whole.contains(".pocketdex.lock"));

  options_.outputFolder = folder_ / "killed";
  EXPECT_GT(tree(options_.outputFolder).count("Messages/Ann Fletcher.html"), 0U);
  run();
  EXPECT_EQ(tree(options_.outputFolder), whole) << "the next run takes its files for ours";
}

TEST_F(ExportJob, LooksForRoomBeforeItCopiesAttachments) {
  options_.jobs = 1;
  options_.withFiles = true;
  const struct {
    const char* kind;
    const char* folder;
  } cases[] = {{"messages", "Messages"}, {"notes", "Notes"}, {"music", "Music/iTunes_Control"}};
  for (const auto& [kind, folder] : cases) {
    options_.kinds = {kind};
    options_.outputFolder = folder_ / (std::string("small-") + kind);
    options_.freeBytes = [] { return 100; };
    const PDXExportReport report = run();
    EXPECT_EQ(report.outcome, PDXExportReport::Outcome::unwritable) << kind;
    EXPECT_NE(report.why.find(" MB are free"), std::string::npos) << report.why;
    const auto files = tree(options_.outputFolder);
    for (const auto& [path, text] : files)
      EXPECT_TRUE(path.find(" Media/") == std::string::npos && path.find(" - Att") == std::string::npos &&
                  !path.starts_with("Music/iTunes_Control"))
          << path;
    EXPECT_EQ(nlohmann::json::parse(files.at("export.json"))["complete"], false);

    options_.freeBytes = [] { return std::nullopt; };
    EXPECT_TRUE(run().isComplete()) << "a file system that cannot tell";
    EXPECT_TRUE(PDXFiles::isFolder(options_.outputFolder + "/" + folder));
    options_.freeBytes = [] { return 100; };
    EXPECT_TRUE(run().isComplete()) << kind << ": replaced by as much";
  }
}

TEST_F(ExportJob, WhatItWritesIsTheOwnersAlone) {
  options_.outputFolder = folder_ / "new/out";
  options_.writesContactPictures = true;
  options_.withFiles = true;
  run();
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_ / "new")) {
    const auto others = std::filesystem::perms::group_all | std::filesystem::perms::others_all;
    EXPECT_EQ(entry.status().permissions() & others, std::filesystem::perms::none) << entry.path();
    ++count;
  }
  EXPECT_GT(count, 50U);
}

// Whatever the reason, here a file that somebody puts there while the export runs: it costs one page.
TEST_F(ExportJob, AFileThatCannotBeMadeCostsItselfOnly) {
  options_.jobs = 1;
  std::string page;
  const auto block = [&](const std::string&, std::size_t, std::size_t) {
    if (!page.empty()) return;
    page = PDXFiles::exists(folder_ / "out/Messages/Mum.html") ? "Messages/60123.html" : "Messages/Mum.html";
    folder_.write("out/" + page, "theirs");
  };
  PDXExportJob job(*device_, *information_, options_);
  job.prepare();
  const PDXExportReport report = job.run(block, {});
  EXPECT_EQ(report.outcome, PDXExportReport::Outcome::done);
  EXPECT_FALSE(report.isComplete());
  ASSERT_EQ(report.kinds.size(), 7U);
  ASSERT_EQ(report.kinds[0].unwritten.size(), 1U);
  EXPECT_EQ(report.kinds[0].unwritten[0].where, page);
  EXPECT_EQ(report.kinds[0].written.size() + 1, report.kinds[0].found);
  EXPECT_EQ(fileText(options_.outputFolder + "/" + page), "theirs");
  const auto json = nlohmann::json::parse(fileText(options_.outputFolder + "/export.json"));
  EXPECT_EQ(json["items"][0]["unwritten"][0]["where"], page);
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

// The name is cut as a whole, and the kinds after the notes come out.
TEST_F(ExportJob, AnExtensionOfAnyLengthEndsNothing) {
  using Kind = PDXSampleNoteObject::Kind;
  const std::string name = "scan." + std::string(300, 'x');
  PDXSampleBackupFolder backup(folder_ / "long");
  ASSERT_EQ(PDXSampleNoteStore::write(folder_ / "n", PDXSampleNoteStore::generations()[0],
                                      {{Kind::account, 1, "LocalAccount", "On My iPhone"},
                                       {Kind::folder, 2, "F", "Notes"},
                                       {Kind::note, 3, "N", "Scanned", 1, 2},
                                       {Kind::attachment, 4, "A", name, 0, 0, 3, 5, 0, "com.adobe.pdf"},
                                       {Kind::media, 5, "M", name}}),
            "");
  const std::string domain = "AppDomainGroup-group.com.apple.notes";
  backup.takeFile(domain, "NoteStore.sqlite", folder_ / "n");
  backup.addFile(domain, "Media/M/" + name, std::string_view("scanned"));
  ASSERT_TRUE(backup.finish()) << backup.error();
  device_ = std::make_unique<PDXDeviceData>("long");
  options_.kinds = {"notes"};
  const PDXExportReport report = run();
  EXPECT_EQ(report.outcome, PDXExportReport::Outcome::done) << report.why;
  const auto files =
      PDXFiles::list(options_.outputFolder + "/Notes/On My iPhone/Notes/Scanned - Attachments");
  ASSERT_EQ(files.size(), 1U);
  EXPECT_TRUE(files[0].starts_with("scan.xxx")) << files[0];
  EXPECT_LE(files[0].size(), 200U);
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
  run();
  folder_.write("out/" + picture, "as it was before");
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
