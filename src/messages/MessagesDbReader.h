#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "messages/CurrentMessagesLayout.h"
#include "messages/MessagesQuery.h"
#include "messages/MessagesReader.h"
#include "platform/Sqlite.h"

/// Reads the device's messages store, in the three table layouts that its systems have used: every layout
/// that a store holds, joined.
///
/// Source: "Library/SMS/sms.db" of the home domain, or a local copy.
/// Errors: none leave it. A store that does not open, a missing table or a damaged page gives what could be
/// read, and the log says what was not.
/// Threads: loads of one reader wait for each other; `forAnotherThread` makes a reader that does not.
class PDXMessagesDbReader final : public PDXMessagesReader {
 public:
  /// Local paths; need not exist.
  /// @param contactsDbPath, mobileSMSPlistPath  handed to every participant, for its name.
  /// @param access  how the store must be opened.
  PDXMessagesDbReader(std::string messagesDbPath, std::string contactsDbPath, std::string mobileSMSPlistPath,
                      PDXSQLiteAccess access = PDXSQLiteAccess::scratch);

  /// Whether there is a file at the store's path.
  bool loadMessages() override;

  /// The store's conversations, those of equal titles merged, sorted by title.
  PDXConversationList getConversationList() override;

  std::vector<PDXMessageDetail> getMessagesFromConversationWithStartDateAndEndDate(
      const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
      const std::optional<PDXDate>& endDate);

  /// A term with a single quote matches nothing in the current layout: it goes into the statements as it
  /// stands.
  std::vector<PDXMessageDetail> getMessagesFromConversationWithStartDateEndDateSearchTerm(
      const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
      const std::optional<PDXDate>& endDate, const std::optional<std::string>& searchTerm) override;

  bool conversationIsInDateRangeEndDateOrMatchesSearchTerm(
      const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
      const std::optional<PDXDate>& endDate, const std::optional<std::string>& searchTerm) override;

  std::vector<PDXMessageDetail> everyMessageOfConversation(const PDXMessagesConversation& conversation,
                                                           const std::optional<PDXDate>& startDate,
                                                           const std::optional<PDXDate>& endDate) override;

  /// Of the current layout's chats; the older layouts are not counted.
  std::size_t storedMessageCount(const PDXMessagesConversation& conversation) override;

  std::optional<PDXMessageRowCounts> rowCounts(const std::vector<const PDXMessagesConversation*>& leftOut,
                                               PDXMessageRowCounts::Bodies bodies) override;

  std::unique_ptr<PDXMessagesReader> forAnotherThread() const override;

  /// A date of the current layout as a moment; nothing for 0 and below.
  static std::optional<PDXDate> dateFromSeconds_(std::int64_t value);

 private:
  using Messages = std::vector<PDXMessageDetail>;

  Messages load_(const PDXMessagesConversation& conversation, const PDXMessagesQuery& query);
  void getConversation_(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                        const PDXMessagesQuery& query, Messages& messages);
  void getLegacyConversation_(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                              const PDXMessagesQuery& query, Messages& messages);
  void getMadridConversations_(const PDXSQLiteDatabase& database, const PDXMessagesConversation& conversation,
                               const PDXMessagesQuery& query, Messages& messages);
  PDXSQLiteDatabase open_() const;
  const PDXSQLiteDatabase& connection_();
  void reportUnlessStore_(const PDXSQLiteDatabase& database) const;

  class Working;

  std::string messagesDbPath_;
  std::string contactsDbPath_;
  std::string mobileSMSPlistPath_;
  PDXSQLiteAccess access_;
  std::mutex lock_;
  std::atomic<bool> workingMutex_ = false;
  PDXSQLiteDatabase database_;                            ///< Of the loads, which wait for each other.
  std::optional<PDXCurrentMessagesLayout::Store> store_;  ///< Likewise.
};
