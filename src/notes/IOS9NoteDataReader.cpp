#include "notes/IOS9NoteDataReader.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "platform/DataReader.h"
#include "platform/Inflate.h"
#include "platform/Text.h"

namespace {

using Bytes = PDXIOS9NoteDataReader::Bytes;

constexpr std::array<std::uint8_t, 3> kBeginning{0x08, 0x00, 0x12};
constexpr std::uint8_t kLineBreak = 0x0A;
constexpr std::uint8_t kTextField = 0x12;
constexpr std::uint8_t kTextEnd = 0x1A;
constexpr std::uint8_t kRunBegin = 0x2A;
constexpr std::uint8_t kIdentifierLength = 0x24;
constexpr std::size_t kIdentifierBytes = 36;
constexpr std::size_t kShortest = 17;
constexpr std::size_t kRunBytes = 16;
constexpr std::size_t kShortestRun = 5;
constexpr std::string_view kPlace = "\xEF\xBF\xBC";
constexpr const char* kNoBody = "it does not begin as the body of a note";

std::string_view textOf(Bytes bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

PDXNoteContent pieceOf(Bytes line) {
  if (textOf(line) == kPlace) return PDXMediaNoteContent();
  return PDXTextNoteContent{.textData = PDXIOS9NoteDataReader::stringFromBytes(line)};
}

/// The first byte that ends a line; the end of the bytes when none does.
const std::uint8_t* lineEnd(const std::uint8_t* at, const std::uint8_t* end) {
  return std::find_if(at, end, [](std::uint8_t byte) { return byte == kLineBreak || byte == kTextEnd; });
}

/// The bytes of a run of attributes so far, as far as they can matter.
class Run {
 public:
  void begin() {
    bytes_[0] = kRunBegin;
    count_ = 1;
  }

  /// A run that grows too long is none.
  void add(std::uint8_t byte) {
    if (count_ == 0) return;
    bytes_[count_++] = byte;
    if (count_ == kRunBytes) count_ = 0;
  }

  bool canEnd() const { return count_ >= kShortestRun; }

  /// Ends the run. The kind of attachment that it tells; 0 for none.
  std::int32_t end() {
    const std::uint8_t* last = bytes_.data() + std::exchange(count_, 0);
    const bool isReference = last[-4] == 0x01 && last[-3] == 0x62 && last[-1] == 0x0A;
    return isReference ? formatOf(last[-2]) : 0;
  }

 private:
  /// The byte is the length of identifier and type together, and each kind has types of one length.
  static std::int32_t formatOf(std::uint8_t length) {
    switch (length) {
      case '2':
      case '3':
        return PDXNoteContentFormat::Media;
      case '>':
      case ';':
        return PDXNoteContentFormat::Sketch;
      case '9':
        return PDXNoteContentFormat::Drawing;
      case 'A':
        return PDXNoteContentFormat::Video;
      default:
        return 0;
    }
  }

  std::array<std::uint8_t, kRunBytes> bytes_{};
  std::size_t count_ = 0;
};

/// Gives each place its attachment, as long as there are references.
void join(std::vector<PDXNoteContent>& pieces, std::vector<PDXNoteFormatDetail> references) {
  std::size_t next = 0;
  for (PDXNoteContent& piece : pieces) {
    if (next == references.size()) return;
    auto* place = std::get_if<PDXMediaNoteContent>(&piece);
    if (place == nullptr) continue;
    place->contentFormat = references[next].formatType;
    place->identifier = std::move(references[next].identifier);
    place->exportName = std::to_string(++next);
  }
}

struct Unpacked {
  PDXBytes bytes;
  std::string why;
};

/// Bytes that begin as a body does.
Unpacked unpacked(Bytes blob) {
  auto inflated = PDXInflate::inflated(blob, PDXIOS9NoteDataReader::kMostBytes);
  if (!inflated.why.empty()) return {{}, std::move(inflated.why)};
  PDXDataReader reader(inflated.bytes);
  if (!PDXIOS9NoteDataReader::checkHeaderBytes(reader)) return {{}, kNoBody};
  const auto lines = std::count(inflated.bytes.begin(), inflated.bytes.end(), kLineBreak);
  if (lines > PDXIOS9NoteDataReader::kMostLines) return {{}, "it would have more than a million lines"};
  return {std::move(inflated.bytes), ""};
}

}  // namespace

std::optional<std::vector<PDXNoteContent>> PDXIOS9NoteDataReader::readNoteData(Bytes blob) {
  Body body = readBody(blob);
  return body.why.empty() ? std::optional(std::move(body.content)) : std::nullopt;
}

PDXIOS9NoteDataReader::Body PDXIOS9NoteDataReader::readBody(Bytes blob) {
  Unpacked of = unpacked(blob);
  Body body{.bytes = std::move(of.bytes), .why = std::move(of.why), .content = {}};
  if (!body.why.empty()) return body;
  PDXDataReader reader(body.bytes);
  checkHeaderBytes(reader);
  body.content = readTextContent(reader);
  join(body.content, readFormatData(reader));
  return body;
}

std::string PDXIOS9NoteDataReader::readNoteText(Bytes blob) {
  std::string why;
  return readNoteText(blob, why);
}

std::string PDXIOS9NoteDataReader::readNoteText(Bytes blob, std::string& why) {
  const Unpacked body = unpacked(blob);
  why = body.why;
  if (!why.empty()) return "";
  PDXDataReader reader(body.bytes);
  checkHeaderBytes(reader);
  std::string text;
  for (const PDXNoteContent& piece : readTextContent(reader)) {
    if (!text.empty()) text += "\n";
    if (const auto* line = std::get_if<PDXTextNoteContent>(&piece)) text += line->textData;
  }
  return text;
}

std::optional<PDXBytes> PDXIOS9NoteDataReader::gzipDecompress(Bytes bytes) {
  auto inflated = PDXInflate::inflated(bytes, kMostBytes);
  return inflated.why.empty() ? std::optional(std::move(inflated.bytes)) : std::nullopt;
}

bool PDXIOS9NoteDataReader::checkHeaderBytes(PDXDataReader& reader) {
  if (reader.length() < kShortest) return false;
  const auto beginning = reader.readBytes(kBeginning.size());
  if (!std::equal(kBeginning.begin(), kBeginning.end(), beginning->begin())) return false;
  return reader.skipPast(kTextEnd);
}

std::vector<PDXNoteContent> PDXIOS9NoteDataReader::readTextContent(PDXDataReader& reader) {
  std::vector<PDXNoteContent> pieces;
  if (!reader.skipPast(kTextField) || !reader.readByte()) return pieces;
  // One or two bytes tell the length. A small one in the second place belongs to it, any other is text.
  if (const auto second = reader.readByte(); second && *second > 16)
    reader.seekToPosition(reader.position() - 1);

  const Bytes rest = reader.rest();
  const std::uint8_t* const end = rest.data() + rest.size();
  const std::uint8_t* at = rest.data();
  while (true) {
    const std::uint8_t* const mark = lineEnd(at, end);
    if (mark == end) {
      at = end;
      break;
    }
    const Bytes line(at, mark);
    at = mark + 1;
    if (*mark == kTextEnd && line.empty()) break;
    pieces.push_back(pieceOf(line));
    if (*mark == kTextEnd && textOf(line) != kPlace) break;
  }
  reader.seekToPosition(reader.position() + static_cast<std::size_t>(at - rest.data()));
  return pieces;
}

std::vector<PDXNoteFormatDetail> PDXIOS9NoteDataReader::readFormatData(PDXDataReader& reader) {
  std::vector<PDXNoteFormatDetail> references;
  Run run;
  while (const auto byte = reader.readByte()) {
    if (*byte == kRunBegin) {
      run.begin();
    } else if (*byte != kIdentifierLength || !run.canEnd()) {
      run.add(*byte);
    } else if (const std::int32_t format = run.end(); format != 0) {
      const auto identifier = reader.readBytes(kIdentifierBytes);
      if (identifier) references.push_back({format, stringFromBytes(*identifier)});
    }
  }
  return references;
}

std::string PDXIOS9NoteDataReader::stringFromBytes(Bytes bytes) {
  std::string text(textOf(bytes));
  return PDXText::isValid(text) ? text : "";
}
