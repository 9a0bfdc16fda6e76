#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "notes/NoteContent.h"
#include "platform/Bytes.h"

class PDXDataReader;

/// Takes a note's body apart: lines of text, and the places of attachments.
///
/// A body is a packed record in a nested form that changed from one system version to the next. What the text
/// and the references begin and end with did not, so they are found by these few bytes, whatever lies around
/// them.
/// Errors: none leave it; a body that is damaged or of another kind gives nothing.
/// Threads: without state.
class PDXIOS9NoteDataReader {
 public:
  using Bytes = std::span<const std::uint8_t>;

  /// A longer body is refused: no note comes near it, and a few kilobytes can be made to grow to gigabytes.
  static constexpr std::size_t kMostBytes = std::size_t{64} << 20;

  /// Likewise one of more lines: each takes far more memory than its line break.
  static constexpr std::size_t kMostLines = 1'000'000;

  /// A body, unpacked once and asked for several things.
  struct Body {
    PDXBytes bytes;   ///< Unpacked; empty when it is unusable.
    std::string why;  ///< Why it is unusable; "" when it is not.

    /// The pieces, places joined with their references; empty when the body is unusable.
    std::vector<PDXNoteContent> content;
  };

  /// The pieces, places joined with their references in the order of both; nothing when the body is unusable.
  /// The attachments are counted in their `exportName`, from "1". A place for which no reference is left
  /// stays one.
  /// Source: ZICNOTEDATA.ZDATA.
  static std::optional<std::vector<PDXNoteContent>> readNoteData(Bytes blob);

  /// The text, a line for each piece; "" when the body is unusable.
  static std::string readNoteText(Bytes blob);

  /// As `readNoteData`, with the unpacked bytes and the reason of a failure.
  /// @param body  receives them, in the memory that it has from an earlier one.
  static void readBody(Bytes blob, Body& body);

  /// As `readNoteText`, with the reason of a failure.
  /// @param body  memory to work in; afterwards it has bytes and reason, and no pieces.
  static std::string readNoteText(Bytes blob, Body& body);

  /// The unpacked bytes of a gzip or zlib stream; nothing when it is empty, cut off, damaged or longer than
  /// `kMostBytes`.
  static std::optional<PDXBytes> gzipDecompress(Bytes bytes);

  /// Whether an unpacked body begins as expected. The reader is behind the signature then.
  static bool checkHeaderBytes(PDXDataReader& reader);

  /// The lines of the text and the places in it, from behind the signature on. Text without an end is
  /// dropped.
  static std::vector<PDXNoteContent> readTextContent(PDXDataReader& reader);

  /// The references to attachments, in their order, from behind the text on.
  static std::vector<PDXNoteFormatDetail> readFormatData(PDXDataReader& reader);

  /// The bytes as text; "" when they are no UTF-8.
  static std::string stringFromBytes(Bytes bytes);
};
