#include "bookmarks/BookmarkTree.h"

#include <gtest/gtest.h>

#include "bookmarks/BookmarkHTMLGenerator.h"
#include "bookmarks/ChromeBookmarks.h"
#include "bookmarks/SafariBookmarks.h"
#include "platform/Log.h"
#include "samples/Bookmarks.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

using Order = PDXBookmarkTree::Order;

std::string shown(const PDXBookmarkTree& tree) {
  std::string text;
  for (const auto& entry : tree.entries()) text += std::string(entry.depth, '>') + entry.item->title + " ";
  return text;
}

std::string page(const PDXBookmarkTree& tree) {
  std::string html;
  PDXBookmarkHTMLGenerator::write(tree, [&](const std::string& text) { html += text; });
  return html;
}

PDXSampleDatabase store() {
  return PDXSampleDatabase().table("bookmarks", "id, parent, type, title, url, order_index, hidden");
}

TEST(BookmarkTree, PutsWhatHasNoPlaceIntoTheRoot) {
  const PDXTestFolder folder;
  const auto base =
      store().row("bookmarks", 1, 0, 1, "A", nullptr, 0, 0).row("bookmarks", 2, 1, 0, "a", "a:", 0, 0);
  const struct {
    const char* fault;
    PDXSampleDatabase sample;
    const char* expected;
    const char* heard;
  } cases[] = {
      {"nothing wrong", base, "A >a ", ""},
      {"folder not there", base.row("bookmarks", 3, 99, 0, "lost", "l:", 1, 0), "A >a lost ",
       "\"lost\", record 3: the folder that it lies in, record 99, is not in the store\n"},
      {"in a bookmark", base.row("bookmarks", 3, 2, 0, "in", "i:", 1, 0), "A >a in ",
       "\"in\", record 3: what it lies in, record 2, is no folder\n"},
      {"in itself", base.row("bookmarks", 3, 3, 1, "own", nullptr, 1, 0), "A >a own ",
       "\"own\", record 3: the folder lies in itself\n"},
      {"in a circle with a bookmark",
       base.row("bookmarks", 3, 5, 1, "x", nullptr, 1, 0)
           .row("bookmarks", 4, 3, 1, "y", nullptr, 0, 0)
           .row("bookmarks", 5, 4, 1, "z", nullptr, 0, 0)
           .row("bookmarks", 6, 5, 0, "leaf", "f:", 1, 0),
       "A >a x >y >>z >>>leaf ", "\"x\", record 3: the folder lies in itself\n"},
      {"in a hidden folder",
       base.row("bookmarks", 3, 0, 1, "hidden", nullptr, 1, 1).row("bookmarks", 4, 3, 0, "seen", "s:", 1, 0),
       "A >a seen ", ""},
      {"nobody said whether it is hidden", base.row("bookmarks", 3, 1, 0, "b", "b:", 1, nullptr), "A >a >b ",
       ""},
  };
  for (const auto& c : cases) {
    PDXSafariBookmarks reader;
    reader.loadBookmarksFromDatabaseFile(c.sample.writeTo(folder / "test.db"));
    std::string heard;
    const auto before = PDXLog::listen([&](const PDXProblem& p) { heard += p.where + ": " + p.why + "\n"; });
    EXPECT_EQ(shown(PDXBookmarkTree(reader, Order::arranged)), c.expected) << c.fault;
    PDXLog::listen(before);
    EXPECT_EQ(heard, c.heard) << c.fault;
  }
}

