#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "messages/MessageThread.h"
#include "messages/MessagesReader.h"

class PDXDeviceData;

/// The one place to ask for the conversations of an opened backup.
///
/// Errors: none leave it; a store that is missing or unreadable gives false or an empty answer.
class PDXMessageReader {
 public:
  PDXMessageReader();
  ~PDXMessageReader();

  /// Lists the conversations of every store. False without a readable messages store: then those of chat
  /// applications are not loaded either.
  bool loadConversationsFromDeviceData(PDXDeviceData* deviceData);

  /// The device's own conversations; loads the contacts first, so that participants get their names.
  bool loadStandardConversations(PDXDeviceData& deviceData);

  /// False as long as the chat application's store is not there or has no reader.
  bool loadWhatsAppConversations(PDXDeviceData& deviceData);

  /// By title: names before numbers (titles that begin with a digit or hold a "+"), case ignored and runs of
  /// digits by value.
  void sortConversations();

  /// In list order; valid until the next load.
  std::vector<PDXMessagesConversation*> allConversations() const;
  std::vector<PDXMessagesConversation*> standardConversations() const;
  std::vector<PDXMessagesConversation*> whatsAppConversations() const;
  std::vector<PDXMessagesConversation*> conversationsOfType(EConversationType type) const;

  /// Nothing for a conversation that is not in the list.
  std::optional<PDXMessageThread> messageThreadForConversationFilterOptions(
      const PDXMessagesConversation& conversation, const PDXDateFilterOptions& filterOptions);
  std::optional<PDXMessageThread> messageThreadForConversationWithStartDateEndDateSearchTerm(
      const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
      const std::optional<PDXDate>& endDate, const std::optional<std::string>& searchTerm);

  /// Whether the title holds the term, or else the conversation's reader finds such a message.
  bool conversationIsInDateRangeEndDateOrMatchesSearchTerm(const PDXMessagesConversation& conversation,
                                                           const std::optional<PDXDate>& startDate,
                                                           const std::optional<PDXDate>& endDate,
                                                           const std::optional<std::string>& searchTerm);

  /// What an export takes of a conversation: every message from `startDate` on and before `endDate`; with a
  /// term only those whose text, subject or text pieces hold it, without regard to case, unless the title
  /// does. The term is a text, not a pattern.
  /// @param reader  the reader to load with: the conversation's own, or one made for this thread.
  static std::vector<PDXMessageDetail> messagesForExport(PDXMessagesReader& reader,
                                                         const PDXMessagesConversation& conversation,
                                                         const std::optional<PDXDate>& startDate,
                                                         const std::optional<PDXDate>& endDate,
                                                         const std::string& searchTerm);

  /// What the store of that type holds, see PDXMessagesReader::rowCounts. Nothing before it was loaded.
  std::optional<PDXMessageRowCounts> rowCounts(EConversationType type,
                                               const std::vector<const PDXMessagesConversation*>& leftOut,
                                               PDXMessageRowCounts::Bodies bodies) const;

 private:
  PDXMessagesReader* readerOf_(EConversationType type) const;
  bool holds_(const PDXMessagesConversation& conversation) const;
  void append_(PDXConversationList conversations);

  PDXConversationList conversations_;
  std::unique_ptr<PDXMessagesReader> standardReader_;
  std::unique_ptr<PDXMessagesReader> whatsAppReader_;
};
