#include "app/export/MusicExport.h"

#include "app/export/ExportJob.h"
#include "backup/BackupInformation.h"
#include "backup/DeviceData.h"
#include "samples/Music.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

class MusicExport : public testing::Test {
 protected:
  PDXExportReport exported(const std::string& library = "", bool withFiles = true) {
    PDXFiles::removeTree(out_);
    PDXDeviceData::setCustomBackupPath(folder_.path());
    PDXDeviceData device("phone");
    const PDXBackupInformation information("phone");
    PDXExportOptions options;
    options.outputFolder = out_;
    options.kinds = {"music"};
    options.libraryFile = library;
    options.withFiles = withFiles;
    PDXFiles::makeFolders(out_);
    PDXExportJob job(device, information, options);
    job.prepare();
    return job.run({}, {});
  }

  PDXTestFolder folder_;
  std::string out_ = folder_ / "out";
};

TEST_F(MusicExport, FindsTheLibraryAndItsFilesWhereverTheBackupKeepsThem) {
  ASSERT_EQ(PDXSampleMusic::writeLibrary(folder_ / "library", 17), "");
  for (const std::string folder : {"", "Media/"}) {
    PDXFiles::removeTree(folder_ / "phone");
    PDXSampleBackupFolder backup(folder_ / "phone");
    backup.addFileFrom("MediaDomain", folder + "iTunes_Control/iTunes/MediaLibrary.sqlitedb",
                       folder_ / "library");
    backup.addFile("MediaDomain", folder + "iTunes_Control/Music/F00/AVER.wav", std::string_view("sound"));
    ASSERT_TRUE(backup.finish());
    const PDXExportReport report = exported();
    ASSERT_EQ(report.kinds.size(), 1U) << folder;
    EXPECT_TRUE(report.isComplete());
    EXPECT_EQ(report.kinds[0].entries->files, 1U);
    ASSERT_EQ(report.kinds[0].missing.size(), 4U);
    EXPECT_EQ(report.kinds[0].missing[1].why, "the backup does not hold iTunes_Control/Music/F02/GONE.m4a");
    EXPECT_EQ(report.kinds[0].missing[3].where, "NONE.m4a") << "a track without a title";
    EXPECT_EQ(report.kinds[0].entries->rows->unaccounted, 0);
    EXPECT_EQ(fileText(out_ + "/Music/iTunes_Control/Music/F00/AVER.wav"), "sound");
    EXPECT_EQ(fileText(out_ + "/Music/Rowing.m3u8"),
              "#EXTM3U\n#EXTENC:UTF-8\n#PLAYLIST:Rowing\n# Not in the backup: Café Môle - Überfahrt 交接\n"
              "#EXTINF:215,The Avocets - Tides\n"
              "iTunes_Control/Music/F00/AVER.wav\n# Not on the device: The Avocets - Above the clouds\n"
              "# Not in the backup: The Avocets - Saltmarsh <live> & \"free\"\n");

    const PDXExportReport without = exported("", false);
    EXPECT_EQ(without.kinds[0].entries->notCopiedText(),
              "1 file of tracks is in the backup: --with-files copies it");
    EXPECT_NE(fileText(out_ + "/index.html").find("--with-files copies it"), std::string::npos);
    EXPECT_EQ(PDXFiles::list(out_ + "/Music").size(), 4U) << "a table and three playlists";
  }
}

