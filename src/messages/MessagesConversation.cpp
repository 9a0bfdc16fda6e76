#include "messages/MessagesConversation.h"

#include <algorithm>

#include "contacts/ContactsDatabase.h"
#include "platform/Text.h"

void PDXMessagesConversation::setConversationId(std::int32_t conversationId) {
  conversationId_ = conversationId;
  conversationIdArray.push_back(conversationId);
}

void PDXMessagesConversation::setMadridHandle(const std::string& handle) {
  madridHandle_ = handle;
  if (!handle.empty()) madridHandleArray.push_back(handle);
}

std::string PDXMessagesConversation::title() const {
  if (!conversationGroupName.empty()) return conversationGroupName;
  if (participants.empty()) return "No Participants";
  std::string title;
  for (const PDXMessageParticipant& participant : participants) {
    if (!title.empty()) title += ", ";
    title += participant.name();
    if (title.empty()) title = participant.address();
  }
  return title;
}

std::string PDXMessagesConversation::conversationIdArrayString() const {
  std::string text;
  for (const std::int32_t id : conversationIdArray) text += "'" + std::to_string(id) + "',";
  if (!text.empty()) text.pop_back();
  return text;
}

bool PDXMessagesConversation::mergeWithConversation(PDXMessagesConversation& other) {
  if (other.madridHandle_.empty()) {
    conversationIdArray.push_back(other.conversationId_);
  } else {
    madridHandleArray.push_back(other.madridHandle_);
  }
  lastUpdated = std::max(lastUpdated, other.lastUpdated);
  other.isMerged = true;
  return true;
}

bool PDXMessagesConversation::isFromKnownContacts() const {
  return std::any_of(participants.begin(), participants.end(),
                     [](const PDXMessageParticipant& participant) { return participant.isKnownContact(); });
}

const PDXMessageParticipant* PDXMessagesConversation::participantForAddress(std::string_view address) const {
  if (address.empty()) return nullptr;
  const auto found = std::find_if(participants.begin(), participants.end(), [&](const auto& participant) {
    return !participant.address().empty() &&
           PDXContactsDatabase::numberStringIsEqualToNumberString(participant.address(), address);
  });
  return found == participants.end() ? nullptr : &*found;
}

std::string PDXMessagesConversation::getSearchHandleFromAddress(std::string_view address) {
  return std::string(PDXText::lastCharacters(address, 5));
}
