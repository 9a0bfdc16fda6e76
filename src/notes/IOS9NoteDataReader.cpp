#include "notes/IOS9NoteDataReader.h"

#include <algorithm>
#include <array>
#include <cstring>
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

/// The first byte of that value; the end of the bytes when there is none.
const std::uint8_t* find(std::uint8_t value, const std::uint8_t* at, const std::uint8_t* end) {
  const void* found = at == end ? nullptr : std::memchr(at, value, static_cast<std::size_t>(end - at));
  return found == nullptr ? end : static_cast<const std::uint8_t*>(found);
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

  bool isOpen() const { return count_ > 0; }
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

/// Outside of a run only the beginning of one matters.
std::optional<std::uint8_t> nextByte(PDXDataReader& reader, bool isInRun) {
  if (isInRun) return reader.readByte();
  return reader.skipPast(kRunBegin) ? std::optional(kRunBegin) : std::nullopt;
}

/// Hands the kind and the identifier of each reference to `use`, until that answers false.
template <typename Use>
void forEachReference(PDXDataReader& reader, Use use) {
  Run run;
  while (const auto byte = nextByte(reader, run.isOpen())) {
    if (*byte == kRunBegin) {
      run.begin();
    } else if (*byte != kIdentifierLength || !run.canEnd()) {
      run.add(*byte);
    } else if (const std::int32_t format = run.end(); format != 0) {
      const auto identifier = reader.readBytes(kIdentifierBytes);
      if (identifier && !use(format, *identifier)) return;
    }
  }
}

/// The text of the bytes; "" when they are no UTF-8.
std::string_view validText(Bytes bytes) {
  const std::string_view text = textOf(bytes);
  return PDXText::isValid(text) ? text : std::string_view();
}

/// Gives each place its attachment, as long as there are references.
void join(std::vector<PDXNoteContent>& pieces, PDXDataReader& reader) {
  auto piece = pieces.begin();
  const auto toPlace = [&] {
    while (piece != pieces.end() && !std::holds_alternative<PDXMediaNoteContent>(*piece)) ++piece;
    return piece != pieces.end();
  };
  int count = 0;
  if (!toPlace()) return;
  forEachReference(reader, [&](std::int32_t format, Bytes identifier) {
    auto& place = std::get<PDXMediaNoteContent>(*piece++);
    place.contentFormat = format;
    place.identifier = validText(identifier);
    place.exportName = std::to_string(++count);
    return toPlace();
  });
}

bool hasTooManyLines(Bytes bytes) {
  return bytes.size() > PDXIOS9NoteDataReader::kMostLines &&
         static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), kLineBreak)) >
             PDXIOS9NoteDataReader::kMostLines;
}

/// Unpacks a body and moves the reader behind its signature. Says in `body` why it cannot.
bool unpack(Bytes blob, PDXIOS9NoteDataReader::Body& body) {
  body.why = PDXInflate::inflate(blob, PDXIOS9NoteDataReader::kMostBytes, body.bytes);
  if (!body.why.empty()) return false;
  PDXDataReader reader(body.bytes);
  if (!PDXIOS9NoteDataReader::checkHeaderBytes(reader)) {
    body.why = kNoBody;
  } else if (hasTooManyLines(body.bytes)) {
    body.why = "it would have more than a million lines";
  }
  if (!body.why.empty()) body.bytes.clear();
  return body.why.empty();
}

/// Moves to the first byte of the text; to the end when there is none.
void seekToText(PDXDataReader& reader) {
  if (!reader.skipPast(kTextField) || !reader.readByte()) return;
  // One or two bytes tell the length. A small one in the second place belongs to it, any other is text.
  if (const auto second = reader.readByte(); second && *second > 16)
    reader.seekToPosition(reader.position() - 1);
}

/// Bytes up to where the text that begins at the reader may end.
std::size_t textLength(const PDXDataReader& reader) {
  const Bytes rest = reader.rest();
  return static_cast<std::size_t>(find(kTextEnd, rest.data(), rest.data() + rest.size()) - rest.data());
}

/// Lines of the text that begins at the reader, one without a break at its end included.
std::size_t lineCount(const PDXDataReader& reader) {
  const Bytes text = reader.rest().first(textLength(reader));
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), kLineBreak)) + 1;
}

/// The end of the text's beginning that is valid as a whole, and so are its lines: they end at ASCII
/// characters. It reaches to the first byte that may end the text; behind a place the text goes on.
const std::uint8_t* validEnd(const PDXDataReader& reader) {
  const Bytes text = reader.rest().first(textLength(reader));
  return text.data() + (PDXText::isValid(textOf(text)) ? text.size() : 0);
}

