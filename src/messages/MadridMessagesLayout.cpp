#include "messages/MadridMessagesLayout.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "backup/SQLiteHelper.h"
#include "contacts/ContactsDatabase.h"
#include "messages/MessageRows.h"
#include "platform/PropertyList.h"
#include "platform/Text.h"

namespace {

constexpr std::int64_t kNoEnd = std::numeric_limits<std::int64_t>::max();
constexpr std::size_t kGuidLength = 36;

/// What stands behind the tables' names; nothing when the store has none of this layout.
std::optional<std::string> tableSuffix(const PDXSQLiteDatabase& database) {
  if (PDXSQLiteHelper::doesDatabaseContainTable(database, "madrid_chat")) return "";
  if (PDXSQLiteHelper::doesDatabaseContainTable(database, "madrid_chat_legacy")) return "_legacy";
  return std::nullopt;
}

std::string limits(const PDXMessagesQuery& query, const std::string& end) {
  std::string text;
  if (query.hasDates()) {
    text = " AND date >= " + std::to_string(query.startSeconds()) + " AND date < " +
           std::to_string(query.endSeconds(kNoEnd));
  }
  if (query.hasTerm()) text += " AND text LIKE '%" + *query.searchTerm + "%'";
  return text.empty() ? text : text + end;
}

/// Matches a number by its last four digits, so that it is found with and without a prefix.
std::string addressPattern(const std::string& handle) {
  const bool isNumber = handle.find('@') == std::string::npos && PDXText::length(handle) > 4;
  return isNumber ? "%" + std::string(PDXText::lastCharacters(handle, 4)) : handle;
}

void bindHandle(PDXSQLiteStatement& rows, const std::string& handle) {
  rows.bind(1, std::string_view(addressPattern(handle)));
  rows.bind(2, std::string_view(handle));
}

bool isGuid(std::string_view text) {
  return text.size() == kGuidLength &&
         text.find_first_not_of("0123456789abcdefABCDEF-") == std::string_view::npos &&
         std::count(text.begin(), text.end(), '-') == 4;
}

void collectGuids(const PDXPropertyList& value, std::vector<std::string>& guids) {
  if (const auto* text = value.string(); text != nullptr && isGuid(*text)) guids.push_back(*text);
  if (const auto* elements = value.array()) {
    for (const auto& element : *elements) collectGuids(element, guids);
  }
  if (const auto* entries = value.dictionary()) {
    for (const auto& entry : *entries) collectGuids(entry.second, guids);
  }
}

/// The attachment identifiers of a message. The list is archived in more than one way on real devices, but
/// the identifiers always are texts of the same form in it.
std::vector<std::string> attachmentGuids(const PDXBytes& archive) {
  std::vector<std::string> guids;
  if (const auto list = PDXPropertyList::parse(archive)) collectGuids(*list, guids);
  return guids;
}

/// Builds messages from rows of the layout's message table, whose columns are found by name.
class Rows {
 public:
  Rows(const PDXSQLiteDatabase& database, const std::string& suffix, PDXSQLiteStatement& rows)
      : rows_(rows),
        attachments_(database.prepare("SELECT filename, mime_type FROM madrid_attachment" + suffix +
                                      " WHERE attachment_guid=?")) {
    rowId_ = index("ROWID");
    text_ = index("text");
    date_ = index("date");
    delivered_ = index("madrid_date_delivered");
    attachmentInfo_ = index("madrid_attachmentInfo");
    handle_ = index("madrid_handle");
    room_ = index("madrid_roomname");
    subject_ = index("subject");
  }

  PDXMessageDetail message() {
    PDXMessageDetail message;
    message.isMadrid = true;
    message.rowId = static_cast<std::int32_t>(rows_.int64(rowId_));
    message.message = rows_.text(text_);
    message.messagePieces.emplace_back("text", 0, message.message);
    message.time = PDXDates::fromReferenceSeconds(rows_.int64(date_));
    message.direction = rows_.int64(delivered_) == 0 ? 0 : 1;
    addAttachments(message);
    return message;
  }

  std::string handle() const { return rows_.text(handle_); }
  std::string room() const { return rows_.text(room_); }
  std::string subject() const { return rows_.text(subject_); }

 private:
  int index(const char* name) const { return PDXSQLiteHelper::indexOfColumnNamedWithinStatment(name, rows_); }

