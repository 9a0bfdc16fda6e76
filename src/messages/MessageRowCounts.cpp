#include "messages/MessageRowCounts.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>

#include "backup/SQLiteHelper.h"
#include "messages/AttributedBody.h"

namespace {

using Ids = std::unordered_set<std::int64_t>;

bool hasTable(const PDXSQLiteDatabase& database, const std::string& table) {
  return PDXSQLiteHelper::doesDatabaseContainTable(database, table);
}

bool hasColumn(const PDXSQLiteDatabase& database, const std::string& table, const char* column) {
  return PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(database, table, column);
}

/// The numbers of a statement's first column. Stores of some systems lack its table, which gives none.
/// @param isWhole  false afterwards when damage ended it.
Ids idsOf(const PDXSQLiteDatabase& database, const std::string& sql, bool& isWhole) {
  Ids ids;
  auto rows = database.prepare(sql);
  while (rows.step()) ids.insert(rows.int64(0));
  isWhole = isWhole && !rows.failed();
  return ids;
}

/// What is left out, as the stores name it.
struct LeftOut {
  explicit LeftOut(const std::vector<const PDXMessagesConversation*>& conversations) {
    for (const PDXMessagesConversation* conversation : conversations) {
      ids.insert(conversation->conversationIdArray.begin(), conversation->conversationIdArray.end());
      handles.insert(conversation->madridHandleArray.begin(), conversation->madridHandleArray.end());
    }
  }

  Ids ids;
  std::unordered_set<std::string> handles;
};

/// Where one row is met: in how many chats, groups or handles of each sort.
struct Places {
  std::size_t wanted = 0;
  std::size_t leftOut = 0;
  std::size_t withoutParticipants = 0;

  void add(bool hasParticipants, bool isLeftOut) {
    ++(!hasParticipants ? withoutParticipants : isLeftOut ? leftOut : wanted);
  }
};

enum class Content { some, none, damaged };

void addRow(PDXMessageRowCounts& counts, const Places& places, Content content, bool isDeleted) {
  ++counts.rows;
  if (places.wanted > 0 && content == Content::some) {
    counts.expected += places.wanted;
    counts.repeated += places.wanted - 1;
  } else {
    ++(places.wanted > 0    ? (content == Content::damaged ? counts.damagedText : counts.withoutContent)
       : places.leftOut > 0 ? counts.notWanted
       : places.withoutParticipants > 0 ? counts.withoutParticipants
       : isDeleted                      ? counts.recentlyDeleted
                                        : counts.inNoConversation);
  }
}

/// What a body says that is all a message has.
Content contentOfBody(const PDXBytes& body) {
  const auto text = PDXAttributedBody::text(body);
  return !text ? Content::damaged : text->empty() ? Content::none : Content::some;
}

/// The chats of single messages, which must be asked for in ascending order: so one pass over the join table
/// does, whether it has an index or not.
class ChatsOfMessages {
 public:
  ChatsOfMessages(const PDXSQLiteDatabase& database, const LeftOut& leftOut)
      : leftOut_(leftOut),
        withParticipants_(idsOf(database,
                                "SELECT c.ROWID FROM chat c WHERE EXISTS (SELECT 1 FROM chat_handle_join j "
                                "JOIN handle h ON h.ROWID = j.handle_id WHERE j.chat_id = c.ROWID)",
                                isWhole_)),
        rows_(database.prepare("SELECT message_id, chat_id FROM chat_message_join ORDER BY message_id")) {
    advance();
  }

  Places placesOf(std::int64_t message) {
    Places places;
    for (; hasRow_ && message_ <= message; advance()) {
      if (message_ == message) addChat(rows_.int64(1), places);
    }
    return places;
  }

  bool failed() const { return !isWhole_ || !rows_.isValid() || rows_.failed(); }

 private:
  void advance() {
    hasRow_ = rows_.step();
    message_ = rows_.int64(0);
  }

  /// Remembers the last chat: messages in a row often are of the same.
  void addChat(std::int64_t chat, Places& places) {
    if (chat != lastChat_) {
      lastChat_ = chat;
      hasParticipants_ = withParticipants_.contains(chat);
      isLeftOut_ = leftOut_.ids.contains(chat);
    }
    places.add(hasParticipants_, isLeftOut_);
  }

