#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "messages/MessagesReader.h"
#include "messages/ParticipantNames.h"

/// The conversations found so far while a store is listed, in the order in which they were first met.
class PDXConversationWorkingList {
 public:
  /// @param reader  the reader that lists; every conversation refers to it.
  PDXConversationWorkingList(PDXMessagesReader* reader, std::string contactsDbPath,
                             std::string mobileSMSPlistPath);

  /// The conversation that was first given this id, new when there is none.
  PDXMessagesConversation& conversationWithId(std::int32_t conversationId);

  bool hasConversationWithId(std::int32_t conversationId) const { return byId_.contains(conversationId); }

  /// A new conversation with that handle of the first iMessage layout; null when there is one already.
  PDXMessagesConversation* newConversationWithHandle(const std::string& madridHandle);

  /// Appends a participant of that address, whose name is looked up.
  void addParticipant(PDXMessagesConversation& conversation, const std::string& address);

  /// The conversations, those of equal titles merged into the first of them, sorted by title: raw
  /// international numbers behind everything else. Leaves the list empty.
  PDXConversationList mergedAndSorted();

 private:
  PDXMessagesConversation& add_();

  PDXMessagesReader* reader_;
  std::string contactsDbPath_;
  std::string mobileSMSPlistPath_;
  PDXParticipantNames names_;
  PDXConversationList conversations_;
  std::unordered_map<std::int32_t, PDXMessagesConversation*> byId_;
  std::unordered_map<std::string, PDXMessagesConversation*> byHandle_;
};
