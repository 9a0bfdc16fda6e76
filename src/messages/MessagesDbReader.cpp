#include "messages/MessagesDbReader.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "backup/SQLiteHelper.h"
#include "messages/ConversationWorkingList.h"
#include "messages/GroupMessagesLayout.h"
#include "messages/MadridMessagesLayout.h"
#include "platform/Files.h"
#include "platform/Log.h"

namespace {

bool isEarlier(const PDXMessageDetail& a, const PDXMessageDetail& b) {
  return a.time != b.time ? a.time < b.time : a.rowId < b.rowId;
}

}  // namespace

PDXMessagesDbReader::PDXMessagesDbReader(std::string messagesDbPath, std::string contactsDbPath,
                                         std::string mobileSMSPlistPath, PDXSQLiteAccess access)
    : messagesDbPath_(std::move(messagesDbPath)),
      contactsDbPath_(std::move(contactsDbPath)),
      mobileSMSPlistPath_(std::move(mobileSMSPlistPath)),
      access_(access) {}

bool PDXMessagesDbReader::loadMessages() {
  database_ = {};
  store_.reset();
  return PDXFiles::exists(messagesDbPath_);
}

PDXConversationList PDXMessagesDbReader::getConversationList() {
  const PDXSQLiteDatabase database = open_();
  reportUnlessStore_(database);
  PDXConversationWorkingList list(this, contactsDbPath_, mobileSMSPlistPath_);
  PDXCurrentMessagesLayout::listConversations(database, list);
  PDXGroupMessagesLayout::listConversations(database, list);
  PDXMadridMessagesLayout::listConversations(database, list);
  return list.mergedAndSorted();
}

std::vector<PDXMessageDetail> PDXMessagesDbReader::getMessagesFromConversationWithStartDateAndEndDate(
    const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
    const std::optional<PDXDate>& endDate) {
  return getMessagesFromConversationWithStartDateEndDateSearchTerm(conversation, startDate, endDate,
                                                                   std::nullopt);
}

std::vector<PDXMessageDetail> PDXMessagesDbReader::getMessagesFromConversationWithStartDateEndDateSearchTerm(
    const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
    const std::optional<PDXDate>& endDate, const std::optional<std::string>& searchTerm) {
  return load_(conversation, {.startDate = startDate, .endDate = endDate, .searchTerm = searchTerm});
}

std::vector<PDXMessageDetail> PDXMessagesDbReader::everyMessageOfConversation(
    const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
    const std::optional<PDXDate>& endDate) {
  return load_(
      conversation,
      {.startDate = startDate, .endDate = endDate, .searchTerm = std::nullopt, .reachesEverything = true});
}

bool PDXMessagesDbReader::conversationIsInDateRangeEndDateOrMatchesSearchTerm(
    const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
    const std::optional<PDXDate>& endDate, const std::optional<std::string>& searchTerm) {
  const PDXMessagesQuery query{.startDate = startDate, .endDate = endDate, .searchTerm = searchTerm};
  if (!query.hasDates() && !query.hasTerm()) return true;
  const PDXSQLiteDatabase database = open_();
  return PDXCurrentMessagesLayout::hasMessage(database, conversation, query) ||
         PDXGroupMessagesLayout::hasMessage(database, conversation, query) ||
         PDXMadridMessagesLayout::hasMessage(database, conversation, query);
}

std::size_t PDXMessagesDbReader::storedMessageCount(const PDXMessagesConversation& conversation) {
  if (conversation.conversationIdArray.size() == 1)
    return static_cast<std::size_t>(conversation.messageCount);
  return PDXCurrentMessagesLayout::messageCount(open_(), conversation);
}

std::optional<PDXMessageRowCounts> PDXMessagesDbReader::rowCounts(
    const std::vector<const PDXMessagesConversation*>& leftOut, PDXMessageRowCounts::Bodies bodies) {
  return PDXMessageRowCounts::of(open_(), leftOut, bodies);
}

