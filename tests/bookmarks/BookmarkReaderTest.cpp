#include <gtest/gtest.h>

#include "bookmarks/ChromeBookmarks.h"
#include "bookmarks/InternetBookmarks.h"
#include "bookmarks/SafariBookmarks.h"
#include "platform/Log.h"
#include "samples/Bookmarks.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

/// What the log was told while it lives, a line each.
class Heard {
 public:
  Heard() : before_(PDXLog::listen([this](const PDXProblem& p) { text += p.where + ": " + p.why + "\n"; })) {}
  ~Heard() { PDXLog::listen(before_); }
  Heard(const Heard&) = delete;
  Heard& operator=(const Heard&) = delete;

  std::string text;

 private:
  PDXLog::Listener before_;
};

/// The tree below a folder as the operations of a reader give it, two blanks for each level.
std::string tree(const PDXBookmarkReader& reader, std::int64_t folder = 0, std::size_t depth = 0) {
  std::string text;
  for (const PDXBookmarkItem* item : reader.childrenForIdentifier(folder)) {
    text += std::string(2 * depth, ' ') + std::to_string(item->identifier) + " " + item->title +
            (item->isFolder ? "/" : " " + item->url) + "\n";
    if (item->isFolder && depth < 9) text += tree(reader, item->identifier, depth + 1);
  }
  return text;
}

constexpr const char* kSafariTree =
    "1 BookmarksBar/\n"
    "  5 Travel/\n"
    "    8 Empty folder/\n"
    "    6 Saltmarsh \"by boat\" <timetable> https://boats.example.org/saltmarsh\n"
    "    7 Zum Übersetzen 交接 https://example.net/%C3%BC\n"
    "  4 Tide tables https://tides.example.com/averil?day=1&unit=m\n"
    "2 BookmarksMenu/\n"
    "  9  https://example.com/untitled\n"
    "  10 Larger text javascript:document.body.style.zoom='150%'\n"
    "  13 Travel https://travel.example.com/\n"
    "3 com.apple.ReadingList/\n"
    "  11 Avocets return to the causeway https://news.example.com/avocets\n";

constexpr const char* kChromeTree =
    "1 Bookmarks bar/\n"
    "  5 Recipes/\n"
    "    6 Crêpes https://recipes.example.com/cr%C3%AApes\n"
    "  4 Soup & more https://recipes.example.com/soup\n"
    "3 Mobile bookmarks/\n"
    "  7 Stove manual https://stoves.example.com/manual.pdf\n"
    "2 Other bookmarks/\n";

class BookmarkReader : public testing::Test {
 protected:
  std::string listed(const PDXSampleDatabase& sample) const {
    PDXSafariBookmarks reader;
    reader.loadBookmarksFromDatabaseFile(sample.writeTo(folder_ / "test.db"));
    return tree(reader);
  }

  PDXTestFolder folder_;
};

TEST_F(BookmarkReader, ReadsEveryLayoutOfTheBuiltInBrowser) {
  for (const int version : {4, 6, 17}) {
    const std::string path = folder_ / std::to_string(version);
    ASSERT_EQ(PDXSampleBookmarks::writeStore(path, version), "");
    PDXSafariBookmarks reader;
    const Heard heard;
    EXPECT_TRUE(reader.loadBookmarksFromDatabaseFile(path));
    EXPECT_EQ(tree(reader), kSafariTree) << version;
    EXPECT_EQ(heard.text, "");
    EXPECT_EQ(reader.itemWithIdentifier(6)->index, 1);
    EXPECT_EQ(PDXDates::isoText(*reader.itemWithIdentifier(6)->lastModified), "2023-07-22T04:26:46Z");
    EXPECT_EQ(reader.itemWithIdentifier(12), nullptr) << "hidden";
    EXPECT_EQ(reader.root().title, "Safari Bookmarks");
  }
}

