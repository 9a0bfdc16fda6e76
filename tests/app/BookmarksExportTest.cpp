#include "app/export/BookmarksExport.h"

#include <nlohmann/json.hpp>

#include "app/export/ExportJob.h"
#include "backup/BackupInformation.h"
#include "backup/DeviceData.h"
#include "samples/Bookmarks.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

class BookmarksExport : public testing::Test {
 protected:
  /// Exports the bookmarks of a backup that holds these files; its report of them.
  PDXExportReport exported(const PDXSampleDatabase& store, const std::string& chrome,
                           const std::string& search = "") {
    PDXFiles::removeTree(folder_ / "phone");
    PDXFiles::removeTree(out_);
    PDXSampleBackupFolder backup(folder_ / "phone");
    backup.takeFile("HomeDomain", "Library/Safari/Bookmarks.db", store.writeTo(folder_ / "store"));
    backup.addFile("AppDomain-com.google.chrome.ios",
                   "Library/Application Support/Google/Chrome/Default/Bookmarks", chrome);
    EXPECT_TRUE(backup.finish());
    PDXDeviceData::setCustomBackupPath(folder_.path());
    PDXDeviceData device("phone");
    const PDXBackupInformation information("phone");
    PDXExportOptions options;
    options.outputFolder = out_;
    options.kinds = {"bookmarks"};
    options.searchTerm = search;
    PDXFiles::makeFolders(out_);
    PDXExportJob job(device, information, options);
    job.prepare();
    return job.run({}, {});
  }

  std::string titles() const {
    std::string all;
    const auto document = nlohmann::json::parse(fileText(out_ + "/Bookmarks/Bookmarks.json"));
    for (const auto& item : document["items"])
      all += std::string(item["depth"].get<std::size_t>(), '>') + item["title"].get<std::string>() + " ";
    return all;
  }

  PDXTestFolder folder_;
  std::string out_ = folder_ / "out";
  PDXSampleDatabase store_ = PDXSampleDatabase()
                                 .table("bookmarks", "id, parent, type, title, url, order_index, hidden")
                                 .row("bookmarks", 0, nullptr, 1, "Root", nullptr, 0, 0)
                                 .row("bookmarks", 1, 0, 1, "B", nullptr, 0, 0)
                                 .row("bookmarks", 2, 1, 0, "z", "z:", 0, 0)
                                 .row("bookmarks", 3, 1, 0, "a", "a:", 1, 0)
                                 .row("bookmarks", 4, 1, 0, "hidden", "h:", 2, 1);
};

TEST_F(BookmarksExport, AccountsForEveryRow) {
  const PDXExportReport report = exported(store_, PDXSampleBookmarks::chromeDocument());
  EXPECT_TRUE(report.isComplete());
  EXPECT_EQ(
      titles(),
      "B >z >a Bookmarks bar >Soup & more >Recipes >>Crêpes Other bookmarks Mobile bookmarks >Stove manual ");
  const auto json = nlohmann::json::parse(fileText(out_ + "/Bookmarks/Bookmarks.json"));
  EXPECT_EQ(json["items"].front()["browser"], "Safari");
  EXPECT_EQ(json["items"].back()["browser"], "Chrome");
  const PDXEntriesReport& entries = *report.kinds[0].entries;
  EXPECT_EQ(entries.textOf(entries.written), "5 bookmarks in 5 folders") << "as `list` says it";
  const std::string page = fileText(out_ + "/index.html");
  EXPECT_NE(page.find("note\">5 bookmarks in 5 folders<"), std::string::npos);
  EXPECT_NE(page.find("class=\"n\">5 bookmarks in 5 folders<"), std::string::npos);
  const auto& rows = *report.kinds[0].entries->rows;
  EXPECT_EQ(rows.rows, 12U);
  EXPECT_EQ(rows.leftOutText(), "1 hidden on the device, 1 the store's own root");
  EXPECT_EQ(rows.unaccounted, 0);

  const PDXExportReport found = exported(store_, PDXSampleBookmarks::chromeDocument(), "CRÊPES");
  EXPECT_EQ(titles(), "Bookmarks bar >Recipes >>Crêpes ");
  EXPECT_EQ(found.kinds[0].filtered, 7U);
  EXPECT_EQ(found.kinds[0].entries->rows->unaccounted, 0);
}

TEST_F(BookmarksExport, KeepsWhatADamagedStoreHolds) {
  const std::string chrome = PDXSampleBookmarks::chromeDocument();
  const PDXExportReport cut =
      exported(store_.row("bookmarks", 5, 9, 0, "lost", "l:", 0, 0), chrome.substr(0, chrome.find("Crêpes")));
  EXPECT_EQ(titles(), "B >z >a lost  >Soup & more > ");
  EXPECT_FALSE(cut.isComplete());
  EXPECT_EQ(cut.problems.size(), 3U) << "a bookmark, the document, and folders cut off before their names";
  EXPECT_EQ(cut.kinds[0].entries->rows->unaccounted, 0);

  const PDXExportReport none = exported(PDXSampleDatabase().table("song", "title"), "[]");
  EXPECT_EQ(none.problems.size(), 2U);
  EXPECT_FALSE(PDXFiles::exists(out_ + "/Bookmarks/Bookmarks.html"));
}

}  // namespace
