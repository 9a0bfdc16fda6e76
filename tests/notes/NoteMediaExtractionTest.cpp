#include "notes/NoteMediaExtraction.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "backup/BackupNavigation.h"
#include "backup/DeviceData.h"
#include "notes/IOS9NoteDatabaseReader.h"
#include "platform/Crypto.h"
#include "platform/UprightPicture.h"
#include "samples/NoteStore.h"
#include "samples/Notes.h"
#include "samples/Pictures.h"
#include "tests/support/TestFolder.h"

namespace {

using testing::ElementsAre;

TEST(NoteMediaExtraction, PicksTheLargestPreview) {
  const struct {
    const char* fault;
    std::vector<std::string> paths;
    const char* expected;
  } cases[] = {
      {"none", {}, ""},
      {"larger area in another format", {"P/a-1-100x50.png", "P/a-1-60x90.jpeg"}, "P/a-1-60x90.jpeg"},
      {"equal areas", {"P/b-10x20.png", "P/a-20x10.png"}, "P/a-20x10.png"},
      {"no sizes", {"P/b.png", "P/a-1-big.png"}, "P/a-1-big.png"},
      {"three numbers", {"P/a-9x9x9.png", "P/b-1x1.png"}, "P/b-1x1.png"},
      {"beyond 32 bits",
       {"P/a-99999999999x99999999999.png", "P/b-2147483646x2147483647.png"},
       "P/a-99999999999x99999999999.png"},
      {"capitals", {"P/A-2x2.PNG", "P/a-3x3.JPG"}, "P/a-3x3.JPG"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(PDXNoteMediaExtraction::parsePathsForLargestPreviewSize(c.paths), c.expected) << c.fault;
}

TEST(NoteMediaExtraction, AppendsTypesOnce) {
  EXPECT_EQ(PDXNoteMediaExtraction::appendFileTypeToFileName("jpg", "a.JPG"), "a.JPG");
  EXPECT_EQ(PDXNoteMediaExtraction::appendFileTypeToFileName("jpg", "a.heic"), "a.heic.jpg");
  EXPECT_EQ(PDXNoteMediaExtraction::appendFileTypeToFileName("", "a"), "a");
}

/// The sample's notes, in the layout of a system version.
class Extraction {
 public:
  explicit Extraction(int version) {
    PDXSampleBackupFolder backup(folder_ / "phone");
    EXPECT_EQ(PDXSampleNotes::write(backup, 1, {}, version), "");
    EXPECT_TRUE(backup.finish()) << backup.error();
    PDXDeviceData::setCustomBackupPath(folder_.path());
    device_ = std::make_unique<PDXDeviceData>("phone");
    reader_ =
        std::make_unique<PDXIOS9NoteDatabaseReader>(device_->databaseOfFeature(PDXFeature::NoteStore), "");
    reader_->setDeviceBackup(device_.get());
    notes_ = reader_->getAllNotes();
  }
  ~Extraction() { PDXDeviceData::setCustomBackupPath(std::nullopt); }

  PDXIOS9NoteDetail noteNamed(const std::string& title) {
    for (PDXIOS9NoteDetail& note : notes_) {
      if (note.title != title) continue;
      reader_->extractMediaForNote(note);
      return note;
    }
    ADD_FAILURE() << title;
    return {};
  }

  /// "format type format-of-the-bytes" of each attachment; "-" for one without file.
  std::vector<std::string> filesOf(const std::string& title) {
    std::vector<std::string> files;
    for (const PDXNoteContent& content : noteNamed(title).content) {
      const auto* piece = std::get_if<PDXMediaNoteContent>(&content);
      if (piece == nullptr) continue;
      EXPECT_EQ(piece->fileName.find("Pocketdex/attachments/") == std::string::npos, piece->fileName.empty());
      const std::string format = PDXImages::extensionFor(PDXFiles::readBeginning(piece->fileName, 64));
      files.push_back(piece->fileName.empty()
                          ? "-"
                          : std::to_string(piece->contentFormat) + " " + piece->fileType + " " + format);
    }
    return files;
  }

 private:
  PDXTestFolder folder_;
  std::unique_ptr<PDXDeviceData> device_;
  std::unique_ptr<PDXIOS9NoteDatabaseReader> reader_;
  std::vector<PDXIOS9NoteDetail> notes_;
};

TEST(NoteMediaExtraction, CopiesEveryKindInEveryGeneration) {
  for (const int version : {9, 13, 17}) {
    Extraction sample(version);
    EXPECT_THAT(sample.filesOf("Saltmarsh in pictures"),
                ElementsAre("2 jpg jpg", "2 jpg jpg", "2 png png", "2 jpg jpg"))
        << version;
    EXPECT_THAT(sample.filesOf("Drawn by hand"), ElementsAre("4 jpg jpg", "3 png png")) << version;
    EXPECT_THAT(sample.filesOf("The bouncing ball"), ElementsAre("5 mov ")) << version;
    EXPECT_THAT(sample.filesOf("Odd attachments"),
                ElementsAre("2 jpg jpg", "2 jpg jpg", "2 jpg jpg", "-", "2 png "))
        << version;
  }
}

TEST(NoteMediaExtraction, TurnsPicturesAndKeepsPosters) {
  Extraction sample(17);
  const PDXIOS9NoteDetail pictures = sample.noteNamed("Saltmarsh in pictures");
  EXPECT_TRUE(PDXUprightPicture::isUpright(std::get<PDXMediaNoteContent>(pictures.content[4]).fileName));
  const PDXIOS9NoteDetail film = sample.noteNamed("The bouncing ball");
  const auto& piece = std::get<PDXMediaNoteContent>(film.content[1]);
  EXPECT_TRUE(PDXFiles::exists(piece.previewPath));
  EXPECT_EQ(piece.previewType, "png");
  EXPECT_EQ(piece.mediaData->width, 320);
}

TEST(NoteMediaExtraction, NamesWhatThePageDoesNotShow) {
  Extraction sample(17);
  const PDXIOS9NoteDetail note = sample.noteNamed("Boat times");
  std::vector<std::string> unreached;
  for (const PDXProblem& problem : note.unreached) unreached.push_back(problem.where);
  EXPECT_THAT(
      unreached,
      ElementsAre("com.adobe.pdf", "public.url \"https://boats.example.com/?from=Saltmarsh&to=Stonebridge\"",
                  "com.apple.notes.table"));
  ASSERT_EQ(note.extraFiles.size(), 1U);
  EXPECT_EQ(note.extraFiles[0].name, "Timetable.pdf");
  EXPECT_TRUE(fileText(note.extraFiles[0].path).starts_with("%PDF"));

  const PDXIOS9NoteDetail odd = sample.noteNamed("Odd attachments");
  ASSERT_EQ(odd.missing.size(), 1U);
  EXPECT_EQ(odd.missing[0].where, "stayed in the cloud.jpg");
  ASSERT_EQ(odd.notTurned.size(), 1U);
  EXPECT_THAT(odd.unreached, ElementsAre());
}

// Signs look different however they are turned or mirrored; a store may know how a picture was held when the
// picture itself does not.
TEST(NoteMediaExtraction, TurnsAsTheStoreSaysWhenThePictureDoesNot) {
  const PDXTestFolder folder;
  const PDXRaster sign = PDXSamplePictures::signpost(64, 32);
  const auto bytes = [&](const PDXRaster& picture, PDXPictureFormat format) {
    return PDXImages::encoded(picture, format, 100).value();
  };
  const auto written = [&](const PDXBytes& file, PDXPictureFormat format, int orientation) {
    const std::string from = folder.write("from", {file.begin(), file.end()});
    EXPECT_EQ(PDXUprightPicture::writeAs(from, format, orientation, folder / "to"), std::nullopt);
    return fileText(folder / "to");
  };
  const PDXBytes upright = bytes(sign, PDXPictureFormat::png);
  const std::string expected(upright.begin(), upright.end());
  EXPECT_EQ(written(upright, PDXPictureFormat::png, 1), expected);
  for (const int orientation : {3, 6, 8}) {
    const PDXBytes held = bytes(PDXSamplePictures::heldAs(sign, orientation), PDXPictureFormat::png);
    EXPECT_EQ(written(held, PDXPictureFormat::png, orientation), written(upright, PDXPictureFormat::png, 1))
        << orientation;
    const PDXBytes jpeg = bytes(PDXSamplePictures::heldAs(sign, orientation), PDXPictureFormat::jpeg);
    const std::string marked =
        written(PDXSamplePictures::markedAs(jpeg, orientation), PDXPictureFormat::jpeg, 1);
    EXPECT_EQ(written(PDXSamplePictures::markedAs(jpeg, orientation), PDXPictureFormat::jpeg, 3), marked)
        << "the picture knows better";
  }
  const PDXBytes jpeg = bytes(sign, PDXPictureFormat::jpeg);
  const PDXBytes marked = PDXSamplePictures::markedAs(jpeg, 1);
  EXPECT_EQ(written(marked, PDXPictureFormat::jpeg, 6), std::string(marked.begin(), marked.end()));
  EXPECT_TRUE(written(jpeg, PDXPictureFormat::png, 1).starts_with("\x89PNG"));
  EXPECT_TRUE(written(upright, PDXPictureFormat::jpeg, 1).starts_with("\xFF\xD8"));
}

}  // namespace
