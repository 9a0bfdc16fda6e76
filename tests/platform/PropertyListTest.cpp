#include "platform/PropertyList.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/PropertyListMeasure.h"

using namespace std::string_literals;

namespace {

using Array = PDXPropertyList::Array;
using Dictionary = PDXPropertyList::Dictionary;

PDXBytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }
std::string textOf(const PDXBytes& bytes) { return {bytes.begin(), bytes.end()}; }
bool parses(const std::string& text) { return PDXPropertyList::parse(bytesOf(text)).has_value(); }

std::string times(int count, const std::string& text) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

std::string printed(const PDXPropertyList& value) {
  std::string text;
  if (const auto* entries = value.dictionary()) {
    for (const auto& [key, entry] : *entries) text += key + "=" + printed(entry) + " ";
    return "{" + text + "}";
  }
  if (const auto* elements = value.array()) {
    for (const auto& element : *elements) text += printed(element) + " ";
    return "[" + text + "]";
  }
  if (const auto* flag = value.boolean()) return *flag ? "true" : "false";
  if (const auto* number = value.integer()) return std::to_string(*number);
  if (const auto* number = value.real()) return std::to_string(*number);
  if (const auto* string = value.string()) return "'" + *string + "'";
  if (const auto* date = value.date()) return PDXDates::isoText(*date);
  if (const auto* uid = value.uid()) return "uid" + std::to_string(uid->index);
  if (const auto* data = value.data()) return "<" + textOf(*data) + ">";
  return "none";
}

PDXPropertyList everyKind() {
  return Dictionary{{"z", "Zoë & <b> 👍"},           {"a", Array{true, false, -1, std::int64_t{1} << 40, 0.5}},
                    {"", PDXBytes{'x', 0xFF}},      {"when", PDXDates::fromReferenceSeconds(-5)},
                    {"none", Dictionary{{"", ""}}}, {"empty", Array{}}};
}

constexpr const char* kEveryKind =
    "{z='Zoë & <b> 👍' a=[true false -1 1099511627776 0.500000 ] =<x\xFF> when=2000-12-31T23:59:55Z "
    "none={='' } empty=[] }";

/// A binary list from its objects, each at most 255 bytes from the beginning, with references of one byte.
std::string binary(const std::vector<std::string>& objects, int root = 0) {
  std::string text = "bplist00";
  std::string offsets;
  for (const auto& object : objects) {
    offsets += static_cast<char>(text.size());
    text += object;
  }
  const auto eight = [](std::size_t number) { return std::string(7, '\0') + static_cast<char>(number); };
  const std::size_t table = text.size();
  return text + offsets + std::string(6, '\0') + "\x01\x01" + eight(objects.size()) +
         eight(static_cast<std::size_t>(root)) + eight(table);
}

/// `levels` arrays of two, each naming the next one twice: 2 to the power of `levels` values.
std::string doubling(int levels) {
  std::vector<std::string> objects;
  for (int i = 1; i <= levels; ++i) objects.push_back("\xA2" + std::string(2, static_cast<char>(i)));
  objects.push_back("\x09");
  return binary(objects);
}

TEST(PropertyList, BothFormatsKeepEveryKind) {
  for (const PDXBytes& bytes : {everyKind().binary(), everyKind().xml()}) {
    const auto list = PDXPropertyList::parse(bytes);
    ASSERT_TRUE(list);
    EXPECT_EQ(printed(*list), kEveryKind);
  }
  const auto archive = PDXPropertyList::parse(PDXPropertyList(Array{PDXPropertyList::Uid{70000}}).binary());
  ASSERT_TRUE(archive);
  EXPECT_EQ(printed(*archive), "[uid70000 ]");
}