/// Hands each line and each place, which is a line of its own, to `use`.
template <typename Use>
void forEachLine(PDXDataReader& reader, Use use) {
  const Bytes rest = reader.rest();
  const std::uint8_t* const end = rest.data() + rest.size();
  const std::uint8_t* at = rest.data();
  const std::uint8_t* textEnd = at;
  while (at != end) {
    if (textEnd <= at) textEnd = find(kTextEnd, at, end);
    const std::uint8_t* const mark = find(kLineBreak, at, textEnd);
    const Bytes line(at, mark);
    at = mark == end ? end : mark + 1;
    if (mark == end || (*mark == kTextEnd && line.empty())) break;
    use(line);
    if (*mark == kTextEnd && textOf(line) != kPlace) break;
  }
  reader.seekToPosition(reader.position() + static_cast<std::size_t>(at - rest.data()));
}

/// An empty place, with the memory that its identifier had.
void setPlace(PDXNoteContent& piece) {
  std::string memory;
  if (auto* earlier = std::get_if<PDXMediaNoteContent>(&piece)) memory = std::move(earlier->identifier);
  memory.clear();
  piece.emplace<PDXMediaNoteContent>().identifier = std::move(memory);
}

/// Makes a piece of the line, in the memory of an earlier piece where that was of its kind.
void setPiece(PDXNoteContent& piece, Bytes line) {
  if (textOf(line) == kPlace) return setPlace(piece);
  auto* text = std::get_if<PDXTextNoteContent>(&piece);
  if (text == nullptr) text = &piece.emplace<PDXTextNoteContent>();
  text->textData = textOf(line);
}

/// Replaces the pieces by those of the text.
void readPieces(PDXDataReader& reader, std::vector<PDXNoteContent>& pieces) {
  std::size_t count = 0;
  seekToText(reader);
  const std::uint8_t* const checked = validEnd(reader);
  if (pieces.capacity() == 0) pieces.reserve(lineCount(reader));
  forEachLine(reader, [&](Bytes line) {
    if (count == pieces.size()) pieces.emplace_back();
    const bool isValid = line.data() + line.size() <= checked || PDXText::isValid(textOf(line));
    setPiece(pieces[count++], isValid ? line : Bytes());
  });
  pieces.resize(count);
}

}  // namespace

std::optional<std::vector<PDXNoteContent>> PDXIOS9NoteDataReader::readNoteData(Bytes blob) {
  Body body;
  readBody(blob, body);
  return body.why.empty() ? std::optional(std::move(body.content)) : std::nullopt;
}

void PDXIOS9NoteDataReader::readBody(Bytes blob, Body& body) {
  if (!unpack(blob, body)) return body.content.clear();
  PDXDataReader reader(body.bytes);
  checkHeaderBytes(reader);
  readPieces(reader, body.content);
  join(body.content, reader);
}

std::string PDXIOS9NoteDataReader::readNoteText(Bytes blob) {
  Body body;
  return readNoteText(blob, body);
}

std::string PDXIOS9NoteDataReader::readNoteText(Bytes blob, Body& body) {
  std::string text;
  body.content.clear();
  if (!unpack(blob, body)) return text;
  PDXDataReader reader(body.bytes);
  checkHeaderBytes(reader);
  seekToText(reader);
  text.reserve(textLength(reader));
  forEachLine(reader, [&](Bytes line) {
    if (!text.empty()) text += '\n';
    if (textOf(line) != kPlace && PDXText::isValid(textOf(line))) text += textOf(line);
  });
  return text;
}

std::optional<PDXBytes> PDXIOS9NoteDataReader::gzipDecompress(Bytes bytes) {
  PDXBytes unpacked;
  const std::string why = PDXInflate::inflate(bytes, kMostBytes, unpacked);
  return why.empty() ? std::optional(std::move(unpacked)) : std::nullopt;
}

bool PDXIOS9NoteDataReader::checkHeaderBytes(PDXDataReader& reader) {
  if (reader.length() < kShortest) return false;
  const auto beginning = reader.readBytes(kBeginning.size());
  if (!std::equal(kBeginning.begin(), kBeginning.end(), beginning->begin())) return false;
  return reader.skipPast(kTextEnd);
}

std::vector<PDXNoteContent> PDXIOS9NoteDataReader::readTextContent(PDXDataReader& reader) {
  std::vector<PDXNoteContent> pieces;
  readPieces(reader, pieces);
  return pieces;
}

std::vector<PDXNoteFormatDetail> PDXIOS9NoteDataReader::readFormatData(PDXDataReader& reader) {
  std::vector<PDXNoteFormatDetail> references;
  forEachReference(reader, [&](std::int32_t format, Bytes identifier) {
    references.push_back({format, stringFromBytes(identifier)});
    return true;
  });
  return references;
}

std::string PDXIOS9NoteDataReader::stringFromBytes(Bytes bytes) { return std::string(validText(bytes)); }
