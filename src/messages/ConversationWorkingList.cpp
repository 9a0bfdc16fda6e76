#include "messages/ConversationWorkingList.h"

#include <algorithm>
#include <utility>

namespace {

struct Titled {
  std::string title;
  std::unique_ptr<PDXMessagesConversation> conversation;
};

bool sortsBefore(const Titled& a, const Titled& b) {
  const bool aIsNumber = a.title.starts_with('+');
  const bool bIsNumber = b.title.starts_with('+');
  return aIsNumber != bIsNumber ? bIsNumber : a.title < b.title;
}

}  // namespace

PDXConversationWorkingList::PDXConversationWorkingList(PDXMessagesReader* reader, std::string contactsDbPath,
                                                       std::string mobileSMSPlistPath)
    : reader_(reader),
      contactsDbPath_(std::move(contactsDbPath)),
      mobileSMSPlistPath_(std::move(mobileSMSPlistPath)),
      names_(contactsDbPath_, mobileSMSPlistPath_) {}

PDXMessagesConversation& PDXConversationWorkingList::conversationWithId(std::int32_t conversationId) {
  PDXMessagesConversation*& known = byId_[conversationId];
  if (known == nullptr) {
    known = &add_();
    known->setConversationId(conversationId);
  }
  return *known;
}

PDXMessagesConversation* PDXConversationWorkingList::newConversationWithHandle(
    const std::string& madridHandle) {
  PDXMessagesConversation*& known = byHandle_[madridHandle];
  if (known != nullptr) return nullptr;
  known = &add_();
  known->setMadridHandle(madridHandle);
  return known;
}

void PDXConversationWorkingList::addParticipant(PDXMessagesConversation& conversation,
                                                const std::string& address) {
  conversation.participants.emplace_back(contactsDbPath_, mobileSMSPlistPath_).setAddress(address, names_);
}

PDXConversationList PDXConversationWorkingList::mergedAndSorted() {
  std::vector<Titled> titled;
  std::unordered_map<std::string, PDXMessagesConversation*> byTitle;
  for (auto& conversation : conversations_) {
    std::string title = conversation->title();
    const auto [known, isNew] = byTitle.emplace(title, conversation.get());
    if (isNew) {
      titled.push_back({std::move(title), std::move(conversation)});
    } else {
      known->second->mergeWithConversation(*conversation);
    }
  }
  std::stable_sort(titled.begin(), titled.end(), sortsBefore);

  PDXConversationList merged;
  merged.reserve(titled.size());
  for (Titled& entry : titled) merged.push_back(std::move(entry.conversation));
  conversations_.clear();
  byId_.clear();
  byHandle_.clear();
  return merged;
}

PDXMessagesConversation& PDXConversationWorkingList::add_() {
  auto& conversation = conversations_.emplace_back(std::make_unique<PDXMessagesConversation>());
  conversation->conversationDBReader = reader_;
  conversation->conversationType = EConversationTypeStandard;
  return *conversation;
}
