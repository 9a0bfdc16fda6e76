#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "messages/MessagePiece.h"
#include "platform/Date.h"

/// One message.
struct PDXMessageDetail {
  bool containsMessagePieces() const { return !messagePieces.empty(); }

  /// Whether the text, or else a text piece, holds the term, without regard to case. False for an empty term
  /// or an empty text.
  bool contains(std::string_view searchTerm) const;

  bool messageIsErrorMessage = false;

  /// The group under which the reader found the message; 0 where the layout keeps none. Source:
  /// message.group_id.
  std::int32_t groupId = 0;

  /// Source: message.ROWID.
  std::int32_t rowId = 0;

  /// 0 received, 1 sent by the device's owner. Source: message.is_from_me, flags or madrid_date_delivered.
  std::int32_t direction = 0;

  /// 0 unknown, 1 sent, 2 delivered, 3 read, 4 not sent; received messages keep 0.
  /// Source: message.is_sent, is_delivered, is_read.
  std::int32_t readStatus = 0;

  /// When the message is shown as sent or received. Missing when the store has no time for it.
  /// Source: message.date, date_delivered, date_read.
  std::optional<PDXDate> time;

  std::vector<PDXMessagePiece> messagePieces;

  /// Without the characters that stand for attachments. Source: message.text; for exports also
  /// message.attributedBody where that is NULL or empty.
  std::string message;

  /// Source: message.subject.
  std::string subject;

  /// True when the message went over iMessage; missing otherwise. Source: message.service.
  std::optional<bool> isMadrid;

  /// The other party's phone number or e-mail address; "" when the store has none. Source: handle.id.
  std::string messageAddress;

  /// When the recipient read a sent message; only with read status 3. Source: message.date_read.
  std::optional<PDXDate> dateRead;

  /// How many attachments the store lists without a file name, which the device never downloaded.
  /// Source: attachment.filename being NULL.
  std::int32_t attachmentsNeverDownloaded = 0;
};
