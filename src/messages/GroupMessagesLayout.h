#pragma once

#include <vector>

#include "messages/ConversationWorkingList.h"
#include "messages/MessageDetail.h"
#include "messages/MessagesConversation.h"
#include "messages/MessagesQuery.h"
#include "platform/Sqlite.h"

/// The layout of the earliest systems: tables msg_group, group_member, message and msg_pieces, or after a
/// migration the same with "_legacy" behind their names. Dates count seconds since 1970.
namespace PDXGroupMessagesLayout {

/// Adds the store's groups with their members' addresses. A group joins a conversation that has its id.
void listConversations(const PDXSQLiteDatabase& database, PDXConversationWorkingList& list);

/// Appends the messages of every group of the conversation. The range is compared as seconds since 2001
/// although the dates count from 1970; a query that reaches everything compares it as seconds since 1970.
void loadMessages(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                  const PDXMessagesQuery& query, std::vector<PDXMessageDetail>& messages);

/// Whether any message of the conversation is in the query's range and holds its term. Never in a store that
/// was not migrated: the statement for it does not compile.
bool hasMessage(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                const PDXMessagesQuery& query);

}  // namespace PDXGroupMessagesLayout