  const LeftOut& leftOut_;
  bool isWhole_ = true;
  Ids withParticipants_;
  PDXSQLiteStatement rows_;
  bool hasRow_ = false;
  std::int64_t message_ = 0;
  std::optional<std::int64_t> lastChat_;
  bool hasParticipants_ = false;
  bool isLeftOut_ = false;
};

bool countCurrent(const PDXSQLiteDatabase& database, const LeftOut& leftOut,
                  PDXMessageRowCounts::Bodies bodies, PDXMessageRowCounts& counts) {
  ChatsOfMessages chats(database, leftOut);
  bool isWhole = true;
  const Ids deleted = idsOf(database, "SELECT message_id FROM chat_recoverable_message_join", isWhole);
  const Ids withFile =
      idsOf(database,
            "SELECT j.message_id FROM message_attachment_join j JOIN attachment a ON a.ROWID = "
            "j.attachment_id WHERE a.filename IS NOT NULL",
            isWhole);
  const bool hasBody = hasColumn(database, "message", "attributedBody");
  const bool readsBodies = hasBody && bodies == PDXMessageRowCounts::Bodies::read;
  // 0 for a row with a text, 1 for one with a body alone, 2 for one with neither.
  auto rows = database.prepare(std::string("SELECT ROWID, CASE WHEN text IS NOT NULL THEN 0 ") +
                               (hasBody ? "WHEN length(attributedBody) > 0 THEN 1 " : "") + "ELSE 2 END" +
                               (readsBodies ? ", attributedBody" : "") + " FROM message ORDER BY ROWID");
  while (rows.step()) {
    const std::int64_t id = rows.int64(0);
    const std::int64_t held = rows.int64(1);
    Content content = held == 0 || withFile.contains(id) ? Content::some : Content::none;
    if (content == Content::none && held == 1)
      content = readsBodies ? contentOfBody(rows.blob(2)) : Content::some;
    const Places places = chats.placesOf(id);
    addRow(counts, places, content, places.wanted == 0 && deleted.contains(id));
  }
  return isWhole && rows.isValid() && !rows.failed() && !chats.failed();
}

/// The groups of the earliest layout and the handles of the first iMessage layout, which share a table.
class OlderConversations {
 public:
  OlderConversations(const PDXSQLiteDatabase& database, const std::string& suffix, const LeftOut& leftOut)
      : leftOut_(leftOut) {
    const std::string table = "message" + suffix;
    hasGroups_ = hasTable(database, "msg_pieces" + suffix) && hasColumn(database, table, "group_id");
    hasHandles_ = hasTable(database, "madrid_chat" + suffix) && hasColumn(database, table, "madrid_handle");
    if (hasGroups_) {
      groups_ = idsOf(database, "SELECT ROWID FROM msg_group" + suffix, isWhole_);
      groupsWithMembers_ = idsOf(database, "SELECT group_id FROM group_member" + suffix, isWhole_);
    }
    if (!hasHandles_) return;
    auto rows = database.prepare("SELECT chat_identifier FROM madrid_chat" + suffix);
    while (rows.step()) handles_.insert(rows.text(0));
    isWhole_ = isWhole_ && !rows.failed();
  }

  bool failed() const { return !isWhole_; }

  /// The columns by which a row says where it belongs.
  std::string columns() const {
    return std::string(hasGroups_ ? "group_id" : "NULL") +
           (hasHandles_ ? ", CASE WHEN madrid_roomname <> '' THEN madrid_roomname ELSE madrid_handle END"
                        : ", NULL");
  }

  Places placesOf(const PDXSQLiteStatement& row) const {
    Places places;
    const std::int64_t group = row.int64(0);
    if (groups_.contains(group)) {
      places.add(groupsWithMembers_.contains(group), leftOut_.ids.contains(group));
    }
    if (const std::string handle = row.text(1); !row.isNull(1) && handles_.contains(handle)) {
      places.add(true, leftOut_.handles.contains(handle));
    }
    return places;
  }

 private:
  const LeftOut& leftOut_;
  bool isWhole_ = true;
  bool hasGroups_ = false;
  bool hasHandles_ = false;
  Ids groups_;
  Ids groupsWithMembers_;
  std::unordered_set<std::string> handles_;
};

/// Every row of these layouts has content: a text, or else an empty bubble on the page.
bool countOlder(const PDXSQLiteDatabase& database, const std::string& suffix, const LeftOut& leftOut,
                PDXMessageRowCounts& counts) {
  const OlderConversations conversations(database, suffix, leftOut);
  auto rows = database.prepare("SELECT " + conversations.columns() + " FROM message" + suffix);
  while (rows.step()) addRow(counts, conversations.placesOf(rows), Content::some, false);
  return rows.isValid() && !rows.failed() && !conversations.failed();
}

}  // namespace

std::optional<PDXMessageRowCounts> PDXMessageRowCounts::of(
    const PDXSQLiteDatabase& database, const std::vector<const PDXMessagesConversation*>& leftOut,
    Bodies bodies) {
  const LeftOut unwanted(leftOut);
  PDXMessageRowCounts counts;
  const bool isCurrent = hasTable(database, "chat") && hasTable(database, "chat_message_join");
  const bool isWhole = isCurrent ? countCurrent(database, unwanted, bodies, counts)
                                 : countOlder(database, "", unwanted, counts);
  const bool hasLegacy = hasTable(database, "message_legacy");
  if (!isWhole || (hasLegacy && !countOlder(database, "_legacy", unwanted, counts))) return std::nullopt;
  return counts;
}
