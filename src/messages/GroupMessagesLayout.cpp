#include "messages/GroupMessagesLayout.h"

#include <algorithm>
#include <limits>
#include <string>

#include "backup/SQLiteHelper.h"
#include "messages/MessageRows.h"
#include "platform/Text.h"

namespace {

constexpr std::int64_t kNoEnd = std::numeric_limits<std::int64_t>::max();

/// From 1970-01-01 to 2001-01-01.
constexpr std::int64_t kSecondsTo2001 = 978'307'200;

bool hasTable(const PDXSQLiteDatabase& database, const char* name) {
  return PDXSQLiteHelper::doesDatabaseContainTable(database, name);
}

std::string limits(const PDXMessagesQuery& query, const std::string& end) {
  // Dates count from 1970 here, so a range given since 2001 matches only what is asked for when it is moved.
  const std::int64_t shift = query.reachesEverything ? kSecondsTo2001 : 0;
  const std::int64_t endSeconds = query.endDate ? query.endSeconds(kNoEnd) + shift : kNoEnd;
  std::string text;
  if (query.hasDates()) {
    const std::int64_t startSeconds = query.startDate ? query.startSeconds() + shift : 0;
    text = " AND m.date >= " + std::to_string(startSeconds) + " AND m.date < " + std::to_string(endSeconds);
  }
  if (query.hasTerm()) text += " AND m.text LIKE '%" + *query.searchTerm + "%'";
  return text.empty() ? text : text + end;
}

/// The statement for the store's tables; "" when it has none of this layout.
std::string messagesStatement(const PDXSQLiteDatabase& database) {
  const char* suffix = hasTable(database, "msg_pieces")          ? ""
                       : hasTable(database, "msg_pieces_legacy") ? "_legacy"
                                                                 : nullptr;
  if (suffix == nullptr) return "";
  return std::string(
             "SELECT  m.group_id, m.ROWID, m.flags, m.text, p.content_type, p.content_loc, m.date, ") +
         "p.message_id, p.data, p.part_id FROM message" + suffix + " m LEFT OUTER JOIN msg_pieces" + suffix +
         " p on m.ROWID = p.message_id WHERE m.group_id =";
}

/// The columns of that statement.
enum Column {
  kGroupId,
  kRowId,
  kFlags,
  kText,
  kContentType,
  kContentLocation,
  kDate,
  kMessageId,
  kData,
  kPartId
};

PDXDate since1970(std::int64_t seconds) {
  constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min() + kSecondsTo2001;
  return PDXDates::fromReferenceSeconds(std::max(seconds, kLeast) - kSecondsTo2001);
}

PDXMessageDetail messageFromRow(const PDXSQLiteStatement& rows, std::int32_t groupId) {
  PDXMessageDetail message;
  message.groupId = groupId;
  message.rowId = static_cast<std::int32_t>(rows.int64(kRowId));
  message.direction = rows.int64(kFlags) == 2 ? 0 : 1;
  message.message = rows.text(kText);
  if (!rows.isNull(kDate)) message.time = since1970(rows.int64(kDate));
  return message;
}

/// The name under which the part's file is looked for. A "video/3gpp" part ends in ".3gp.3gp".
std::string fileLocation(const std::string& contentLocation, std::int64_t part, const std::string& type) {
  std::string location = contentLocation + "-" + std::to_string(part);
  for (const auto& [word, extension] : {std::pair("jpeg", ".jpg"), {"3gpp", ".3gp"}, {"3gp", ".3gp"}}) {
    if (type.find(word) != std::string::npos) location += extension;
  }
  return location;
}

void addPiece(const PDXSQLiteStatement& rows, PDXMessageDetail& message) {
  const std::string type = rows.text(kContentType);
  const std::string lowered = PDXText::lowercased(type);
  const auto part = static_cast<std::int32_t>(rows.int64(kPartId));
  if (lowered.find("text") != std::string::npos) {
    message.messagePieces.emplace_back(type, part, rows.text(kData));
  } else if (lowered.find("image") != std::string::npos || lowered.find("video") != std::string::npos) {
    message.messagePieces.emplace_back(type, part, fileLocation(rows.text(kContentLocation), part, lowered));
    message.messagePieces.back().isFile = true;
  }
}

/// A page shows a message's pieces in place of its text, so a text beside pictures becomes a piece itself.
void keepTextBesidePieces(PDXMessageDetail& message) {
  const auto& pieces = message.messagePieces;
  const bool hasText =
      std::any_of(pieces.begin(), pieces.end(), [](const auto& piece) { return piece.isText(); });
  if (pieces.empty() || hasText || message.message.empty()) return;
  message.messagePieces.insert(pieces.begin(), PDXMessagePiece("text", 0, message.message));
}

void loadGroup(const PDXSQLiteDatabase& database, const std::string& sql, std::int32_t groupId,
               std::vector<PDXMessageDetail>& messages) {
  const std::size_t first = messages.size();
  auto rows = database.prepare(sql);
  while (rows.step()) {
    const auto rowId = static_cast<std::int32_t>(rows.int64(kRowId));
    if (messages.size() == first || messages.back().rowId != rowId)
      messages.push_back(messageFromRow(rows, groupId));
    addPiece(rows, messages.back());
  }
  // Newer stores keep a table "message" without groups beside migrated ones: such a statement does not
  // compile.
  if (rows.isValid()) PDXMessageRows::reportUnlessComplete(rows, "group " + std::to_string(groupId));
}

}  // namespace

