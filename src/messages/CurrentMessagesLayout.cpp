#include "messages/CurrentMessagesLayout.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>

#include "backup/SQLiteHelper.h"
#include "messages/AttributedBody.h"
#include "messages/MessageRows.h"
#include "platform/Log.h"
#include "platform/Text.h"

namespace {

constexpr std::string_view kAttachmentPlaceholder = "\xEF\xBF\xBC";  // U+FFFC
constexpr std::string_view kCloudNotesPrefix = POCKETDEX_CLOUD_NOTES_PREFIX;
constexpr std::int64_t kNoEndSeconds = 2147483647;
constexpr std::int64_t kNoEndNanoseconds = std::numeric_limits<std::int64_t>::max();

std::int64_t nanoseconds(std::int64_t seconds) {
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max() / 1'000'000'000;
  return std::clamp(seconds, -kLargest, kLargest) * 1'000'000'000;
}

/// One test for both units: a date lies in the range counted in seconds, or in nanoseconds. Without a start
/// every number of seconds also is one of nanoseconds, so that an end alone would leave nothing out of an
/// older store; where that matters, nanoseconds begin where seconds end.
std::string rangeCondition(const PDXMessagesQuery& query) {
  const std::int64_t start = query.startSeconds();
  const std::int64_t leastNanoseconds = query.reachesEverything ? kNoEndSeconds + 1 : 0;
  const std::int64_t end = query.endSeconds(kNoEndSeconds);
  const std::int64_t endNanoseconds = query.endDate ? nanoseconds(end) : kNoEndNanoseconds;
  const auto between = [](std::int64_t from, std::int64_t to) {
    return "(m.date >= " + std::to_string(from) + " AND m.date < " + std::to_string(to) + ")";
  };
  return "(" + between(start, end) + " OR " +
         between(std::max(nanoseconds(start), leastNanoseconds), endNanoseconds) + ")";
}

/// The WHERE condition for the conversation's chats, the query's range and its term.
std::string condition(const PDXMessagesConversation& conversation, const PDXMessagesQuery& query) {
  std::string text = "cmj.chat_id IN (" + conversation.conversationIdArrayString() + ")";
  if (query.hasDates()) text += " AND " + rangeCondition(query);
  if (query.hasTerm()) {
    text +=
        " AND (m.text LIKE '%" + *query.searchTerm + "%' OR m.subject LIKE '%" + *query.searchTerm + "%')";
  }
  return text;
}

bool hasStatusColumns(const PDXSQLiteDatabase& database) {
  return PDXSQLiteHelper::doesDatabaseContainTableWithColumnNames(database, "message",
                                                                  {"is_sent", "is_delivered", "is_read"});
}

/// Where the statement's columns are; -1 for one that the store does not have.
struct Columns {
  explicit Columns(const PDXSQLiteStatement& rows)
      : rowId(index("ROWID", rows)),
        text(index("text", rows)),
        attributedBody(index("attributedBody", rows)),
        subject(index("subject", rows)),
        date(index("date", rows)),
        dateRead(index("date_read", rows)),
        dateDelivered(index("date_delivered", rows)),
        handle(index("handle_id", rows)),
        service(index("service", rows)),
        isFromMe(index("is_from_me", rows)),
        isSent(index("is_sent", rows)),
        isDelivered(index("is_delivered", rows)),
        isRead(index("is_read", rows)) {}

  static int index(const char* name, const PDXSQLiteStatement& rows) {
    return PDXSQLiteHelper::indexOfColumnNamedWithinStatment(name, rows);
  }

  int rowId, text, attributedBody, subject, date, dateRead, dateDelivered, handle, service, isFromMe, isSent,
      isDelivered, isRead;
};

/// Splits a shared note's link off the front of a text. "" when the text does not begin with one.
std::string takeNoteLink(std::string& text) {
  if (text.size() <= kCloudNotesPrefix.size() || !text.starts_with(kCloudNotesPrefix)) return "";
  const std::size_t blank = text.find(' ', kCloudNotesPrefix.size() + 1);
  std::string link = text.substr(0, blank);
  text = blank == std::string::npos ? "" : text.substr(blank + 1);
  return link;
}

/// The attributed bodies of a conversation that could not be read.
struct DamagedBodies {
  std::size_t count = 0;
  std::int64_t firstRowId = 0;

