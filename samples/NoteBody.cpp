#include "samples/NoteBody.h"

#include <zlib.h>

#include <cstdint>
#include <string>

namespace {

std::string varint(std::uint64_t value) {
  std::string bytes;
  for (; value >= 0x80; value >>= 7) bytes += static_cast<char>(value | 0x80);
  return bytes + static_cast<char>(value);
}

std::string number(int field, std::uint64_t value) {
  return varint(static_cast<std::uint64_t>(field) << 3) + varint(value);
}

std::string part(int field, std::string_view bytes) {
  return varint(static_cast<std::uint64_t>(field) << 3 | 2) + varint(bytes.size()) + std::string(bytes);
}

/// Who wrote what when: devices keep a word of it between the text and its attributes.
std::string history() { return part(3, part(1, number(1, 0) + number(2, 0)) + number(2, 0)); }

std::string attributes(const std::vector<PDXSampleNoteReference>& references) {
  std::string runs = part(5, number(1, 5) + part(2, number(1, 0)));
  for (const PDXSampleNoteReference& reference : references) {
    const std::string attachment = part(1, reference.identifier) + part(2, reference.type);
    runs += part(5, number(1, 1) + part(12, attachment));
  }
  return runs;
}

}  // namespace

namespace PDXSampleNoteBody {

PDXBytes record(std::string_view text, const std::vector<PDXSampleNoteReference>& references) {
  const std::string note = part(2, text) + history() + attributes(references);
  const std::string whole = number(1, 0) + part(2, number(1, 0) + number(2, 0) + part(3, note));
  return {whole.begin(), whole.end()};
}

PDXBytes packed(const PDXBytes& bytes) {
  z_stream stream{};
  constexpr int kGzip = 15 + 16;
  deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzip, 8, Z_DEFAULT_STRATEGY);
  PDXBytes gzip(deflateBound(&stream, bytes.size()));
  stream.next_in = const_cast<Bytef*>(bytes.data());
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = gzip.data();
  stream.avail_out = static_cast<uInt>(gzip.size());
  deflate(&stream, Z_FINISH);
  gzip.resize(stream.total_out);
  deflateEnd(&stream);
  return gzip;
}

}  // namespace PDXSampleNoteBody
