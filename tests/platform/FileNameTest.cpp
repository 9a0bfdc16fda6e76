#include "platform/FileName.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::string times(int count, const std::string& text) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

TEST(FileName, IsSafeOnEverySystem) {
  const struct {
    const char* fault;
    std::string name;
    std::string expected;
  } cases[] = {
      {"path in a title", "../../etc/passwd", ".._.._etc_passwd"},
      {"characters that a system forbids", "a\\b?c%d:e*f|g\"h<i>j", "a_b_c_d_e_f_g_h_i_j"},
      {"nothing", "", "Untitled"},
      {"only blanks", " \u00A0\t", "Untitled"},
      {"only characters without width", "\u200B\u200D\u2060\uFEFF \u200E", "Untitled"},
      {"a name between direction marks", "\u202AAnn\u202C", "Ann"},
      {"an extension that would show as another", "a\u202Egpj.exe\u061C\u200F\u2066", "agpj.exe"},
      {"this folder", ".", "Untitled"},
      {"the folder above", "..", "Untitled"},
      {"dots and blanks in turn at the end", "Wait. . .. ", "Wait"},
      {"control characters around blanks", "\x01 a\nb\x7F\u0085 ", "ab"},
      {"line separator", "a\u2028b", "ab"},
      {"reserved device", "con", "con_"},
      {"reserved device with extension", "Aux.tar.gz", "Aux_.tar.gz"},
      {"reserved device behind a blank", "NUL .txt", "NUL _.txt"},
      {"reserved device with a raised digit", "com\u00B9", "com\u00B9_"},
      {"only like a reserved device", "Console", "Console"},
      {"decomposed accent", "Zoe\u0308", "Zo\u00EB"},
      {"300 bytes of two each", times(150, "é"), times(100, "é")},
      {"would end inside a character", "x" + times(150, "é"), "x" + times(99, "é")},
      {"would lose a combining mark", times(199, "a") + "q\u0307", times(199, "a")},
      {"would tear a family apart", times(190, "a") + "👩\u200D👧", times(190, "a")},
      {"would lose a skin tone", times(195, "a") + "👍🏽", times(195, "a")},
      {"a blank where it is cut", times(198, "a") + ". bcd", times(198, "a")},
      {"long name of a reserved device", "CON." + times(300, "a"), "CON_." + times(195, "a")},
      {"broken bytes", times(300, "\x80"), "Untitled"},
  };
  for (const auto& c : cases) EXPECT_EQ(PDXFileName::safe(c.name), c.expected) << c.fault;
}

TEST(FileName, KeepsTheExtensionWhenCutting) {
  EXPECT_EQ(PDXFileName::safeWithExtension(times(300, "a") + ".jpeg"), times(195, "a") + ".jpeg");
  EXPECT_EQ(PDXFileName::safeWithExtension("nul.jpg"), "nul_.jpg");
  EXPECT_EQ(PDXFileName::safeWithExtension("../photo.jpg"), ".._photo.jpg");
  EXPECT_EQ(PDXFileName::safeWithExtension("a." + times(300, "b")).size(), 200U);
}

TEST(UniqueFileNames, CountInOrderWithoutRegardToCase) {
  PDXUniqueFileNames names(5);
  const std::vector<std::pair<std::string, std::string>> calls = {
      {"Anna", "Anna"},      {"anna", "anna (1)"},   {"Anna (1)", "Anna (1) (1)"},
      {"ANNA", "ANNA (2)"},  {"", "Untitled"},       {"..", "Untitled (1)"},
      {"Anna.", "Anna (3)"}, {"STRASSE", "STRASSE"}, {"straße", "straße (1)"},
      {"CON", "CON_"},       {"con", "con_ (1)"},    {"Anna (4)", "Anna (4)"},
      {"anna", "anna (5)"},
  };
  for (const auto& [title, expected] : calls) EXPECT_EQ(names.nameFor(title), expected) << title;
}

TEST(UniqueFileNames, LeaveRoomForCounterAndExtension) {
  PDXUniqueFileNames names(6);
  EXPECT_EQ(names.nameFor(times(300, "a")), times(194, "a"));
  EXPECT_EQ(names.nameFor(times(300, "a")), times(190, "a") + " (1)");
  EXPECT_EQ(names.nameFor(times(300, "A")), times(190, "A") + " (2)");
}

TEST(UniqueFileNames, AreSafeAsAWhole) {
  PDXUniqueFileNames names(6, [](const std::string& name) { return name == "theirs"; });
  EXPECT_EQ(names.nameFor("theirs", "txt"), "theirs (1).txt");
  EXPECT_EQ(names.nameFor("a", times(300, "x")), "a." + times(192, "x"));
  EXPECT_EQ(names.nameFor("a", times(300, "x")), "a." + times(188, "x") + " (1)");
  EXPECT_EQ(names.nameFor("a", "x/y"), "a.x_y");
  EXPECT_EQ(PDXFileName::counted("a.txt", 1, true), "a (1).txt");
  EXPECT_EQ(PDXFileName::counted("a.txt", 2, false), "a.txt (2)");
  EXPECT_EQ(PDXFileName::counted(times(196, "a") + ".txt", 1, true), times(192, "a") + " (1).txt");
}

TEST(UniqueFileNames, StayQuickWithThousandsOfOneTitle) {
  PDXUniqueFileNames names(5);
  std::string last;
  for (int i = 0; i <= 30'000; ++i) last = names.nameFor("New Note");
  EXPECT_EQ(last, "New Note (30000)");
}

}  // namespace
