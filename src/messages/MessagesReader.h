#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "messages/MessageDetail.h"
#include "messages/MessageRowCounts.h"
#include "messages/MessagesConversation.h"

using PDXConversationList = std::vector<std::unique_ptr<PDXMessagesConversation>>;

/// What every store of conversations answers: the device's own and those of chat applications.
class PDXMessagesReader {
 public:
  virtual ~PDXMessagesReader() = default;

  /// Whether the store is there to be read.
  virtual bool loadMessages() = 0;

  virtual PDXConversationList getConversationList() = 0;

  /// The conversation's messages from `startDate` on and before `endDate` that hold the term, by time and
  /// then by row; everything without them.
  virtual std::vector<PDXMessageDetail> getMessagesFromConversationWithStartDateEndDateSearchTerm(
      const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
      const std::optional<PDXDate>& endDate, const std::optional<std::string>& searchTerm) = 0;

  /// Whether the conversation has a message in the range, or one that holds the term, or both when both are
  /// given.
  virtual bool conversationIsInDateRangeEndDateOrMatchesSearchTerm(
      const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
      const std::optional<PDXDate>& endDate, const std::optional<std::string>& searchTerm) = 0;

  /// Everything that the store holds of the conversation in the range, for export: also what the loading
  /// above cannot reach, in older layouts and in the attributed bodies of newer ones.
  virtual std::vector<PDXMessageDetail> everyMessageOfConversation(
      const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
      const std::optional<PDXDate>& endDate) {
    return getMessagesFromConversationWithStartDateEndDateSearchTerm(conversation, startDate, endDate,
                                                                     std::nullopt);
  }

  /// How many messages the store holds in all chats of the conversation, whether they can be shown or not.
  virtual std::size_t storedMessageCount(const PDXMessagesConversation& conversation) {
    return static_cast<std::size_t>(conversation.messageCount);
  }

  /// What the store's tables hold, counted apart from the loading above. Nothing when they are damaged, or
  /// the store has no such count.
  /// @param leftOut  conversations of this reader that are not wanted.
  virtual std::optional<PDXMessageRowCounts> rowCounts(
      const std::vector<const PDXMessagesConversation*>& /*leftOut*/,
      PDXMessageRowCounts::Bodies /*bodies*/) {
    return std::nullopt;
  }

  /// A reader of the same store for another thread.
  virtual std::unique_ptr<PDXMessagesReader> forAnotherThread() const = 0;
};