TEST(PropertyList, ToleratesWhatACipherLeaves) {
  const std::string list = textOf(everyKind().binary());
  const std::string zeros(16, '\0');
  for (int padding = 1; padding <= 16; ++padding) {
    const auto run = static_cast<std::size_t>(padding);
    EXPECT_TRUE(parses(list + std::string(run, static_cast<char>(padding)) + zeros)) << padding;
    EXPECT_FALSE(parses(list + std::string(run, '\x11') + zeros)) << padding;
  }
  const std::string xml = textOf(everyKind().xml());
  EXPECT_TRUE(parses(xml + "\n" + std::string(5, '\x05') + zeros));
  EXPECT_TRUE(parses(xml + times(100'000, "<array>")));
}

TEST(PropertyList, HostileListsAreRefused) {
  const std::string open = "<plist version=\"1.0\">";
  const std::string nested = times(200, "<array>");
  const std::string closers = times(200, "</array>");
  const struct {
    const char* fault;
    std::string list;
    bool parses;
  } cases[] = {
      {"250 levels", open + times(250, "<array>") + times(250, "</array>") + "</plist>", true},
      {"deep", open + times(200'000, "<array>") + "</plist>", false},
      {"deep and closed", open + times(200'000, "<array>") + times(200'000, "</array>") + "</plist>", false},
      {"an end of a tag in quotes", open + times(200'000, "<array x=\"/>\">") + "</plist>", false},
      {"closed in an instruction", open + times(1000, nested + "<?a > " + closers + "?>") + "</plist>",
       false},
      {"closed in a document type",
       open + times(1000, nested + "<!DOCTYPE [ > " + closers + "]>") + "</plist>", false},
      {"closed in a comment", open + times(200'000, "<array><!--></array>-->") + "</plist>", false},
      {"tags that never end", open + times(200'000, "<array <") + "</plist>", false},
      {"ends of nothing", open + times(200'000, "<array></array/>") + "</plist>", false},
      {"comment with markup", open + "<!-- <array> --><array/></plist>", true},
      {"contains itself", binary({"\xA1\x00"s}), false},
      {"contains itself further down", binary({"\xA1\x01"s, "\xD1\x02\x00"s, "\x51k"s}), false},
      {"thousands of values", doubling(14), true},
      {"a million of values", doubling(19), false},
      {"thousand billions of values", doubling(40), false},
      {"object that does not exist", binary({"\xA1\x07"s}), false},
      {"root that does not exist", binary({"\x09"s}, 3), false},
      {"more elements than bytes", binary({"\xAF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s}), false},
      {"zero in a key", binary({"\xD1\x01\x02"s, "\x53k\0k"s, "\x09"s}), false},
      {"zero in a wide key", binary({"\xD1\x01\x02"s, "\x62\0k\0\0"s, "\x09"s}), false},
      {"bytes of zero in a wide key", binary({"\xD1\x01\x02"s, "\x62\x01\0\0k"s, "\x09"s}), true},
      {"number as a key", binary({"\xD1\x01\x01"s, "\x10\x07"s}), false},
      {"zero in a text", binary({"\x53k\0k"s}), true},
      {"zero in an XML key", open + "<dict><key>k"s + '\0' + "k</key><true/></dict></plist>", true},
      {"written zero in an XML key", open + "<dict><key>k&#0;k</key><true/></dict></plist>", false},
      {"no objects", binary({}), false},
      {"only a magic", "bplist00", false},
      {"another version", "bplist15" + binary({"\x09"s}).substr(8), false},
      {"nothing", "", false},
      {"text", "hello", false},
      {"bytes", std::string(5000, '\xFF'), false},
  };
  for (const auto& c : cases) EXPECT_EQ(parses(c.list), c.parses) << c.fault;
}

/// An array that names one data of a megabyte `count` times.
std::string megabyteTimes(std::size_t count) {
  const auto four = [](std::size_t n) {
    return std::string{static_cast<char>(n >> 24), static_cast<char>(n >> 16), static_cast<char>(n >> 8),
                       static_cast<char>(n)};
  };
  std::string list = "bplist00\xAF\x12" + four(count) + std::string(count, '\x01');
  const std::size_t data = list.size();
  list += "\x4F\x12" + four(1 << 20) + std::string(1 << 20, 'x');
  const std::size_t table = list.size();
  list += four(8) + four(data) + std::string(6, '\0') + "\x04\x01";
  return list + four(0) + four(2) + four(0) + four(0) + four(0) + four(table);
}

TEST(PropertyList, RefusesLongDataManyTimesOver) {
  EXPECT_TRUE(parses(megabyteTimes(20)));
  EXPECT_FALSE(PDXPropertyListMeasure::isSafe(megabyteTimes(1'000'000)));
}

TEST(PropertyList, SurvivesDamageAnywhere) {
  const std::string whole = textOf(everyKind().binary());
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(parses(whole.substr(0, size))) << size;
    for (const char byte : {'\0', '\x7F', '\xFF', '\xDF'}) {
      std::string damaged = whole;
      damaged[size] = byte;
      PDXPropertyList::parse(bytesOf(damaged));
    }
  }
  const std::string xml = textOf(everyKind().xml());
  for (std::size_t size = 0; size < xml.size(); ++size) PDXPropertyList::parse(bytesOf(xml.substr(0, size)));
}

TEST(PropertyList, AskingTheWrongKindAnswersNothing) {
  const PDXPropertyList list =
      Dictionary{{"name", "Zoë"}, {"one", 1}, {"yes", true}, {"zero", 0}, {"list", Array{"a"}}};
  EXPECT_EQ(list.text("name"), "Zoë");
  EXPECT_EQ(list.text("one"), "");
  EXPECT_EQ(list.text("missing"), "");
  EXPECT_TRUE(list.flag("one"));
  EXPECT_TRUE(list.flag("yes"));
  EXPECT_FALSE(list.flag("zero"));
  EXPECT_FALSE(list.flag("name"));
  EXPECT_EQ(list.at(0), nullptr);
  EXPECT_EQ(list.find("list")->at(1), nullptr);
  EXPECT_EQ(list.find("list")->find("a"), nullptr);
}

}  // namespace
