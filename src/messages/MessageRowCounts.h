#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "messages/MessagesConversation.h"
#include "platform/Sqlite.h"

/// How many rows the message tables of a store hold, and why some of them stand on no page. Counted by
/// statements of its own, apart from those of the readers, so that a row which a reader overlooks shows as a
/// difference.
///
/// Every row counts once, under the first of these that fits it; `expected` less `repeated` and the others
/// make up `rows`.
struct PDXMessageRowCounts {
  /// Source: rows of message, and of message_legacy where the store has it.
  std::size_t rows = 0;

  /// How often the rows should stand on pages: once for each wanted chat, group or handle that holds them.
  std::size_t expected = 0;
  std::size_t repeated = 0;  ///< How many of these are further times of the same row.

  /// Whether attributed bodies are read, which takes as long as loading them, or taken to hold a text.
  enum class Bodies { believed, read };

  /// In a wanted chat, but without a text, an attributed body or the file name of an attachment: events of
  /// groups, for example, and messages that were taken back.
  std::size_t withoutContent = 0;

  /// In a wanted chat, with nothing but an attributed body that cannot be read; 0 unless bodies are read.
  std::size_t damagedText = 0;

  std::size_t notWanted = 0;            ///< Only in conversations that are left out.
  std::size_t withoutParticipants = 0;  ///< Only in chats without a handle, or groups without a member.
  std::size_t recentlyDeleted = 0;      ///< Source: chat_recoverable_message_join.
  std::size_t inNoConversation = 0;

  /// Nothing when a table is missing or damaged.
  /// @param leftOut  conversations that are not wanted.
  static std::optional<PDXMessageRowCounts> of(const PDXSQLiteDatabase& database,
                                               const std::vector<const PDXMessagesConversation*>& leftOut,
                                               Bodies bodies = Bodies::believed);
};