  void add(std::int64_t rowId) {
    if (count++ == 0) firstRowId = rowId;
  }

  /// Once for all of them, so that a damaged store does not fill the report.
  void reportUnlessNone(const std::string& conversation) const {
    if (count == 0) return;
    const std::string first = "message " + std::to_string(firstRowId);
    const std::string why = count == 1 ? "the attributed body of " + first + " is damaged"
                                       : "the attributed bodies of " + std::to_string(count) +
                                             " messages are damaged, the first of " + first;
    PDXLog::report({.what = "message text", .where = conversation, .why = why});
  }
};

/// A message's text with a character for each attachment. Nothing for one without text.
std::optional<std::string> storedText(const PDXSQLiteStatement& rows, const Columns& columns,
                                      DamagedBodies& damaged) {
  if (!rows.isNull(columns.attributedBody)) {
    auto text = PDXAttributedBody::text(rows.blobInPlace(columns.attributedBody));
    if (!text) damaged.add(rows.int64(columns.rowId));
    if (text && !text->empty()) return text;
  }
  return rows.isNull(columns.text) ? std::nullopt : std::optional(rows.text(columns.text));
}

void readText(const PDXSQLiteStatement& rows, const Columns& columns, DamagedBodies& damaged,
              PDXMessageDetail& message) {
  auto text = storedText(rows, columns, damaged);
  if (!text) return;
  message.message = PDXText::replacedAll(*std::move(text), kAttachmentPlaceholder, "");
  if (std::string link = takeNoteLink(message.message); !link.empty()) {
    message.messagePieces.emplace_back("ic_note", 1, std::move(link));
  }
  message.messagePieces.emplace_back("text", 0, message.message);
}

/// Received messages are timed by when they reached the device, as far as the store knows it.
std::int64_t shownDate(const PDXSQLiteStatement& rows, const Columns& columns, bool isSent) {
  if (isSent) return rows.int64(columns.date);
  for (const int column : {columns.dateDelivered, columns.dateRead}) {
    if (const std::int64_t value = rows.int64(column); value != 0) return value;
  }
  return rows.int64(columns.date);
}

void readStatus(const PDXSQLiteStatement& rows, const Columns& columns, PDXMessageDetail& message) {
  if (message.direction != 1 || columns.isSent < 0) return;
  if (rows.int64(columns.isSent) != 1) {
    message.readStatus = 4;
  } else if (rows.int64(columns.isDelivered) != 1) {
    message.readStatus = 1;
  } else if (rows.int64(columns.isRead) == 1) {
    message.readStatus = 3;
    message.dateRead = PDXCurrentMessagesLayout::dateFromSeconds(rows.int64(columns.dateRead));
  } else {
    message.readStatus = 2;
  }
}

/// The addresses of handles. Asked for as they come up, since a conversation has few and a join would look
/// for one with each of its messages.
class Handles {
 public:
  explicit Handles(const PDXSQLiteDatabase& database)
      : rows_(database.prepare("SELECT id FROM handle WHERE ROWID=?")) {}

  /// "" for a handle that is not in the store.
  const std::string& addressOf(std::int64_t handle) {
    const auto [known, isNew] = addresses_.try_emplace(handle);
    if (!isNew) return known->second;
    rows_.reset();
    rows_.bind(1, handle);
    if (rows_.step()) known->second = rows_.text(0);
    PDXMessageRows::reportUnlessComplete(rows_, "handle " + std::to_string(handle));
    return known->second;
  }