TEST(BookmarkTree, FoldersMayLieInEachOtherAsDeepAsTheyLike) {
  constexpr std::size_t kDeep = 100'000;
  std::string document = R"({"roots":{"bar":)";
  for (std::size_t i = 0; i < kDeep; ++i)
    document += R"({"type":"folder","name":"f","id":)" + std::to_string(i + 1) + R"(,"children":[)";
  for (std::size_t i = 0; i < kDeep; ++i) document += "]}";
  PDXChromeBookmarks reader;
  EXPECT_TRUE(reader.loadBookmarksFromJsonString(document + "}}"));
  const PDXBookmarkTree tree(reader, Order::listed);
  ASSERT_EQ(tree.entries().size(), kDeep);
  EXPECT_EQ(tree.entries().back().depth, kDeep - 1);
  EXPECT_LT(page(tree).size(), kDeep * 300);
  EXPECT_FALSE(reader.loadBookmarksFromJsonString(std::string(kDeep, '[')));
  EXPECT_FALSE(reader.loadBookmarksFromJsonString(R"({"roots":{"bar":{"x":)" + std::string(kDeep, '[')));
}

TEST(BookmarkTree, SearchKeepsTheFoldersAboveAndWhatLiesInThoseItFinds) {
  const PDXTestFolder folder;
  ASSERT_EQ(PDXSampleBookmarks::writeStore(folder / "store", 17), "");
  PDXSafariBookmarks reader;
  reader.loadBookmarksFromDatabaseFile(folder / "store");
  PDXBookmarkTree tree(reader, Order::arranged);
  tree.keepMatching("交接");
  EXPECT_EQ(shown(tree), "BookmarksBar >Travel >>Zum Übersetzen 交接 ");
  EXPECT_EQ(tree.entries()[2].holder, 1U);
  tree.keepMatching("boats");
  EXPECT_EQ(shown(tree), "");
  PDXBookmarkTree travel(reader, Order::arranged);
  travel.keepMatching("TRAVEL");
  EXPECT_EQ(shown(travel),
            "BookmarksBar >Travel >>Zum Übersetzen 交接 >>Saltmarsh \"by boat\" <timetable> >>Empty folder "
            "BookmarksMenu >Travel ");
}

TEST(BookmarkTree, IsWrittenAsBrowsersImportIt) {
  const PDXTestFolder folder;
  PDXSafariBookmarks reader;
  reader.loadBookmarksFromDatabaseFile(store()
                                           .row("bookmarks", 1, 0, 1, "<A> & \"B\"", nullptr, 0, 0)
                                           .row("bookmarks", 2, 1, 0, "</DL>", "x:'\"><&\n", 0, 0)
                                           .row("bookmarks", 3, 0, 0, " ", "l:&", 1, 0)
                                           .row("bookmarks", 4, 0, 1, "com.apple.ReadingList", nullptr, 2, 0)
                                           .row("bookmarks", 5, 4, 1, "BookmarksBar", nullptr, 0, 0)
                                           .writeTo(folder / "test.db"));
  EXPECT_EQ(page(PDXBookmarkTree(reader, Order::arranged)),
            "    <DT><H3>Safari Bookmarks</H3>\n    <DL><p>\n"
            "        <DT><H3>&lt;A&gt; &amp; &quot;B&quot;</H3>\n        <DL><p>\n"
            "            <DT><A HREF=\"x:&#39;&quot;&gt;&lt;&amp;\n\">&lt;/DL&gt;</A>\n"
            "        </DL><p>\n        <DT><A HREF=\"l:&amp;\">l:&amp;</A>\n"
            "        <DT><H3>Reading List</H3>\n        <DL><p>\n            <DT><H3>BookmarksBar</H3>\n"
            "            <DL><p>\n            </DL><p>\n        </DL><p>\n    </DL><p>\n")
      << "without a title the address, and names that people know for the browser's own folders";
  reader.loadBookmarksFromDatabaseFile("");
  PDXChromeBookmarks chrome;
  chrome.loadBookmarksFromJsonString(PDXSampleBookmarks::chromeDocument());
  EXPECT_NE(
      page(PDXBookmarkTree(chrome, Order::arranged))
          .find(
              "<DT><A HREF=\"https://recipes.example.com/soup\" ADD_DATE=\"1685526400\">Soup &amp; more</A>\n"
              "            <DT><H3 ADD_DATE=\"1690526400\" LAST_MODIFIED=\"1696526400\">"),
      std::string::npos);
}

}  // namespace
