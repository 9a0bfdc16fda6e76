#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// An attachment as a note's own record names it.
struct PDXNoteBodyAttachment {
  std::string_view identifier;
  std::string_view type;  ///< A type identifier, e.g. "com.apple.notes.table".
};

/// What a note's body says of itself. Pages are not made from it: it tells what the scan for pieces, which
/// goes by a few bytes, did not reach, so that nothing is lost without a word.
struct PDXNoteBodyRecord {
  std::string_view text;  ///< UTF-8 as the device wrote it; not checked.
  std::vector<PDXNoteBodyAttachment> attachments;

  /// Looks into the bytes, which must outlive the answer.
  /// @param body  the unpacked body.
  /// @return nothing when the bytes are no such record.
  static std::optional<PDXNoteBodyRecord> of(std::span<const std::uint8_t> body);
};