namespace PDXGroupMessagesLayout {

void listConversations(const PDXSQLiteDatabase& database, PDXConversationWorkingList& list) {
  const char* suffix = hasTable(database, "group_member")          ? ""
                       : hasTable(database, "group_member_legacy") ? "_legacy"
                                                                   : nullptr;
  if (suffix == nullptr) return;
  auto rows =
      database.prepare(std::string("SELECT mg.ROWID as group_id, gm.address from msg_group") + suffix +
                       " mg inner join group_member" + suffix + " gm  on gm.group_id = mg.ROWID");
  while (rows.step()) {
    PDXMessagesConversation& conversation = list.conversationWithId(static_cast<std::int32_t>(rows.int64(0)));
    if (!rows.isNull(1)) list.addParticipant(conversation, rows.text(1));
  }
  PDXMessageRows::reportUnlessComplete(rows, "the list of message groups");
}

void loadMessages(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                  const PDXMessagesQuery& query, std::vector<PDXMessageDetail>& messages) {
  const std::string statement = messagesStatement(database);
  if (statement.empty()) return;
  const std::size_t first = messages.size();
  for (const std::int32_t groupId : conversation.conversationIdArray) {
    loadGroup(database, statement + std::to_string(groupId) + limits(query, ";"), groupId, messages);
  }
  if (!query.reachesEverything) return;
  for (std::size_t i = first; i < messages.size(); ++i) keepTextBesidePieces(messages[i]);
}

bool hasMessage(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                const PDXMessagesQuery& query) {
  const std::string statement =
      hasTable(database, "msg_pieces")
          ? "SELECT  m.ROWID, m.text, m.date, FROM message m LEFT OUTER JOIN msg_pieces p on m.ROWID = "
            "p.message_id WHERE m.group_id ="
          : "SELECT m.ROWID, m.text, m.date FROM message_legacy m LEFT OUTER JOIN msg_pieces_legacy p on "
            "m.ROWID = "
            "p.message_id WHERE m.group_id =";
  return std::any_of(conversation.conversationIdArray.begin(), conversation.conversationIdArray.end(),
                     [&](std::int32_t groupId) {
                       auto rows =
                           database.prepare(statement + std::to_string(groupId) + limits(query, " LIMIT 1;"));
                       return rows.step();
                     });
}

}  // namespace PDXGroupMessagesLayout