 private:
  PDXSQLiteStatement rows_;
  std::unordered_map<std::int64_t, std::string> addresses_;
};

/// Fills an empty message.
void readRow(const PDXSQLiteStatement& rows, const Columns& columns, Handles& handles, DamagedBodies& damaged,
             PDXMessageDetail& message) {
  readText(rows, columns, damaged, message);
  message.subject = rows.text(columns.subject);
  message.rowId = static_cast<std::int32_t>(rows.int64(columns.rowId));
  message.direction = rows.int64(columns.isFromMe) == 1 ? 1 : 0;
  message.time = PDXCurrentMessagesLayout::dateFromSeconds(shownDate(rows, columns, message.direction == 1));
  if (rows.textInPlace(columns.service) == "iMessage") message.isMadrid = true;
  if (!rows.isNull(columns.handle)) message.messageAddress = handles.addressOf(rows.int64(columns.handle));
  readStatus(rows, columns, message);
}

/// Adds the attachments of single messages, with one statement for all.
class Attachments {
 public:
  Attachments(const PDXSQLiteDatabase& database, const std::vector<std::int64_t>& owners)
      : owners_(owners),
        rows_(database.prepare(
            "SELECT a.filename, a.mime_type FROM message m INNER JOIN message_attachment_join maj ON "
            "maj.message_id=m.ROWID INNER JOIN attachment a ON a.ROWID=maj.attachment_id WHERE m.ROWID=?")) {}

  void addTo(PDXMessageDetail& message, std::int64_t rowId) {
    if (!std::binary_search(owners_.begin(), owners_.end(), rowId)) return;
    rows_.reset();
    rows_.bind(1, rowId);
    while (rows_.step()) {
      if (rows_.isNull(0)) {
        ++message.attachmentsNeverDownloaded;
        continue;
      }
      message.messagePieces.emplace_back(rows_.text(1), 0, rows_.text(0)).isFile = true;
    }
    PDXMessageRows::reportUnlessComplete(rows_, "attachments");
  }

 private:
  const std::vector<std::int64_t>& owners_;
  PDXSQLiteStatement rows_;
};

/// What the store tells of single chats and handles, with one statement each for all.
class ChatCounts {
 public:
  explicit ChatCounts(const PDXSQLiteDatabase& database)
      : count_(database.prepare("select count (chat_id) from chat_message_join where chat_id=?;")),
        newest_(database.prepare("select date from message where handle_id=? order by date desc limit 1;")) {}

  /// The last answer is kept: a group is asked for once with each of its members.
  std::int32_t getMessageCountForChatId_(std::int64_t chatId) {
    if (chatId != lastChat_) lastCount_ = static_cast<std::int32_t>(firstNumber(count_, chatId));
    lastChat_ = chatId;
    return lastCount_;
  }

  /// Whether the last count could not be made, so that its 0 says nothing about the chat.
  bool isCountDamaged() {
    if (count_.failed()) damage_ = count_.error();
    return count_.failed();
  }

  /// Says in the log when a count could not be made.
  void reportDamage() const {
    if (!damage_.empty())
      PDXLog::report({.what = "messages", .where = "the count of messages", .why = damage_});
  }

  /// 0 for a handle without messages.
  std::uint64_t getLastUpdatedValueForHandle_(std::int64_t handleId) {
    return static_cast<std::uint64_t>(std::max<std::int64_t>(firstNumber(newest_, handleId), 0));
  }

 private:
  static std::int64_t firstNumber(PDXSQLiteStatement& statement, std::int64_t parameter) {
    statement.reset();
    statement.bind(1, parameter);
    return statement.step() ? statement.int64(0) : 0;
  }

