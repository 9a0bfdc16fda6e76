#include "notes/IOS9NoteDataReader.h"

#include <gtest/gtest.h>

#include "notes/NoteBodyRecord.h"
#include "platform/DataReader.h"
#include "samples/NoteBody.h"

namespace {

using Reader = PDXIOS9NoteDataReader;

const std::string kId = "11111111-2222-4333-8444-555555555555";
const std::string kOtherId = "66666666-7777-4888-8999-AAAAAAAAAAAA";
constexpr const char* kPlace = "\xEF\xBF\xBC";

PDXBytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

std::string header() { return std::string("\x08\x00\x12\x7F\x08\x00\x10\x00\x1A\x7F", 10); }

/// The run of attributes that names an attachment; `kind` tells its kind.
std::string run(char kind, const std::string& id) {
  return std::string("\x2A\x10\x08\x01\x62") + kind + "\x0A\x24" + id;
}

/// Pieces as text: lines in quotes, attachments as format:name:identifier.
std::string listed(const std::vector<PDXNoteContent>& pieces) {
  std::string text;
  for (const PDXNoteContent& piece : pieces) {
    if (const auto* line = std::get_if<PDXTextNoteContent>(&piece)) {
      text += "\"" + line->textData + "\" ";
    } else {
      const auto& media = std::get<PDXMediaNoteContent>(piece);
      text += std::to_string(media.contentFormat) + ":" + media.exportName + ":" +
              media.identifier.substr(0, 4) + " ";
    }
  }
  return text;
}

std::string decoded(const std::string& body) {
  const auto pieces = Reader::readNoteData(PDXSampleNoteBody::packed(bytesOf(body)));
  return pieces ? listed(*pieces) : "nothing";
}

/// One body for all, as readers have it: nothing of the one before may show.
std::string whyNot(const PDXBytes& blob) {
  static Reader::Body body;
  Reader::readBody(blob, body);
  EXPECT_EQ(body.why.empty(), !body.content.empty());
  return body.why;
}

TEST(IOS9NoteDataReader, FindsLinesAndPlaces) {
  const std::string place = kPlace;
  const std::string end = "\x1A\x02\x02\x02";
  const std::string text = header() + "\x12\x7F";
  const struct {
    const char* fault;
    std::string body;
    const char* expected;
  } cases[] = {
      {"17 bytes, the shortest", std::string("\x08\x00\x12\x1A\x12\x7F", 6) + "abcdefghij\x1A",
       "\"abcdefghij\" "},
      {"16 bytes", std::string("\x08\x00\x12\x1A\x12\x7F", 6) + "abcdefghi\x1A", "nothing"},
      {"no end of the head", std::string("\x08\x00\x12", 3) + std::string(40, 'x'), "nothing"},
      {"wrong first byte", std::string("\x09\x00\x12\x1A\x12\x7F", 6) + "abcdefghij\x1A", "nothing"},
      {"second byte of a length", header() + "\x12\xFF\x10" + "abc\x1A....", "\"abc\" "},
      {"no second byte of a length", header() + "\x12\x11\x11" + "abc\x1A....",
       "\"\x11"
       "abc\" "},
      {"empty lines", text + "a\n\nb\n" + end, "\"a\" \"\" \"b\" "},
      {"a last line without break", text + "a\nb" + end, "\"a\" \"b\" "},
      {"text without an end", text + "first\nsecond", "\"first\" "},
      {"no UTF-8", text + "a\xFF\nb\n" + end, "\"\" \"b\" "},
      {"a place among text", text + "a" + place + "\n" + end + run('3', kId), "\"a\xEF\xBF\xBC\" "},
      {"each kind",
       text + place + "\n" + place + "\n" + place + "\n" + place + "\n" + place + "\n" + place + "\n" + end +
           run('2', kId) + run('3', kId) + run('A', kId) + run('>', kId) + run(';', kId) + run('9', kId),
       "2:1:1111 2:2:1111 5:3:1111 3:4:1111 3:5:1111 4:6:1111 "},
      {"more places than references",
       text + place + "\nx\n" + place + "\n" + place + "\n" + end + run('3', kId) + run('A', kOtherId),
       "2:1:1111 \"x\" 5:2:6666 6:: "},
      {"a place at the end, and text behind it", text + "a\n" + place + "\x1A" + "b" + end + run('3', kId),
       "\"a\" 2:1:1111 \"b\" "},
      {"no UTF-8 behind a place that does not end the text",
       text + place + "\x1A" + "a\xBB\nb\n" + end + run('3', kId), "2:1:1111 \"\" \"b\" "},
      {"unknown kind", text + place + "\n" + end + run('=', kId) + run('3', kOtherId), "2:1:6666 "},
      {"identifier cut short", text + place + "\n" + end + run('3', kId.substr(0, 30)), "6:: "},
      {"identifier that is no text", text + place + "\n" + end + run('3', std::string(36, '\xFF')), "2:1: "},
      {"run that lies about its length, so that another begins in it",
       text + place + "\n" + end + "\x2A\x7F\x2A\x10\x08\x01\x62\x33\x0A\x24" + kId, "2:1:1111 "},
      {"run of 16 bytes",
       text + place + "\n" + end + "\x2A" + std::string(11, 'x') + "\x01\x62\x33\x0A\x24" + kId, "6:: "},
      {"run of 15 bytes",
       text + place + "\n" + end + "\x2A" + std::string(10, 'x') + "\x01\x62\x33\x0A\x24" + kId, "2:1:1111 "},
      {"length byte too early in a run", text + place + "\n" + end + "\x2A\x24\x08\x01\x62\x33\x0A\x24" + kId,
       "2:1:1111 "},
  };
  for (const auto& c : cases) EXPECT_EQ(decoded(c.body), c.expected) << c.fault;
}

TEST(IOS9NoteDataReader, ReadsWhatDevicesWrite) {
  const PDXBytes body = PDXSampleNoteBody::packed(
      PDXSampleNoteBody::record(std::string("Harbour\nGrüße 🔥\n") + kPlace + "\n" + kPlace + "\n",
                                {{kId, "public.jpeg"}, {kOtherId, "com.apple.quicktime-movie"}}));
  EXPECT_EQ(listed(Reader::readNoteData(body).value()), "\"Harbour\" \"Grüße 🔥\" 2:1:1111 5:2:6666 ");
  EXPECT_EQ(Reader::readNoteText(body), "Harbour\nGrüße 🔥\n\n");
}

TEST(IOS9NoteDataReader, SaysWhyABodyIsUnusable) {
  const PDXBytes whole = PDXSampleNoteBody::packed(PDXSampleNoteBody::record("Harbour\nA line\n"));
  const PDXBytes cut(whole.begin(), whole.end() - 12);
  PDXBytes damaged = whole;
  damaged[14] ^= 0xFF;
  PDXBytes trailing = whole;
  trailing.push_back(7);
  const struct {
    const char* fault;
    PDXBytes blob;
    const char* why;
  } cases[] = {
      {"empty", {}, "it is empty"},
      {"cut off", cut, "it is no gzip data, or it is damaged or cut off"},
      {"damaged", damaged, "it is no gzip data, or it is damaged or cut off"},
      {"enciphered", bytesOf("\x8E\x21\x07\xD4 locked"), "it is no gzip data, or it is damaged or cut off"},
      {"of another kind", PDXSampleNoteBody::packed(bytesOf("a letter to somebody")),
       "it does not begin as the body of a note"},
      {"bytes behind the end", trailing, ""},
  };
  for (const auto& c : cases) EXPECT_EQ(whyNot(c.blob), c.why) << c.fault;
}

TEST(IOS9NoteDataReader, RefusesToGrowWithoutBounds) {
  const PDXBytes bomb = PDXSampleNoteBody::packed(PDXBytes(Reader::kMostBytes + 1));
  EXPECT_LT(bomb.size(), std::size_t{100'000});
  EXPECT_EQ(whyNot(bomb), "it would grow beyond 64 MB");
  EXPECT_FALSE(Reader::gzipDecompress(bomb));
  std::string lines = header() + "\x12\x7F" + std::string(Reader::kMostLines + 1, '\n') + "\x1A";
  EXPECT_EQ(whyNot(PDXSampleNoteBody::packed(bytesOf(lines))), "it would have more than a million lines");
  PDXBytes lying = PDXSampleNoteBody::packed(PDXSampleNoteBody::record("Harbour\n"));
  lying.back() = 0x7F;
  EXPECT_EQ(whyNot(lying), "it is no gzip data, or it is damaged or cut off") << "a size that lies";
}

TEST(IOS9NoteDataReader, UsesMemoryAgain) {
  Reader::Body body;
  const std::string place = kPlace;
  for (const std::string& text : std::vector<std::string>{"a\n" + place + "\nc\nd\n", place + "\nb\n",
                                                          std::string("a long enough line\n")}) {
    const PDXBytes blob = PDXSampleNoteBody::packed(PDXSampleNoteBody::record(text, {{kId, "public.jpeg"}}));
    Reader::readBody(blob, body);
    EXPECT_EQ(listed(body.content), listed(Reader::readNoteData(blob).value())) << text;
  }
}

TEST(NoteBodyRecord, NamesAttachmentsOfEveryKind) {
  const PDXBytes body = PDXSampleNoteBody::record(std::string("Prices\n") + kPlace + "\n",
                                                  {{kId, "com.apple.notes.table"}, {"x", ""}});
  const auto record = PDXNoteBodyRecord::of(body);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->text, std::string("Prices\n") + kPlace + "\n");
  ASSERT_EQ(record->attachments.size(), 2U);
  EXPECT_EQ(record->attachments[0].identifier, kId);
  EXPECT_EQ(record->attachments[0].type, "com.apple.notes.table");
  EXPECT_EQ(record->attachments[1].identifier, "x");
  for (std::size_t length = 0; length < body.size(); ++length) {
    EXPECT_FALSE(PDXNoteBodyRecord::of(std::span(body).first(length))) << "cut to " << length;
  }
}

TEST(DataReader, StaysWhereItIsWhenThereIsTooLittle) {
  const PDXBytes bytes = {1, 2, 3};
  PDXDataReader reader(bytes);
  EXPECT_EQ(reader.readByte(), 1);
  EXPECT_FALSE(reader.readBytes(3));
  EXPECT_EQ(reader.position(), 1U);
  EXPECT_EQ(reader.readBytes(2)->back(), 3);
  EXPECT_FALSE(reader.readByte());
  reader.seekToPosition(99);
  EXPECT_EQ(reader.position(), 3U);
}

}  // namespace
