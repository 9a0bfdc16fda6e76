#include "notes/NoteBodyRecord.h"

namespace {

using Bytes = std::span<const std::uint8_t>;

std::string_view textOf(Bytes bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

/// Steps through the fields of a record: a tag, and a number or a counted run of bytes behind it.
class Fields {
 public:
  explicit Fields(Bytes bytes) : rest_(bytes) {}

  /// False at the end, and at the first field that does not fit; `failed` tells which.
  bool next() {
    if (rest_.empty() || failed_) return false;
    const std::uint64_t tag = varint();
    number_ = tag >> 3;
    bytes_ = {};
    switch (tag & 7) {
      case 0:
        varint();
        break;
      case 1:
        take(8);
        break;
      case 2:
        bytes_ = take(varint());
        break;
      case 5:
        take(4);
        break;
      default:
        failed_ = true;
    }
    return !failed_;
  }

  bool failed() const { return failed_; }
  std::uint64_t number() const { return number_; }
  Bytes bytes() const { return bytes_; }

 private:
  std::uint64_t varint() {
    std::uint64_t value = 0;
    for (unsigned shift = 0; shift < 64; shift += 7) {
      if (rest_.empty()) break;
      const std::uint8_t byte = rest_.front();
      rest_ = rest_.subspan(1);
      value |= std::uint64_t{byte & 0x7FU} << shift;
      if (byte < 0x80) return value;
    }
    failed_ = true;
    return 0;
  }

  Bytes take(std::uint64_t count) {
    if (failed_ || count > rest_.size()) {
      failed_ = true;
      return {};
    }
    const Bytes taken = rest_.first(count);
    rest_ = rest_.subspan(count);
    return taken;
  }

  Bytes rest_;
  Bytes bytes_;
  std::uint64_t number_ = 0;
  bool failed_ = false;
};

/// The first field of that number; nothing when the record does not have it or is damaged before.
std::optional<Bytes> fieldOf(Bytes record, std::uint64_t number) {
  Fields fields(record);
  while (fields.next()) {
    if (fields.number() == number) return fields.bytes();
  }
  return std::nullopt;
}

/// A run of one format over some of the text; the twelfth field names what stands in its place.
void addAttachment(Bytes run, std::vector<PDXNoteBodyAttachment>& attachments) {
  const auto attachment = fieldOf(run, 12);
  if (!attachment) return;
  attachments.push_back(
      {textOf(fieldOf(*attachment, 1).value_or(Bytes())), textOf(fieldOf(*attachment, 2).value_or(Bytes()))});
}

}  // namespace

std::optional<PDXNoteBodyRecord> PDXNoteBodyRecord::of(Bytes body) {
  const auto document = fieldOf(body, 2);
  const auto note = document ? fieldOf(*document, 3) : std::nullopt;
  if (!note) return std::nullopt;
  PDXNoteBodyRecord record;
  Fields fields(*note);
  while (fields.next()) {
    if (fields.number() == 2) record.text = textOf(fields.bytes());
    if (fields.number() == 5) addAttachment(fields.bytes(), record.attachments);
  }
  if (fields.failed()) return std::nullopt;
  return record;
}
