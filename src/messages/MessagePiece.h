#pragma once

#include <cstdint>
#include <string>
#include <utility>

/// One part of a message: text, an attachment, or a link to a shared note.
struct PDXMessagePiece {
  PDXMessagePiece(std::string type, std::int32_t part, std::string location)
      : contentType(std::move(type)), contentLocation(std::move(location)), partId(part) {}

  /// Whether the lower-cased type holds "text".
  bool isText() const;

  /// Whether the lower-cased type holds "image".
  bool isImage() const;

  /// "text", "ic_note" (a shared note's link), or for an attachment its MIME type or older type word; "" for
  /// an attachment without a type. Source: attachment.mime_type, msg_pieces.content_type.
  std::string contentType;

  /// The text itself, or the attachment's path as the store gives it, e.g. "~/Library/SMS/Attachments/…".
  /// Source: message.text, attachment.filename, msg_pieces.data or content_loc.
  std::string contentLocation;

  /// 0 for text, 1 for a shared note. Source: msg_pieces.part_id.
  std::int32_t partId = 0;

  /// Whether `contentLocation` names a file, whatever the type says: an attached text file has a text type
  /// too.
  bool isFile = false;
};