TEST_F(BookmarkReader, ReadsWhatIsThereOfADamagedStore) {
  const auto bare = PDXSampleDatabase().table("bookmarks", "id, parent, type, title, url");
  const auto whole = PDXSampleDatabase().table(
      "bookmarks", "id, parent, type, title, url, order_index, hidden, last_modified");
  const struct {
    const char* fault;
    PDXSampleDatabase sample;
    const char* expected;
    const char* heard;
  } cases[] = {
      {"store of another kind", PDXSampleDatabase().table("song", "title"), "",
       "it has no table of bookmarks\n"},
      {"no order, no hidden, no date", bare.row("bookmarks", 1, 0, 0, "Ann", "a:"), "1 Ann a:\n", ""},
      {"only a title", PDXSampleDatabase().table("bookmarks", "id, title").row("bookmarks", 1, "Ann"),
       "1 Ann \n", ""},
      {"NULL in every column", bare.row("bookmarks", 1), "1  \n", ""},
      {"dates that are none",
       whole.row("bookmarks", 1, 0, 0, "Ann", "a:", 0, 0, "not-a-date")
           .row("bookmarks", 2, 0, 0, "Bob", "b:", 0, 0, 1e300)
           .row("bookmarks", 3, 0, 0, "Cy", "c:", 0, 0, 253'402'300'800.0),
       "1 Ann a:\n2 Bob b:\n3 Cy c:\n",
       "record 1: no date is stored as not-a-date\nrecord 2: no date is stored as 1.0e+300\n"
       "record 3: no date is stored as 253402300800.0\n"},
      {"text for numbers", whole.row("bookmarks", 1, "top", "folder", "Ann", "a:", "first", 0), "1 Ann a:\n",
       "record 1: no number is stored as top\nrecord 1: no number is stored as folder\n"
       "record 1: no number is stored as first\n"},
      {"no text", whole.row("bookmarks", 1, 0, 0, 12, PDXBytes{0xFF, 'a'}, 0, 0),
       "1 12 \xEF\xBF\xBD"
       "a\n",
       ""},
  };
  for (const auto& c : cases) {
    const Heard heard;
    EXPECT_EQ(listed(c.sample), c.expected) << c.fault;
    EXPECT_TRUE(heard.text.ends_with(c.heard)) << c.fault << ": " << heard.text;
    EXPECT_EQ(heard.text.empty(), *c.heard == 0) << c.fault << ": " << heard.text;
  }
}

TEST_F(BookmarkReader, ReadsWhatChromeWrote) {
  const std::string document = PDXSampleBookmarks::chromeDocument();
  const std::string padding = std::string(4, '\x04') + std::string(16, '\0');
  for (const std::string& text : {document, "\t\t " + document + "\x04", document + padding}) {
    PDXChromeBookmarks reader;
    const Heard heard;
    EXPECT_TRUE(reader.loadBookmarksFromJsonString(text));
    EXPECT_EQ(tree(reader), kChromeTree);
    EXPECT_EQ(heard.text, "");
    EXPECT_EQ(PDXDates::isoText(*reader.itemWithIdentifier(4)->dateAdded), "2023-05-31T09:46:40Z");
    EXPECT_EQ(reader.itemWithIdentifier(6)->parent, 5);
    EXPECT_EQ(reader.root().title, "Chrome Bookmarks");
  }
}

TEST_F(BookmarkReader, KeepsWhatADamagedDocumentHolds) {
  const auto roots = [](const std::string& bar) { return "{\"roots\":{\"bar\":" + bar + "}}"; };
  const auto bar = [&](const std::string& children) {
    return roots(R"({"type":"folder","name":"Bar","id":"1","children":[)" + children + "]}");
  };
  const struct {
    const char* fault;
    std::string document;
    const char* expected;
    std::size_t stored;
    const char* heard;
  } cases[] = {
      {"no JSON", "<html>", "", 0, "it is no longer JSON at byte 1: what stands before is kept"},
      {"nothing", "", "", 0, "it is no longer JSON at byte 1: what stands before is kept"},
      {"an array", "[1]", "", 0, "it has no \"roots\""},
      {"roots of another type", R"({"roots":[{"type":"folder"}]})", "", 0, "it has no \"roots\""},
      {"values that are no folders", R"({"roots":{"a":1,"b":"x","c":[{"type":"folder"}]}})", "", 0, ""},
      {"numbers for identifiers", roots(R"({"id":7,"type":"folder","name":"Bar"})"), "7 Bar/\n", 1, ""},
      {"an unknown type among others",
       bar(R"({"type":"separator","children":[{"type":"url"}]},3,{"type":"url",)"
           R"("id":"9","name":"Ann","url":"a:"})"),
       "1 Bar/\n  9 Ann a:\n", 2, ""},
      {"a folder without a name", bar(R"({"type":"folder","id":"2","children":[{"type":"url","id":"3"}]})"),
       "1 Bar/\n", 3, "it has no name"},
      {"a folder without identifier", bar(R"({"type":"folder","name":"In"})"), "1 Bar/\n", 2,
       "it has no identifier"},
      {"an identifier used twice",
       bar(R"({"type":"url","id":"2","name":"A"},{"type":"url","id":"2","name":"B"})"), "1 Bar/\n  2 B \n", 3,
       "another one has it too"},
      {"cut off", bar(R"({"type":"url","id":"2","name":"A"})").substr(0, 98), "", 2,
       "it is no longer JSON at byte 99: what stands before is kept"},
      {"a date that is none", bar(R"({"type":"url","id":"2","name":"A","date_added":"soon"})"),
       "1 Bar/\n  2 A \n", 2, "no date is stored as soon "},
  };
  for (const auto& c : cases) {
    PDXChromeBookmarks reader;
    const Heard heard;
    EXPECT_EQ(reader.loadBookmarksFromJsonString(c.document), *c.expected != 0) << c.fault;
    EXPECT_EQ(tree(reader), c.expected) << c.fault;
    EXPECT_EQ(reader.storedItems().size(), c.stored) << c.fault;
    EXPECT_EQ(heard.text.empty(), *c.heard == 0) << heard.text;
    EXPECT_NE(heard.text.find(c.heard), std::string::npos) << c.fault << ": " << heard.text;
  }
}

TEST_F(BookmarkReader, ManyReadersAreOneTree) {
  const auto safari = std::make_shared<PDXSafariBookmarks>();
  const auto chrome = std::make_shared<PDXChromeBookmarks>();
  ASSERT_EQ(PDXSampleBookmarks::writeStore(folder_ / "store", 17), "");
  PDXInternetBookmarks all;
  all.addReaders({safari, chrome});
  EXPECT_TRUE(all.roots().empty()) << "nothing is loaded";
  safari->loadBookmarksFromDatabaseFile(folder_ / "store");
  chrome->loadBookmarksFromJsonString(PDXSampleBookmarks::chromeDocument());
  ASSERT_EQ(all.roots().size(), 2U);
  EXPECT_EQ(all.roots()[1]->title, "Chrome Bookmarks");
  EXPECT_EQ(all.childrenForIdentifierOfType(5, PDXBookmarkReader::kChrome)[0]->title, "Crêpes");
  EXPECT_EQ(all.childrenForIdentifierOfType(5, PDXBookmarkReader::kSafari).size(), 3U);
  const auto found = all.search("EXAMPLE.COM/CR");
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0]->identifier, 6);
  EXPECT_EQ(all.search("travel").size(), 2U) << "a folder, and a bookmark by its address";
  all.removeReader(safari);
  EXPECT_EQ(all.roots().size(), 1U);
  safari->loadBookmarksFromDatabaseFile(folder_ / "nothing");
  EXPECT_FALSE(safari->hasBookmarks()) << "what was loaded before is gone";
}

}  // namespace