  PDXSQLiteStatement count_;
  PDXSQLiteStatement newest_;
  std::optional<std::int64_t> lastChat_;
  std::int32_t lastCount_ = 0;
  std::string damage_;
};

bool fitsAnId(std::int64_t id) {
  using Limits = std::numeric_limits<std::int32_t>;
  return id >= Limits::min() && id <= Limits::max();
}

/// Adds what a row of chat id, address, service and handle id tells.
void listRow(const PDXSQLiteStatement& row, ChatCounts& counts, PDXConversationWorkingList& list) {
  if (!fitsAnId(row.int64(0))) {
    PDXLog::report({.what = "messages", .where = "chat " + row.text(0), .why = "its number is out of range"});
    return;
  }
  const std::int32_t messages = counts.getMessageCountForChatId_(row.int64(0));
  if (messages <= 0 && !counts.isCountDamaged()) return;
  PDXMessagesConversation& conversation = list.conversationWithId(static_cast<std::int32_t>(row.int64(0)));
  conversation.messageCount = messages;
  conversation.lastUpdated =
      std::max(conversation.lastUpdated, counts.getLastUpdatedValueForHandle_(row.int64(3)));
  if (!row.isNull(1)) list.addParticipant(conversation, row.text(1));
}

/// Lists chat by chat those that are not in the list yet, since one damaged row ends the whole list. A chat
/// whose handles are gone is named by its identifier.
void salvageConversations(const PDXSQLiteDatabase& database, ChatCounts& counts,
                          PDXConversationWorkingList& list) {
  auto ids = database.prepare("select distinct chat_id from chat_message_join");
  auto rows = database.prepare(
      "SELECT chj.chat_id, h.id, h.service, chj.handle_id FROM chat_handle_join chj INNER JOIN handle h ON "
      "chj.handle_id = h.ROWID WHERE chj.chat_id=?");
  auto names = database.prepare("SELECT ROWID, chat_identifier, NULL, 0 FROM chat WHERE ROWID=?");
  while (ids.step()) {
    const std::int64_t id = ids.int64(0);
    if (!fitsAnId(id) || list.hasConversationWithId(static_cast<std::int32_t>(id))) continue;
    for (PDXSQLiteStatement* source : {&rows, &names}) {
      source->reset();
      source->bind(1, id);
      bool isFound = false;
      for (; source->step(); isFound = true) listRow(*source, counts, list);
      if (isFound) break;
    }
    if (!list.hasConversationWithId(static_cast<std::int32_t>(id))) {
      PDXMessagesConversation& conversation = list.conversationWithId(static_cast<std::int32_t>(id));
      conversation.messageCount = counts.getMessageCountForChatId_(id);
    }
  }
}

/// The columns to read of message: those that the store has, in the order of the statement. A store that
/// lacks one loses what it tells, not its messages.
std::string messageColumns(const PDXSQLiteDatabase& database) {
  const auto ifThere = [&](const char* column, const char* text) {
    return PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(database, "message", column) ? text : "";
  };
  return std::string("m.ROWID, m.text") + ifThere("subject", ", m.subject") + ", m.date" +
         ifThere("date_read", ", m.date_read") + ifThere("date_delivered", ", m.date_delivered") +
         ", m.handle_id" + ifThere("service", ", m.service") + ", m.is_from_me" +
         (hasStatusColumns(database) ? ", m.is_sent, m.is_delivered, m.is_read" : "");
}

std::vector<std::int64_t> messagesWithAttachments(const PDXSQLiteDatabase& database) {
  std::vector<std::int64_t> ids;
  auto rows = database.prepare("SELECT DISTINCT message_id FROM message_attachment_join ORDER BY message_id");
  while (rows.step()) ids.push_back(rows.int64(0));
  if (PDXSQLiteHelper::doesDatabaseContainTable(database, "message_attachment_join")) {
    PDXMessageRows::reportUnlessComplete(rows, "attachments");
  }
  return ids;
}

std::string messagesStatement(const PDXCurrentMessagesLayout::Store& store, const PDXMessagesQuery& query,
                              const std::string& where) {
  // A body is fetched only where it stands in for the text: bodies make up most of a newer store.
  const char* body = store.hasBodies && query.reachesEverything
                         ? ", CASE WHEN (m.text IS NULL OR m.text = '') AND length(m.attributedBody) > 0 "
                           "THEN m.attributedBody END AS attributedBody"
                         : "";
  return "select " + store.columns + body +
         " from message  m inner join chat_message_join cmj on cmj.message_id = m.ROWID where " + where;
}

void appendMessages(PDXSQLiteStatement& rows, Handles& handles, Attachments& attachments,
                    DamagedBodies& damaged, std::vector<PDXMessageDetail>& messages) {
  const Columns columns(rows);
  while (rows.step()) {
    PDXMessageDetail& message = messages.emplace_back();
    readRow(rows, columns, handles, damaged, message);
    attachments.addTo(message, rows.int64(columns.rowId));
    if (message.message.empty() && !message.containsMessagePieces()) messages.pop_back();
  }
}

/// Reads the conversation's messages one by one, since the rows of a statement end at the first damaged page.
void salvageMessages(const PDXSQLiteDatabase& database, const std::string& sql,
                     const PDXMessagesConversation& conversation, Handles& handles, Attachments& attachments,
                     DamagedBodies& damaged, std::vector<PDXMessageDetail>& messages) {
  auto ids =
      database.prepare("select distinct cmj.message_id from chat_message_join cmj where cmj.chat_id IN (" +
                       conversation.conversationIdArrayString() + ") ");
  auto rows = database.prepare(sql + " and m.ROWID=?");
  while (ids.step() && !rows.wasInterrupted()) {
    rows.reset();
    rows.bind(1, ids.int64(0));
    appendMessages(rows, handles, attachments, damaged, messages);
  }
}

}  // namespace

