#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "messages/MessageParticipant.h"

class PDXMessagesReader;

/// Where a conversation came from.
enum EConversationType : unsigned {
  EConversationTypeStandard = 0,  ///< The device's messages store: SMS, MMS and iMessage.
  EConversationTypeWhatsApp = 1,  ///< The WhatsApp chat store.
};

/// One chat as its owner sees it, possibly made of several chats of the store.
class PDXMessagesConversation {
 public:
  /// The first chat or group id given to it; 0 before. Source: chat.ROWID, msg_group.ROWID.
  std::int32_t conversationId() const { return conversationId_; }

  /// Also appends the id to `conversationIdArray`.
  void setConversationId(std::int32_t conversationId);

  /// The chat identifier in the first iMessage layout; "" elsewhere. Source: madrid_chat.chat_identifier.
  const std::string& madridHandle() const { return madridHandle_; }

  /// Also appends the handle to `madridHandleArray` unless it is empty.
  void setMadridHandle(const std::string& handle);

  /// The short form of the conversation's address, for matching numbers written with and without a prefix.
  const std::string& address() const { return searchHandle_; }
  const std::string& searchHandle() const { return searchHandle_; }

  /// Keeps the last five characters of the address, or all of a shorter one.
  void setAddress(std::string_view address) { searchHandle_ = getSearchHandleFromAddress(address); }

  /// The group's name; or the participants' names in order, ", " between them, where an address stands in
  /// only for a leading participant without a name and later ones leave an empty slot; or "No Participants".
  /// Conversations are merged by equal titles.
  std::string title() const;

  /// Every chat id of the conversation in single quotes, with commas between: "'12','40'"; "" when it has
  /// none.
  std::string conversationIdArrayString() const;

  /// Takes over the other's chat id or handle and the later `lastUpdated`, and marks the other as merged.
  /// Participants stay as they are. Always true.
  bool mergeWithConversation(PDXMessagesConversation& other);

  /// Whether any participant is a known contact.
  bool isFromKnownContacts() const;

  /// The first participant whose address equals this one as a phone number; null when none does.
  const PDXMessageParticipant* participantForAddress(std::string_view address) const;

  static std::string getSearchHandleFromAddress(std::string_view address);

  /// The conversation was folded into another.
  bool isMerged = false;

  std::int32_t groupId = 0;

  /// How many messages the store holds for the chat (of a merged conversation, for its first).
  /// Source: rows of chat_message_join.
  std::int32_t messageCount = 0;

  std::vector<PDXMessageParticipant> participants;

  /// Every chat id that belongs to the conversation.
  std::vector<std::int32_t> conversationIdArray;

  /// Every handle of the first iMessage layout that belongs to it.
  std::vector<std::string> madridHandleArray;

  /// The reader that listed the conversation, which outlives it.
  PDXMessagesReader* conversationDBReader = nullptr;

  EConversationType conversationType = EConversationTypeStandard;

  /// The name of a named group; "" when it has none.
  std::string conversationGroupName;

  /// The store's own number for the newest message's time (seconds or nanoseconds since 2001); only to
  /// compare. Source: message.date.
  std::uint64_t lastUpdated = 0;

  /// Where in the backup the group's picture lies; "" when there is none.
  std::string groupImagePath;
  std::string groupImageDomain;

 private:
  std::int32_t conversationId_ = 0;
  std::string madridHandle_;
  std::string searchHandle_;
};