TEST_F(MusicExport, WritesNothingOutsideItsFolder) {
  PDXSampleBackupFolder backup(folder_ / "phone");
  for (const char* path : {"../../up.wav", "m/CON.wav", "m/a.wav", "m/A.wav"})
    backup.addFile("MediaDomain", std::string("Media/") + path, std::string_view(path));
  ASSERT_TRUE(backup.finish());
  auto library = PDXSampleDatabase()
                     .table("item_extra", "item_pid, title, location, media_kind")
                     .table("item", "item_pid, base_location_id")
                     .table("base_location", "base_location_id, path")
                     .table("container", "container_pid, name, is_hidden")
                     .table("container_item", "container_pid, item_pid, position")
                     .row("container", 1, "../../list", 0);
  const std::pair<const char*, const char*> files[] = {
      {"../..", "up.wav"}, {"m", "CON.wav"}, {"m", "a.wav"}, {"m", "A.wav"}, {"m", "a.wav"}};
  int id = 0;
  for (const auto& [folder, file] : files) {
    ++id;
    library = library.row("base_location", id, folder)
                  .row("item_extra", id, file, file, 1)
                  .row("item", id, id)
                  .row("container_item", 1, id, 9 - id);
  }
  const std::string path = library.writeTo(folder_ / "elsewhere.db");
  const std::string before = fileText(path);
  const PDXExportReport report = exported(path);
  EXPECT_EQ(fileText(path), before) << "a library outside the backup stays as it is";
  EXPECT_EQ(report.kinds[0].entries->files, 4U);
  EXPECT_EQ(PDXFiles::list(out_ + "/Music"),
            (std::vector<std::string>{".._.._list.m3u8", "Tracks.csv", "Untitled", "m"}));
  EXPECT_EQ(fileText(out_ + "/Music/Untitled/Untitled/up.wav"), "../../up.wav");
  EXPECT_EQ(PDXFiles::list(out_ + "/Music/m"), (std::vector<std::string>{"A (1).wav", "CON_.wav", "a.wav"}));
  EXPECT_EQ(
      fileText(out_ + "/Music/.._.._list.m3u8"),
      "#EXTM3U\n#EXTENC:UTF-8\n#PLAYLIST:../../list\n#EXTINF:0,a.wav\nm/a.wav\n#EXTINF:0,A.wav\nm/A (1).wav\n"
      "#EXTINF:0,a.wav\nm/a.wav\n#EXTINF:0,CON.wav\nm/CON_.wav\n#EXTINF:0,up.wav\nUntitled/Untitled/"
      "up.wav\n");
}

TEST_F(MusicExport, FilesInTheWayOfOthersCostNobodyElse) {
  std::string deep = "d";
  for (int i = 0; i < 3000; ++i) deep += "/d";
  PDXSampleBackupFolder backup(folder_ / "phone");
  auto library = PDXSampleDatabase()
                     .table("item_extra", "item_pid, title, location, media_kind")
                     .table("item", "item_pid, base_location_id")
                     .table("base_location", "base_location_id, path")
                     .table("container", "container_pid, name, is_hidden")
                     .table("container_item", "container_pid, item_pid, position")
                     .row("container", 1, "list", 0);
  const std::pair<std::string, std::string> files[] = {
      {"m", "x"},     {"m/x", "y.wav"},        {"n/X", "y.wav"},
      {"n", "x"},     {"Tracks.csv", "z.wav"}, {"list.M3U8", "w.wav"},
      {deep, "e.wav"}};
  int id = 0;
  for (const auto& [folder, file] : files) {
    ++id;
    backup.addFile("MediaDomain", PDXFiles::joined("Media/" + folder, file), std::string_view(file));
    library =
        library.row("base_location", id, folder).row("item_extra", id, file, file, 1).row("item", id, id);
  }
  ASSERT_TRUE(backup.finish());
  const PDXExportReport report = exported(library.writeTo(folder_ / "elsewhere.db"));
  EXPECT_EQ(report.outcome, PDXExportReport::Outcome::done);
  EXPECT_EQ(report.kinds[0].entries->files, 7U);
  for (const char* path : {"m/x", "m/x (1)/y.wav", "n/X/y.wav", "n/x (1)", "Tracks.csv (1)/z.wav",
                           "list.M3U8 (1)/w.wav", "d/d/d/d/d/d/d/d/d/d/d/d/e.wav"})
    EXPECT_TRUE(PDXFiles::isRegularFile(out_ + "/Music/" + path)) << path;
}

}  // namespace
