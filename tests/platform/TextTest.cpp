#include "platform/Text.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/Crypto.h"
#include "platform/JsonText.h"

using namespace std::string_literals;

namespace {

TEST(Text, RepairsWhatIsNoUtf8) {
  const struct {
    const char* fault;
    std::string bytes;
    const char* expected;
  } cases[] = {
      {"nothing wrong", "Zo\xC3\xAB \xF0\x9F\x91\x8D", "Zoë 👍"},
      {"cut off in the middle of a character", "ab\xE2\x82", "ab\xEF\xBF\xBD"},
      {"cut off before an ordinary one", "\xF0\x9F\x91x", "\xEF\xBF\xBDx"},
      {"lone continuation byte", "a\x80z", "a\xEF\xBF\xBDz"},
      {"wrong behind a long beginning of letters", "Nineteen letters, é: \x80",
       "Nineteen letters, é: \xEF\xBF\xBD"},
      {"Latin-1", "caf\xE9!", "caf\xEF\xBF\xBD!"},
      {"overlong slash", "\xC0\xAF", "\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"surrogate", "\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"beyond Unicode", "\xF5z", "\xEF\xBF\xBDz"},
  };
  for (const auto& c : cases) EXPECT_EQ(PDXText::valid(c.bytes), c.expected) << c.fault;
  EXPECT_EQ(PDXText::fromUtf16(u"a\xD83D!"), "a\xEF\xBF\xBD!");
}

TEST(Text, EscapesForHtml) {
  const struct {
    std::string text;
    const char* content;
    const char* attribute;
    const char* link;
  } cases[] = {
      {"<b>\"it's\" & more", "&lt;b&gt;&quot;it's&quot; &amp; more",
       "&lt;b&gt;&quot;it&#39;s&quot; &amp; more", "&lt;b&gt;&quot;it&#39;s&quot; &amp; more"},
      {"a\0z"s, "a\xEF\xBF\xBDz", "a\xEF\xBF\xBDz", "a\xEF\xBF\xBDz"},
      {"100% #1?.html", "100% #1?.html", "100% #1?.html", "100%25 %231%3F.html"},
      {"Zoë 👍/x.jpg", "Zoë 👍/x.jpg", "Zoë 👍/x.jpg", "Zoë 👍/x.jpg"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(PDXText::escapedForHtml(c.text), c.content);
    EXPECT_EQ(PDXText::escapedForHtmlAttribute(c.text), c.attribute);
    EXPECT_EQ(PDXText::pathForHtmlLink(c.text), c.link);
  }
}

TEST(Text, HiddenCharactersNeitherActOnATerminalNorHideInJson) {
  const struct {
    std::string text;
    const char* printable;
    const char* oneLine;
    const char* json;
  } cases[] = {
      {"a\0\n\x1B[2J\x7Fz"s, "a???[2J?z", "a   [2J z", R"("a\u0000\n\u001b[2J\u007fz")"},
      {"a\u0080\u0085\u009Bz\u00A0", "a???z\u00A0", "a   z\u00A0", "\"a\\u0080\\u0085\\u009bz\u00A0\""},
      {"a\u2028\u2029z", "a??z", "a  z", R"("a\u2028\u2029z")"},
      {"\u061C\u200E\u200F\u202A\u202E\u2066\u2069", "???????", "\u061C\u200E\u200F\u202A\u202E\u2066\u2069",
       R"("\u061c\u200e\u200f\u202a\u202e\u2066\u2069")"},
      {"\u061B\u200D\u2010\u2065\u206A–’Ãé交", "\u061B\u200D\u2010\u2065\u206A–’Ãé交",
       "\u061B\u200D\u2010\u2065\u206A–’Ãé交", "\"\u061B\u200D\u2010\u2065\u206A–’Ãé交\""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(PDXText::printable(c.text), c.printable);
    EXPECT_EQ(PDXText::onOneLine(c.text), c.oneLine);
    std::string json;
    PDXJsonText::append(json, c.text);
    EXPECT_EQ(json, c.json);
    EXPECT_EQ(PDXJsonText::withoutHidden(json), c.json);
  }
  EXPECT_EQ(PDXJsonText::withoutHidden("[\"\u2028é\x7F\", \"\u202Ez\"]"), R"(["\u2028é\u007f", "\u202ez"])");
}

TEST(Text, ComparesNumbersByValueAndIgnoresCase) {
  const struct {
    const char* a;
    const char* b;
    int expected;
  } cases[] = {{"img9", "IMG10", -1},
               {"img010", "img9", 1},
               {"a007", "A7", 0},
               {"a1b20", "a1b3", 1},
               {"Ärger", "ärger", 0},
               {"straße", "STRASSE", 0},
               {"9999999999999999999999", "10000000000000000000000", -1},
               {"a", "a1", -1},
               {"", "a", -1},
               {"a0", "a", 1},
               {"x1", "xa", -1},
               {"0", "00", 0},
               {"1.10", "1.9", 1}};
  for (const auto& c : cases) {
    const auto sign = [](int order) { return (order > 0) - (order < 0); };
    EXPECT_EQ(sign(PDXText::compareIgnoringCaseWithNumbers(c.a, c.b)), c.expected) << c.a << " " << c.b;
    EXPECT_EQ(sign(PDXText::compareIgnoringCaseWithNumbers(c.b, c.a)), -c.expected) << c.b << " " << c.a;
  }
}

TEST(Text, SearchIgnoresCaseBeyondAscii) {
  EXPECT_TRUE(PDXText::containsIgnoringCase("Grüße aus KÖLN", "köln"));
  EXPECT_FALSE(PDXText::containsIgnoringCase("Köln", "koln"));
  EXPECT_TRUE(PDXText::startsWithIgnoringCase("STRASSE", "straß"));
  EXPECT_EQ(PDXText::lowercased("ΟΔΟΣ"), "οδος") << "a sigma at the end has a form of its own";
}

TEST(Text, CutsAtCharacters) {
  EXPECT_EQ(PDXText::trimmed("\u00A0\u3000\r\n a b \u2029\t"), "a b");
  EXPECT_EQ(PDXText::trimmed(" \u2003 "), "");
  EXPECT_EQ(PDXText::trimmed("\x80 x \xE2"), "\x80 x \xE2") << "broken bytes are no blanks";
  EXPECT_EQ(PDXText::trimmedOf("--a-b-", "-"), "a-b");
  EXPECT_EQ(PDXText::lastCharacters("aé👍z", 3), "é👍z");
  EXPECT_EQ(PDXText::lastCharacters("é", 5), "é");
  EXPECT_EQ(PDXText::length("aé👍"), 3U);
  EXPECT_EQ(PDXText::replacedAll("aaa", "aa", "b"), "ba");
}

TEST(Text, ReadsLeadingIntegers) {
  const struct {
    const char* text;
    std::int32_t expected;
  } cases[] = {{" \t42 km", 42},
               {"-7", -7},
               {"+7", 7},
               {"+-7", 0},
               {"", 0},
               {"x1", 0},
               {"- 1", 0},
               {"2147483648", INT32_MAX},
               {"-99999999999999999999", INT32_MIN}};
  for (const auto& c : cases) EXPECT_EQ(PDXText::integerValue(c.text), c.expected) << c.text;
}

TEST(Text, TakesPathsApart) {
  const struct {
    const char* path;
    const char* last;
    const char* extension;
  } cases[] = {{"Library/SMS/sms.db", "sms.db", "db"},
               {"a.b/c", "c", ""},
               {"a/b.tar.gz/", "b.tar.gz", "gz"},
               {"/", "/", ""},
               {"", "", ""},
               {".hidden", ".hidden", ""},
               {"a/name.", "name.", ""},
               {"IMG.JPG", "IMG.JPG", "JPG"}};
  for (const auto& c : cases) {
    EXPECT_EQ(PDXText::lastPathComponent(c.path), c.last) << c.path;
    EXPECT_EQ(PDXText::pathExtension(c.path), c.extension) << c.path;
  }
}

TEST(Crypto, KnownAnswers) {
  EXPECT_EQ(sha_1("HomeDomain-Library/SMS/sms.db"), "3d0d7e5fb2ce288813306e4d4636395e047a3d28");
  EXPECT_EQ(sha_1(""), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
  EXPECT_EQ(base64(""), "");
  EXPECT_EQ(base64("\xFF\xFE\xFDz"s), "//79eg==");
}

}  // namespace