namespace PDXCurrentMessagesLayout {

void listConversations(const PDXSQLiteDatabase& database, PDXConversationWorkingList& list) {
  if (!PDXSQLiteHelper::doesDatabaseContainTable(database, "chat")) return;
  auto rows = database.prepare(
      "SELECT c.ROWID AS chat_id, h.id, h.service, chj.handle_id FROM chat c INNER JOIN chat_handle_join chj "
      "ON "
      "chj.chat_id = c.ROWID INNER JOIN handle h ON chj.handle_id = h.ROWID;");
  ChatCounts counts(database);
  while (rows.step()) listRow(rows, counts, list);
  PDXMessageRows::reportUnlessComplete(rows, "the list of conversations");
  if (rows.failed() && !rows.wasInterrupted()) salvageConversations(database, counts, list);
  counts.reportDamage();
}

Store::Store(const PDXSQLiteDatabase& database)
    : isOfThisLayout(PDXSQLiteHelper::doesDatabaseContainTable(database, "chat")) {
  if (!isOfThisLayout) return;
  columns = messageColumns(database);
  hasBodies = PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(database, "message", "attributedBody");
  withAttachments = messagesWithAttachments(database);
}

void loadMessages(const PDXSQLiteDatabase& database, const Store& store,
                  const PDXMessagesConversation& conversation, const PDXMessagesQuery& query,
                  std::vector<PDXMessageDetail>& messages) {
  if (!store.isOfThisLayout) return;
  const std::size_t first = messages.size();
  const std::string sql = messagesStatement(store, query, condition(conversation, query));
  // The join table has an index in this order, which by the message's own column would not be used.
  auto rows = database.prepare(sql + " order by cmj.message_id asc");
  if (!query.hasDates() && !query.hasTerm() && conversation.messageCount > 0)
    messages.reserve(first + static_cast<std::size_t>(conversation.messageCount));
  Handles handles(database);
  Attachments attachments(database, store.withAttachments);
  DamagedBodies damaged;
  appendMessages(rows, handles, attachments, damaged, messages);
  PDXMessageRows::reportUnlessComplete(rows, conversation.title());
  if (rows.failed() && !rows.wasInterrupted() && query.reachesEverything) {
    std::vector<PDXMessageDetail> salvaged;
    DamagedBodies damagedOfSalvaged;
    salvageMessages(database, sql, conversation, handles, attachments, damagedOfSalvaged, salvaged);
    if (salvaged.size() > messages.size() - first) {
      messages.resize(first);
      std::move(salvaged.begin(), salvaged.end(), std::back_inserter(messages));
      damaged = damagedOfSalvaged;
    }
  }
  damaged.reportUnlessNone(conversation.title());
}

bool hasMessage(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                const PDXMessagesQuery& query) {
  auto rows = database.prepare(
      "select m.ROWID, m.text, m.subject, m.date from message m inner join chat_message_join cmj on "
      "cmj.message_id = "
      "m.ROWID left join handle h on h.ROWID = m.handle_id where " +
      condition(conversation, query) + " LIMIT 1;");
  return rows.step();
}

std::size_t messageCount(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation) {
  ChatCounts counts(database);
  std::size_t sum = 0;
  for (const std::int32_t id : conversation.conversationIdArray)
    sum += static_cast<std::size_t>(counts.getMessageCountForChatId_(id));
  return sum;
}

std::optional<PDXDate> dateFromSeconds(std::int64_t value) {
  if (value <= 0) return std::nullopt;
  if (value <= kNoEndSeconds) return PDXDates::fromReferenceSeconds(value);
  while (value >= 1'000'000'000) value /= 10;
  return PDXDates::fromReferenceSeconds(value);
}

}  // namespace PDXCurrentMessagesLayout