std::unique_ptr<PDXMessagesReader> PDXMessagesDbReader::forAnotherThread() const {
  return std::make_unique<PDXMessagesDbReader>(messagesDbPath_, contactsDbPath_, mobileSMSPlistPath_,
                                               access_);
}

std::optional<PDXDate> PDXMessagesDbReader::dateFromSeconds_(std::int64_t value) {
  return PDXCurrentMessagesLayout::dateFromSeconds(value);
}

PDXMessagesDbReader::Messages PDXMessagesDbReader::load_(const PDXMessagesConversation& conversation,
                                                         const PDXMessagesQuery& query) {
  const std::lock_guard guard(lock_);
  const PDXSQLiteDatabase& database = connection_();
  Messages messages;
  getConversation_(database, conversation, query, messages);
  getLegacyConversation_(database, conversation, query, messages);
  getMadridConversations_(database, conversation, query, messages);
  // Rows mostly come in the order of their times already, and messages are costly to move.
  if (!std::is_sorted(messages.begin(), messages.end(), isEarlier)) {
    std::stable_sort(messages.begin(), messages.end(), isEarlier);
  }
  return messages;
}

/// Marks the reader as working while it lives. One pause for a reader that is at work already, not a wait:
/// loads are kept apart by the lock.
class PDXMessagesDbReader::Working {
 public:
  explicit Working(std::atomic<bool>& flag) : flag_(flag) {
    if (flag_) std::this_thread::sleep_for(std::chrono::milliseconds(100));
    flag_ = true;
  }
  ~Working() { flag_ = false; }
  Working(const Working&) = delete;
  Working& operator=(const Working&) = delete;

 private:
  std::atomic<bool>& flag_;
};

void PDXMessagesDbReader::getConversation_(const PDXSQLiteDatabase& database,
                                           const PDXMessagesConversation& conversation,
                                           const PDXMessagesQuery& query, Messages& messages) {
  const Working working(workingMutex_);
  if (!store_) store_.emplace(database);
  PDXCurrentMessagesLayout::loadMessages(database, *store_, conversation, query, messages);
}

void PDXMessagesDbReader::getLegacyConversation_(const PDXSQLiteDatabase& database,
                                                 const PDXMessagesConversation& conversation,
                                                 const PDXMessagesQuery& query, Messages& messages) {
  const Working working(workingMutex_);
  PDXGroupMessagesLayout::loadMessages(database, conversation, query, messages);
}

void PDXMessagesDbReader::getMadridConversations_(const PDXSQLiteDatabase& database,
                                                  const PDXMessagesConversation& conversation,
                                                  const PDXMessagesQuery& query, Messages& messages) {
  const Working working(workingMutex_);
  PDXMadridMessagesLayout::loadMessages(database, conversation, query, messages);
}

PDXSQLiteDatabase PDXMessagesDbReader::open_() const { return PDXSQLiteDatabase(messagesDbPath_, access_); }

/// Kept open: with every opening SQLite reads the schema, which takes longer than many a conversation.
const PDXSQLiteDatabase& PDXMessagesDbReader::connection_() {
  if (!database_.isOpen()) database_ = open_();
  return database_;
}

void PDXMessagesDbReader::reportUnlessStore_(const PDXSQLiteDatabase& database) const {
  std::string why = database.whyUnreadable();
  const auto hasTable = [&](const char* name) {
    return PDXSQLiteHelper::doesDatabaseContainTable(database, name);
  };
  const bool isKnown = hasTable("chat") || hasTable("group_member") || hasTable("group_member_legacy") ||
                       hasTable("madrid_chat") || hasTable("madrid_chat_legacy");
  if (why.empty() && !isKnown) why = "it has none of the tables of a messages store";
  constexpr const char* kWhere = "Library/SMS/sms.db";
  if (!why.empty()) PDXLog::report({.what = "messages", .where = kWhere, .why = why});
  // A store with chats has these; what is in one that is gone is lost.
  if (hasTable("chat"))
    PDXSQLiteHelper::reportMissingTables(
        database, {"message", "chat_message_join", "attachment", "message_attachment_join"}, "messages",
        kWhere);
}
