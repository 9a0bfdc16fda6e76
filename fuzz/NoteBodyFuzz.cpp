#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "notes/IOS9NoteDataReader.h"
#include "notes/NoteBodyRecord.h"
#include "platform/DataReader.h"
#include "platform/Text.h"

namespace {

using Reader = PDXIOS9NoteDataReader;

void require(bool holds) {
  if (!holds) std::abort();
}

/// The pieces together are no longer than the bytes, and all text is valid.
void check(const std::vector<PDXNoteContent>& pieces, std::size_t size) {
  std::size_t length = 0;
  for (const PDXNoteContent& piece : pieces) {
    const auto* line = std::get_if<PDXTextNoteContent>(&piece);
    if (line == nullptr) continue;
    require(PDXText::isValid(line->textData));
    length += line->textData.size();
  }
  require(length <= size && pieces.size() <= size);
}

void checkUnpacked(Reader::Bytes bytes) {
  PDXDataReader reader(bytes);
  if (!Reader::checkHeaderBytes(reader)) return;
  check(Reader::readTextContent(reader), bytes.size());
  for (const PDXNoteFormatDetail& reference : Reader::readFormatData(reader)) {
    require(reference.formatType >= 2 && reference.formatType <= 5);
    require(reference.identifier.size() == 36 || reference.identifier.empty());
  }
}

void checkRecord(Reader::Bytes bytes) {
  const auto record = PDXNoteBodyRecord::of(bytes);
  if (!record) return;
  require(record->text.size() <= bytes.size() && record->attachments.size() <= bytes.size());
}

}  // namespace

/// Whatever the bytes are, unpacked or packed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Reader::Bytes bytes(data, size);
  checkUnpacked(bytes);
  checkRecord(bytes);
  static Reader::Body body;
  Reader::readBody(bytes, body);
  require(body.why.empty() == !body.bytes.empty());
  check(body.content, body.bytes.size());
  require(Reader::readNoteText(bytes).size() <= body.bytes.size());
  return 0;
}
