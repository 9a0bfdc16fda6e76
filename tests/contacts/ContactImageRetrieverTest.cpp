#include "contacts/ContactImageRetriever.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <set>

#include "backup/DeviceData.h"
#include "contacts/ContactEntry.h"
#include "contacts/ContactsDatabase.h"
#include "platform/Images.h"
#include "platform/Log.h"
#include "platform/Text.h"
#include "samples/BackupFolder.h"
#include "samples/Pictures.h"
#include "tests/contacts/AddressBookSample.h"
#include "tests/support/TestFolder.h"

namespace {

using Retriever = PDXContactImageRetriever;

PDXBytes portrait(PDXPictureFormat format, std::uint64_t variety) {
  return *PDXImages::encoded(PDXSamplePictures::portrait(64, variety), format);
}

const std::uint8_t* pixelOf(const PDXFacePicture& face, int column, int row) {
  const int at = (row * face.width + column) * 4;
  return face.pixels.data() + at;
}

/// Contrast of white with a colour, 1 to 21, as accessibility rules count it.
double contrastWithWhite(const std::uint8_t* colour) {
  const auto linear = [](double part) {
    return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  const double luminance = 0.2126 * linear(colour[0] / 255.0) + 0.7152 * linear(colour[1] / 255.0) +
                           0.0722 * linear(colour[2] / 255.0);
  return 1.05 / (luminance + 0.05);
}

/// Pixels of a drawn face that are not the disc's.
int inkOf(const PDXFacePicture& face) {
  const std::uint8_t* disc = pixelOf(face, 24, 1);
  int count = 0;
  for (int row = 8; row < 40; ++row) {
    for (int column = 8; column < 40; ++column) {
      if (!std::equal(disc, disc + 3, pixelOf(face, column, row))) ++count;
    }
  }
  return count;
}

PDXFacePicture initialsOf(const std::string& name) {
  PDXContactEntry contact;
  contact.fullName = name;
  return Retriever::faceOfEntry(contact);
}

class ContactImageRetriever : public testing::Test {
 protected:
  ~ContactImageRetriever() override {
    retriever_.setDeviceData(nullptr);
    PDXContactsDatabase::loadContactsFromFolderPath(folder_ / "none");
    PDXDeviceData::setCustomBackupPath(std::nullopt);
  }

  std::string relativePathFor(const PDXContactSummary& contact) {
    const std::string path = retriever_.imagePathForContact(contact);
    EXPECT_TRUE(path.starts_with(folder_.path())) << path;
    return path.substr(folder_.path().size());
  }

  PDXTestFolder folder_;
  Retriever& retriever_ = Retriever::defaultRetriever();
};

TEST_F(ContactImageRetriever, TakesInitialsAsReadersCountCharacters) {
  const struct {
    const char* name;
    const char* identifier;
  } cases[] = {
      {"", "?:?"},
      {" \t ", "?:?"},
      {"ann", "?:A"},
      {"  Ann  van der  lee ", "?:A L"},
      {"+44 7700 900123", "?:#"},
      {"0044", "?:#"},
      {"٣٤", "?:#"},
      {"Room 101", "?:#"},
      {"7 Eleven", "?:7 E"},
      {"e\u0301mile \u00f1u\u00f1ez", "?:\u00c9 \u00d1"},
      {"\U0001F469\u200D\U0001F469\u200D\U0001F467 \U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7",
       "?:\U0001F469\u200D\U0001F469\u200D\U0001F467 \U0001F1E9\U0001F1EA"},
      {"1\uFE0F\u20E3 Team", "?:1\uFE0F\u20E3 T"},
      {"\u202A+44 7700", "?:#"},
      {"\u200E\u0645\u062d\u0645\u062f", "?:\u0645"},
      {"\xFF\xFE", "?:\uFFFD"},
  };
  for (const auto& c : cases) {
    const std::string identifier = Retriever::createIdentifierForContact_({.name = c.name});
    EXPECT_EQ(PDXText::composed(identifier), c.identifier) << c.name;
  }
  EXPECT_EQ(Retriever::createIdentifierForContact_({.name = "Ann Lee", .address = "a:b"}), "a b:A L");
  const std::string accents = "a" + [] {
    std::string marks;
    for (int i = 0; i < 300; ++i) marks += "\u0301";
    return marks;
  }();
  EXPECT_LT(Retriever::createInitialsFromName_(accents).size(), 60U) << "no letter fills a page";
}

TEST_F(ContactImageRetriever, KeepsEachPersonsFaceInAFileOfItsOwn) {
  const std::string cache = "/pocketdex/message_temp/cache/";
  EXPECT_EQ(relativePathFor({.name = "Ann Lee", .address = "ann@example.com"}),
            cache + "ann@example.com/A L.png");
  EXPECT_EQ(relativePathFor({.name = "Ann Lee"}), cache + "0/A L.png");
  EXPECT_EQ(relativePathFor({.name = "", .address = "../../etc/x:1"}), cache + ".._.._etc_x_1/_.png");
  EXPECT_EQ(relativePathFor({.name = "?<>", .address = ".."}), cache + "Untitled/_.png");
  EXPECT_EQ(relativePathFor({.name = "Ann", .address = "a/b"}), cache + "a_b/A.png");
  EXPECT_EQ(relativePathFor({.name = "Ann", .address = "a|b"}), cache + "a_b/A (1).png") << "another address";
  EXPECT_EQ(relativePathFor({.name = "Ann", .address = "a/b"}), cache + "a_b/A.png");
  relativePathFor({.name = "Ann", .address = std::string(5000, 'x')});

  const std::string path = retriever_.imagePathForContact({.name = "Ann Lee"});
  const std::string bytes = fileText(path);
  EXPECT_EQ(PDXImages::extensionFor(PDXBytes(bytes.begin(), bytes.end())), "png");
  folder_.write("face.png", fileText(retriever_.imagePathForContact({.name = "", .address = ".."})));
  std::filesystem::copy_file(folder_ / "face.png", path, std::filesystem::copy_options::overwrite_existing);
  EXPECT_EQ(retriever_.imageForContact({.name = "Ann Lee"}).pixels,
            retriever_.imageForContact({.name = "", .address = ".."}).pixels)
      << "the kept file is the face";
  PDXFiles::remove(path);
  EXPECT_EQ(retriever_.imageForContact({.name = "Ann Lee"}).pixels, initialsOf("Ann Lee").pixels);
  EXPECT_EQ(fileText(path), bytes);

  retriever_.clearCache();
  EXPECT_FALSE(PDXFiles::exists(Retriever::cachePath()));
}

TEST_F(ContactImageRetriever, LeavesAFolderAloneThatIsALink) {
  folder_.write("precious/message_temp/cache/letter", "mine");
  std::filesystem::create_directory_symlink(folder_ / "precious", folder_ / "pocketdex");
  EXPECT_EQ(retriever_.imagePathForContact({.name = "Ann Lee"}), "");
  EXPECT_EQ(retriever_.imageForContact({.name = "Ann Lee"}).pixels, initialsOf("Ann Lee").pixels);
  retriever_.clearCache();
  EXPECT_EQ(fileText(folder_ / "precious/message_temp/cache/letter"), "mine");
}

TEST_F(ContactImageRetriever, DrawsWhatCanBeReadOnAColourOfTheName) {
  std::set<std::array<std::uint8_t, 3>> colours;
  for (int i = 0; i < 200; ++i) {
    const PDXFacePicture face =
        initialsOf("Person " + std::string(1, static_cast<char>('A' + i % 26)) + std::to_string(i));
    const std::uint8_t* disc = pixelOf(face, 24, 1);
    EXPECT_GE(contrastWithWhite(disc), 4.5) << i;
    colours.insert({disc[0], disc[1], disc[2]});
  }
  EXPECT_GE(colours.size(), 15U) << "people are hard to tell apart";
  EXPECT_EQ(initialsOf("Ann Lee").pixels, initialsOf("ANN LEE").pixels);
  EXPECT_NE(initialsOf("Ann Lee").pixels, initialsOf("Al Low").pixels);
  EXPECT_EQ(pixelOf(initialsOf("Ann Lee"), 0, 0)[3], 0) << "a corner is no part of the disc";

  const PDXFacePicture nobody = initialsOf("\u3164");  // A letter that shows nothing.
  EXPECT_EQ(nobody.width, 48);
  for (const char* name : {"Ann Lee", "محمد علي", "王 小明", "नीता शर्मा", "사람", "ไทย", "<b> & Söhne"}) {
    EXPECT_GT(inkOf(initialsOf(name)), 40) << name;
  }
  const PDXFacePicture cat = initialsOf("\U0001F431");
  EXPECT_GT(inkOf(cat), 200);
  int coloured = 0;
  for (int row = 10; row < 38; ++row) {
    const std::uint8_t* pixel = pixelOf(cat, 24, row);
    if (pixel[0] > pixel[2] + 60) ++coloured;
  }
  EXPECT_GT(coloured, 5) << "emoji keep their colours";
}

/// The largest difference between two faces in any colour of any pixel.
int differenceOf(const PDXFacePicture& a, const PDXFacePicture& b) {
  int most = a.pixels.size() == b.pixels.size() ? 0 : 255;
  for (std::size_t i = 0; i < std::min(a.pixels.size(), b.pixels.size()); ++i)
    most = std::max(most, std::abs(a.pixels[i] - b.pixels[i]));
  return most;
}

TEST_F(ContactImageRetriever, FacesStandUprightInEveryFormat) {
  for (const auto& [width, height] : {std::pair{200, 144}, {96, 300}, {64, 64}}) {
    const PDXRaster sign = PDXSamplePictures::signpost(width, height);
    const auto upright = PDXFaces::fromPicture(*PDXImages::encoded(sign, PDXPictureFormat::png), 48);
    ASSERT_TRUE(upright);
    for (int orientation = 1; orientation <= 8; ++orientation) {
      const PDXRaster held = PDXSamplePictures::heldAs(sign, orientation);
      const PDXBytes jpeg =
          PDXSamplePictures::markedAs(*PDXImages::encoded(held, PDXPictureFormat::jpeg), orientation);
      const auto face = PDXFaces::fromPicture(jpeg, 48);
      ASSERT_TRUE(face);
      EXPECT_LT(differenceOf(*face, *upright), 60) << width << " by " << height << ", " << orientation;
    }
  }
}

TEST_F(ContactImageRetriever, FallsBackToInitialsForPicturesThatCannotBeRead) {
  const PDXBytes jpeg = portrait(PDXPictureFormat::jpeg, 1);
  const PDXBytes png = portrait(PDXPictureFormat::png, 1);
  const auto cut = [](const PDXBytes& file) {
    return PDXBytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(file.size() / 2));
  };
  PDXBytes huge = jpeg;  // Its head claims 20,000 by 20,000 pixels.
  const std::array<std::uint8_t, 2> kFrame = {0xFF, 0xC0};
  auto frame = std::search(huge.begin(), huge.end(), kFrame.begin(), kFrame.end());
  ASSERT_NE(frame, huge.end());
  for (const int at : {5, 7}) {
    frame[at] = 0x4E;
    frame[at + 1] = 0x20;
  }
  PDXBytes broken = png;
  broken[broken.size() / 2] ^= 0xFF;
  PDXBytes prefixed = jpeg;
  prefixed.insert(prefixed.begin(), 1);
  PDXBytes padded = jpeg;
  padded.resize(padded.size() + 31);
  const std::string words = "This is a letter, no picture";
  const struct {
    const char* fault;
    PDXBytes picture;
    bool isPicture;
  } cases[] = {
      {"whole JPEG", jpeg, true},
      {"whole PNG", png, true},
      {"a byte in front", prefixed, true},
      {"padding behind", padded, true},
      {"cut JPEG", cut(jpeg), false},
      {"cut PNG", cut(png), false},
      {"damaged PNG", broken, false},
      {"20,000 pixels square", huge, false},
      {"no picture", PDXBytes(words.begin(), words.end()), false},
      {"one byte", PDXBytes{0xFF}, false},
      {"film", PDXBytes{0, 0, 0, 24, 'f', 't', 'y', 'p', 'q', 't', ' ', ' '}, false},
  };
  const PDXFacePicture initials = initialsOf("Ann Lee");
  for (const auto& c : cases) {
    PDXContactEntry contact;
    contact.fullName = "Ann Lee";
    contact.picture = c.picture;
    std::vector<PDXProblem> problems;
    const auto before = PDXLog::listen([&](const PDXProblem& problem) { problems.push_back(problem); });
    const PDXFacePicture face = Retriever::faceOfEntry(contact);
    PDXLog::listen(before);
    EXPECT_EQ(face.width, 48);
    EXPECT_EQ(face.pixels != initials.pixels, c.isPicture) << c.fault;
    EXPECT_EQ(problems.empty(), c.isPicture) << c.fault;
  }
}

TEST_F(ContactImageRetriever, PrefersTheChatsPictureToTheAddressBooks) {
  const auto faceOf = [](std::uint64_t variety) {
    return PDXFaces::fromPicture(portrait(PDXPictureFormat::jpeg, variety), 48)->pixels;
  };
  PDXFiles::makeFolders(folder_ / "book");
  for (const bool isEncrypted : {false, true}) {
    const std::string name = isEncrypted ? "locked" : "plain";
    PDXSampleOptions options{.folder = folder_ / name};
    if (isEncrypted) options.password = "secret";
    options.rounds = 3;
    PDXSampleBackupFolder backup(options);
    backup.addFile("Chat", "both.thumb", portrait(PDXPictureFormat::jpeg, 1));
    backup.addFile("Chat", "both.jpg", portrait(PDXPictureFormat::jpeg, 2));
    backup.addFile("Chat", "large.jpg", portrait(PDXPictureFormat::jpeg, 2));
    backup.addFile("Chat", "bad.thumb", std::string_view("no picture"));
    ASSERT_TRUE(backup.finish()) << backup.error();
    PDXDeviceData::setCustomBackupPath(folder_.path());
    PDXDeviceData device(name);
    if (isEncrypted) device.unlock("secret");
    addressBook()
        .row("ABPerson", 1, "Ann", nullptr, "Lee")
        .row("ABMultiValue", 1, 1, 4, 1, "ann@example.com")
        .writeTo(folder_ / "book/AddressBook.sqlitedb");
    PDXSampleDatabase()
        .table("ABThumbnailImage", "record_id, format, data")
        .table("ABImage", "record_id, data")
        .row("ABImage", 1, portrait(PDXPictureFormat::jpeg, 3))
        .writeTo(folder_ / "book/AddressBookImages.sqlitedb");
    PDXContactsDatabase::loadContactsFromFolderPath(folder_ / "book");
    retriever_.setDeviceData(&device);

    const struct {
      const char* address;
      const char* path;
      const char* domain;
      PDXBytes face;
    } cases[] = {{"1", "both", "Chat", faceOf(1)},
                 {"2", "large", "Chat", faceOf(2)},
                 {"ann@example.com", "", "Chat", faceOf(3)},
                 {"ann@example.com", "gone", "Chat", faceOf(3)},
                 {"ann@example.com", "bad", "Chat", faceOf(3)},
                 {"ann@example.com", "both", "", faceOf(3)},
                 {"3", "bad", "Chat", initialsOf("Ann Lee").pixels}};
    for (const auto& c : cases) {
      const PDXContactSummary contact{.name = "Ann Lee",
                                      .address = c.address,
                                      .profileImagePath = c.path,
                                      .profileImageDomain = c.domain};
      EXPECT_EQ(retriever_.imageForContact(contact).pixels == c.face, true) << name << " " << c.path;
      EXPECT_EQ(PDXFaces::fromPng(*retriever_.pngOfFace(contact))->pixels == c.face, true) << c.path;
    }
    EXPECT_NE(retriever_.pngOfFace({.name = "Ann Lee"}), retriever_.pngOfFace({.name = "Al Low"}))
        << "initials alone do not make two people one";
    retriever_.setDeviceData(nullptr);
    EXPECT_EQ(
        retriever_
            .imageForContact(
                {.name = "Ann Lee", .address = "1", .profileImagePath = "both", .profileImageDomain = "Chat"})
            .pixels,
        initialsOf("Ann Lee").pixels)
        << "of a backup that is closed";
  }
}

}  // namespace
