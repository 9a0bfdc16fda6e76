#pragma once

#include <vector>

#include "messages/ConversationWorkingList.h"
#include "messages/MessageDetail.h"
#include "messages/MessagesConversation.h"
#include "messages/MessagesQuery.h"
#include "platform/Sqlite.h"

/// The first iMessage layout, of 2011: table madrid_chat, the "madrid_" columns of message, and
/// madrid_attachment, or after a migration the same tables with "_legacy" behind their names. Dates count
/// seconds since 2001.
namespace PDXMadridMessagesLayout {

/// Adds the store's chats with the addresses that their lists of participants name.
void listConversations(const PDXSQLiteDatabase& database, PDXConversationWorkingList& list);

/// Appends the messages of every handle of the conversation. The given statement compares the handle with a
/// truth value and so finds hardly anything; a query that reaches everything compares it with the address.
void loadMessages(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                  const PDXMessagesQuery& query, std::vector<PDXMessageDetail>& messages);

/// Whether any message of the conversation is in the query's range and holds its term.
bool hasMessage(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                const PDXMessagesQuery& query);

}  // namespace PDXMadridMessagesLayout
