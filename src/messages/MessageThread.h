#pragma once

#include <cstdint>
#include <vector>

#include "messages/DateFilterOptions.h"
#include "messages/MessageDetail.h"
#include "messages/MessagesConversation.h"

/// The messages of one conversation as loaded for display or export.
class PDXMessageThread {
 public:
  /// @param conversation  must outlive the thread.
  PDXMessageThread(const PDXMessagesConversation& conversation, PDXDateFilterOptions filter,
                   std::int32_t iOSVersion = 0)
      : filterOptions(filter), conversation_(&conversation), iOSVersion_(iOSVersion) {}

  const PDXMessagesConversation& conversation() const { return *conversation_; }

  /// The device's major system version; 0 when unknown.
  std::int32_t iOSVersion() const { return iOSVersion_; }

  bool hasReceivedMessages() const;

  /// Whether any piece is no text.
  bool hasAttachments() const;

  bool hasImages() const;

  /// Whether any piece's path ends in ".heic", in any case.
  bool hasHeicAttachments() const;

  std::vector<PDXMessageDetail> messages;
  PDXDateFilterOptions filterOptions;

 private:
  const PDXMessagesConversation* conversation_;
  std::int32_t iOSVersion_;
};
