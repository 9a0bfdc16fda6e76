#include "messages/AttributedBody.h"

#include <gtest/gtest.h>

#include "samples/AttributedText.h"

namespace {

using namespace std::string_literals;

std::string textOf(const std::string& archive) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(archive.data());
  return PDXAttributedBody::text({bytes, archive.size()}).value_or("nothing");
}

const std::string kHeader = "\x04\x0Bstreamtyped\x81\xE8\x03";
const std::string kClass = "\x84\x12NSAttributedString\x00\x84\x84\x08NSObject\x00\x85"s;

/// An attributed string up to its first value: thing 0 of the archive; things 1 and 2 are classes.
const std::string kOpen = kHeader + "\x84\x01@\x84\x84" + kClass;
const std::string kObject = "\x92";

/// A string object up to its bytes, and the type of those.
const std::string kString = "\x84\x84\x84\x08NSString\x01\x94";
const std::string kBytes = "\x84\x01+";
const std::string kText = kOpen + kObject + kString + kBytes;
const std::string kDictionary = "\x84\x84\x84\x0CNSDictionary\x00\x94"s;

std::string repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

TEST(AttributedBody, ReadsWhatDevicesWrite) {
  std::string bigEndian = kText + "\x81\x00\x02Hi\x86\x86"s;
  bigEndian.replace(0, kHeader.size(), "\x04\x0Btypedstream\x81\x03\xE8");
  const PDXBytes parts = PDXSampleAttributedText::archived("\uFFFCπ 1\uFFFC\uFFFC2 𝖜", "GUID");
  const struct {
    const char* form;
    std::string archive;
    std::string text;
  } cases[] = {
      {"whole", kText + "\x05Hello\x86\x86", "Hello"},
      {"empty", kText + "\x00\x86\x86"s, ""},
      {"cut off behind the text", kText + "\x05Hello", "Hello"},
      {"parts", std::string(parts.begin(), parts.end()), "\uFFFCπ 1\uFFFC\uFFFC2 𝖜"},
      {"type and end inside the text", kText + "\x06Hi\x84\x01+\x86\x86", "Hi\uFFFD\x01+\uFFFD"},
      {"two bytes of length", kText + "\x81\x80\x90" + std::string(0x9080, 'x'), std::string(0x9080, 'x')},
      {"four bytes of length", kText + "\x82\x01\x00\x00\x00x"s, "x"},
      {"most significant byte first", bigEndian, "Hi"},
      {"text met before, in a dictionary",
       kOpen + "\x84\x02@@" + kDictionary + kObject + kString + kBytes + "\x02OK\x86\x86\x97", "OK"},
      {"values of all types before the text",
       kOpen + "\x84\x12[2{p=di}]fcSq*:%#*" + "\x83" + "12345678\x81\x01\x02\x05\x82\x01\x02\x03\x04\x83" +
           "1234c\x07\x08\x84\x84\x01x\x85\x85\x94\x95" + kObject + kString + kBytes + "\x02OK",
       "OK"},
      {"nil before the text", kOpen + "\x92\x85" + kObject + kString + kBytes + "\x02OK", "OK"},
      {"string that is part of itself", kOpen + kObject + kString + "\x92\x95" + kBytes + "\x02OK", "OK"},
  };
  for (const auto& c : cases) EXPECT_EQ(textOf(c.archive), c.text) << c.form;
}

TEST(AttributedBody, GivesNothingForAnythingElse) {
  const struct {
    const char* fault;
    std::string archive;
  } cases[] = {
      {"no bytes", ""},
      {"other version", "\x03" + kText.substr(1) + "\x02Hi"},
      {"other signature", "\x04\x0Bstreamtypes\x81\xE8\x03" + kText.substr(kHeader.size()) + "\x02Hi"},
      {"other system", "\x04\x0Bstreamtyped\x81\xE7\x03" + kText.substr(kHeader.size()) + "\x02Hi"},
      {"another object than an attributed string",
       kHeader + "\x84\x01@\x84\x84\x84\x0CNSDictionary\x00\x85\x92\x84\x93\x84\x01+\x02Hi"s},
      {"no string in it", kOpen + "\x86"},
      {"string of 4 GB", kText + "\x82\xFF\xFF\xFF\xFFHi"},
      {"string longer than what is left", kText + "\x03Hi"},
      {"mark for a length", kText + "\x92Hi"},
      {"type that there is none of", kOpen + "\x84\x01?\x01" + kObject + kString + kBytes + "\x02Hi"},
      {"class above itself", kHeader + "\x84\x01@\x84\x84\x84\x12NSAttributedString\x00\x93"s + kObject},
      {"object for a class", kOpen + kObject + "\x84\x92"},
      {"class for an object", kOpen + kObject + "\x93"},
      {"object that comes later", kOpen + kObject + "\x99" + kObject + kString + kBytes + "\x02Hi"},
      {"string that comes later", kOpen + "\x99" + kString + kBytes + "\x02Hi"},
      {"objects too deep in each other", kOpen + repeated("\x92\x84\x93", 100'000)},
      {"classes too deep", kHeader + "\x84\x01#" +
                               repeated("\x84\x84\x01"
                                        "a\x00"s,
                                        100'000)},
      {"structures too deep", kOpen + "\x84\x82\xA0\x86\x01\x00"s + repeated("{=", 50'000)},
      {"array that takes no bytes", kOpen + "\x84\x0F[4294967295{=}]"},
      {"description that costs more than it describes",
       kOpen + "\x84\x82\x03\x40\x00\x00{"s + std::string(0x4000, 'x') + "=}" + std::string(500'000, '\x95')},
  };
  for (const auto& c : cases) EXPECT_EQ(textOf(c.archive), "nothing") << c.fault;
}

TEST(AttributedBody, KnowsTheTextFromItsLastByteOn) {
  const PDXBytes archive = PDXSampleAttributedText::archived("some words", "GUID");
  const std::string whole(archive.begin(), archive.end());
  const std::size_t end = whole.find("some words") + 10;
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    EXPECT_EQ(textOf(whole.substr(0, size)), size < end ? "nothing" : "some words") << size;
  }
}

}  // namespace
