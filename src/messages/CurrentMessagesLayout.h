#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "messages/ConversationWorkingList.h"
#include "messages/MessageDetail.h"
#include "messages/MessagesConversation.h"
#include "messages/MessagesQuery.h"
#include "platform/Sqlite.h"

/// The layout of the messages store since 2012: tables chat, handle, chat_handle_join, chat_message_join,
/// message, attachment and message_attachment_join. Its dates count seconds, or on newer systems nanoseconds,
/// since 2001; one table may hold both.
namespace PDXCurrentMessagesLayout {

/// Adds the store's chats that have a handle and a message.
void listConversations(const PDXSQLiteDatabase& database, PDXConversationWorkingList& list);

/// What a store holds of this layout. Found out once: to look at its tables takes as long as some hundred
/// messages.
struct Store {
  bool isOfThisLayout = false;  ///< Whether there is a table chat.
  std::string columns;          ///< Those to read of message, as a statement names them.
  bool hasBodies = false;       ///< Whether there is a column message.attributedBody.

  /// The ids of the messages that have attachments, ascending. Few messages do, so one look at the join table
  /// spares a query for each of the others.
  std::vector<std::int64_t> withAttachments;

  explicit Store(const PDXSQLiteDatabase& database);
};

/// Appends the messages of every chat of the conversation, in the order of their rows. When everything is to
/// be reached, a message without a text takes it from its attributed body; damaged bodies are reported once.
void loadMessages(const PDXSQLiteDatabase& database, const Store& store,
                  const PDXMessagesConversation& conversation, const PDXMessagesQuery& query,
                  std::vector<PDXMessageDetail>& messages);

/// Whether any message of the conversation is in the query's range and holds its term.
bool hasMessage(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                const PDXMessagesQuery& query);

/// How many messages the chats of a conversation have. Source: rows of chat_message_join.
std::size_t messageCount(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation);

/// A stored date as a moment: nothing for 0 and below. A number above 2147483647 is nanoseconds, of which the
/// first nine digits are the seconds (true from 2004 to 2032).
std::optional<PDXDate> dateFromSeconds(std::int64_t value);

}  // namespace PDXCurrentMessagesLayout