  void addAttachments(PDXMessageDetail& message) {
    for (const std::string& guid : attachmentGuids(rows_.blob(attachmentInfo_))) {
      attachments_.reset();
      attachments_.bind(1, std::string_view(guid));
      while (attachments_.step()) {
        message.messagePieces.emplace_back(attachments_.text(1), 0,
                                           PDXText::replacedAll(attachments_.text(0), "/var/mobile/", ""));
        message.messagePieces.back().isFile = true;
      }
      PDXMessageRows::reportUnlessComplete(attachments_, "attachments");
    }
  }

  PDXSQLiteStatement& rows_;
  PDXSQLiteStatement attachments_;
  int rowId_, text_, date_, delivered_, attachmentInfo_, handle_, room_, subject_;
};

void loadAsGiven(const PDXSQLiteDatabase& database, const std::string& suffix, const std::string& handle,
                 const PDXMessagesQuery& query, std::vector<PDXMessageDetail>& messages) {
  auto rows =
      database.prepare("SELECT * FROM message" + suffix +
                       " WHERE madrid_handle LIKE (@paramAddress OR madrid_roomname = @paramFullAddress)" +
                       limits(query, ";"));
  bindHandle(rows, handle);
  Rows reader(database, suffix, rows);
  while (rows.step()) messages.push_back(reader.message());
}

/// Whether a row found by its last four digits does belong to the chat: the room's own, or outside of any
/// room and of the same number. Otherwise one person's words would stand under another's name.
bool belongsTo(const std::string& handle, const Rows& row) {
  if (const std::string room = row.room(); !room.empty()) return room == handle;
  return row.handle() == handle ||
         PDXContactsDatabase::numberStringIsEqualToNumberString(row.handle(), handle);
}

void loadEverything(const PDXSQLiteDatabase& database, const std::string& suffix, const std::string& handle,
                    const PDXMessagesQuery& query, std::vector<PDXMessageDetail>& messages) {
  auto rows =
      database.prepare("SELECT * FROM message" + suffix +
                       " WHERE (madrid_handle LIKE @paramAddress OR madrid_roomname = @paramFullAddress)" +
                       limits(query, ";"));
  bindHandle(rows, handle);
  Rows reader(database, suffix, rows);
  while (rows.step()) {
    if (!belongsTo(handle, reader)) continue;
    PDXMessageDetail& message = messages.emplace_back(reader.message());
    message.messageAddress = reader.handle();
    message.subject = reader.subject();
  }
  PDXMessageRows::reportUnlessComplete(rows, handle);
}

}  // namespace

namespace PDXMadridMessagesLayout {

void listConversations(const PDXSQLiteDatabase& database, PDXConversationWorkingList& list) {
  const auto suffix = tableSuffix(database);
  if (!suffix) return;
  auto rows = database.prepare(
      "select mc.ROWID as chatId, mc.chat_identifier, length(mc.participants) as participantLength, "
      "mc.participants "
      "from madrid_chat" +
      *suffix + " mc");
  while (rows.step()) {
    PDXMessagesConversation* conversation = list.newConversationWithHandle(rows.text(1));
    if (conversation == nullptr || rows.int64(2) <= 0) continue;
    const auto participants = PDXPropertyList::parse(rows.blob(3));
    const auto* addresses = participants ? participants->array() : nullptr;
    if (addresses == nullptr) continue;
    for (const PDXPropertyList& address : *addresses) {
      if (address.string() != nullptr) list.addParticipant(*conversation, *address.string());
    }
  }
  PDXMessageRows::reportUnlessComplete(rows, "the list of the first iMessage chats");
}

void loadMessages(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                  const PDXMessagesQuery& query, std::vector<PDXMessageDetail>& messages) {
  const auto suffix = tableSuffix(database);
  if (!suffix) return;
  for (const std::string& handle : conversation.madridHandleArray) {
    if (query.reachesEverything) {
      loadEverything(database, *suffix, handle, query, messages);
    } else {
      loadAsGiven(database, *suffix, handle, query, messages);
    }
  }
}

bool hasMessage(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                const PDXMessagesQuery& query) {
  const auto suffix = tableSuffix(database);
  if (!suffix) return false;
  return std::any_of(
      conversation.madridHandleArray.begin(), conversation.madridHandleArray.end(),
      [&](const std::string& handle) {
        auto rows = database.prepare(
            "SELECT text, date FROM message" + *suffix +
            " WHERE (madrid_handle LIKE @paramAddress OR madrid_roomname = @paramFullAddress)" +
            limits(query, " LIMIT 1;"));
        bindHandle(rows, handle);
        return rows.step();
      });
}

}  // namespace PDXMadridMessagesLayout
