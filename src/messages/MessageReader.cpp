#include "messages/MessageReader.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <utility>

#include "backup/DeviceData.h"
#include "contacts/ContactsDatabase.h"
#include "messages/MessagesDbReader.h"
#include "platform/Log.h"
#include "platform/Text.h"

namespace {

struct Titled {
  std::string title;
  bool isNumber;
  std::unique_ptr<PDXMessagesConversation> conversation;

  explicit Titled(std::unique_ptr<PDXMessagesConversation> titled)
      : title(titled->title()),
        isNumber((!title.empty() && title[0] >= '0' && title[0] <= '9') ||
                 title.find('+') != std::string::npos),
        conversation(std::move(titled)) {}
};

bool sortsBefore(const Titled& a, const Titled& b) {
  if (a.isNumber != b.isNumber) return b.isNumber;
  return PDXText::compareIgnoringCaseWithNumbers(a.title, b.title) < 0;
}

/// Whether a text holds the term, case and ways of writing an accent ignored.
bool holds(const std::string& text, const std::string& term) {
  return PDXText::containsIgnoringCase(PDXText::composed(text), PDXText::composed(term));
}

bool holdsTerm(const PDXMessageDetail& message, const std::string& term) {
  const auto& pieces = message.messagePieces;
  return holds(message.message, term) || holds(message.subject, term) ||
         std::any_of(pieces.begin(), pieces.end(), [&](const PDXMessagePiece& piece) {
           return piece.isText() && !piece.isFile && holds(piece.contentLocation, term);
         });
}

}  // namespace

PDXMessageReader::PDXMessageReader() = default;
PDXMessageReader::~PDXMessageReader() = default;

bool PDXMessageReader::loadConversationsFromDeviceData(PDXDeviceData* deviceData) {
  if (deviceData == nullptr) return false;
  conversations_.clear();
  if (!loadStandardConversations(*deviceData)) return false;
  loadWhatsAppConversations(*deviceData);
  sortConversations();
  return true;
}

bool PDXMessageReader::loadStandardConversations(PDXDeviceData& deviceData) {
  try {
    const std::string preferences = deviceData.GetFilesByFeatureType(PDXFeature::MessagesPreferences);
    const std::string contacts = deviceData.databaseOfFeature(PDXFeature::AddressBook);
    if (!PDXContactsDatabase::isLoaded()) PDXContactsDatabase::loadContactsFromDeviceData(deviceData);
    const PDXDatabaseFile store = deviceData.readableDatabaseOfFeature(PDXFeature::Messages);
    standardReader_ = std::make_unique<PDXMessagesDbReader>(store.path, contacts, preferences, store.access);
    if (!standardReader_->loadMessages()) return false;
    append_(standardReader_->getConversationList());
    return true;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    PDXLog::report({.what = "messages",
                    .where = deviceData.backupPath(),
                    .why = std::string("Error reading standard messages: ") + error.what()});
    return false;
  }
}

bool PDXMessageReader::loadWhatsAppConversations(PDXDeviceData&) {
  whatsAppReader_.reset();
  return false;
}

void PDXMessageReader::sortConversations() {
  std::vector<Titled> titled;
  titled.reserve(conversations_.size());
  for (auto& conversation : conversations_) titled.emplace_back(std::move(conversation));
  std::stable_sort(titled.begin(), titled.end(), sortsBefore);
  std::transform(titled.begin(), titled.end(), conversations_.begin(),
                 [](Titled& entry) { return std::move(entry.conversation); });
}

std::vector<PDXMessagesConversation*> PDXMessageReader::allConversations() const {
  std::vector<PDXMessagesConversation*> all;
  for (const auto& conversation : conversations_) all.push_back(conversation.get());
  return all;
}

std::vector<PDXMessagesConversation*> PDXMessageReader::standardConversations() const {
  return conversationsOfType(EConversationTypeStandard);
}

std::vector<PDXMessagesConversation*> PDXMessageReader::whatsAppConversations() const {
  return conversationsOfType(EConversationTypeWhatsApp);
}

std::vector<PDXMessagesConversation*> PDXMessageReader::conversationsOfType(EConversationType type) const {
  auto matching = allConversations();
  std::erase_if(matching,
                [type](const auto* conversation) { return conversation->conversationType != type; });
  return matching;
}

std::optional<PDXMessageThread> PDXMessageReader::messageThreadForConversationFilterOptions(
    const PDXMessagesConversation& conversation, const PDXDateFilterOptions& filterOptions) {
  return messageThreadForConversationWithStartDateEndDateSearchTerm(conversation, filterOptions.startDate,
                                                                    filterOptions.endDate, std::nullopt);
}

std::optional<PDXMessageThread> PDXMessageReader::messageThreadForConversationWithStartDateEndDateSearchTerm(
    const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
    const std::optional<PDXDate>& endDate, const std::optional<std::string>& searchTerm) {
  PDXMessagesReader* reader = readerOf_(conversation.conversationType);
  if (!holds_(conversation) || reader == nullptr) return std::nullopt;
  // An end date alone makes no filter: the filter's range begins with its start.
  PDXMessageThread thread(conversation,
                          startDate ? PDXDateFilterOptions(startDate, endDate) : PDXDateFilterOptions());
  thread.messages = reader->getMessagesFromConversationWithStartDateEndDateSearchTerm(conversation, startDate,
                                                                                      endDate, searchTerm);
  return thread;
}

bool PDXMessageReader::conversationIsInDateRangeEndDateOrMatchesSearchTerm(
    const PDXMessagesConversation& conversation, const std::optional<PDXDate>& startDate,
    const std::optional<PDXDate>& endDate, const std::optional<std::string>& searchTerm) {
  if (searchTerm && !searchTerm->empty() &&
      PDXText::containsIgnoringCase(conversation.title(), *searchTerm)) {
    return true;
  }
  PDXMessagesReader* reader = readerOf_(conversation.conversationType);
  return reader != nullptr && reader->conversationIsInDateRangeEndDateOrMatchesSearchTerm(
                                  conversation, startDate, endDate, searchTerm);
}

std::vector<PDXMessageDetail> PDXMessageReader::messagesForExport(PDXMessagesReader& reader,
                                                                  const PDXMessagesConversation& conversation,
                                                                  const std::optional<PDXDate>& startDate,
                                                                  const std::optional<PDXDate>& endDate,
                                                                  const std::string& searchTerm) {
  auto messages = reader.everyMessageOfConversation(conversation, startDate, endDate);
  if (searchTerm.empty() || holds(conversation.title(), searchTerm)) return messages;
  std::erase_if(messages, [&](const PDXMessageDetail& message) { return !holdsTerm(message, searchTerm); });
  return messages;
}

std::optional<PDXMessageRowCounts> PDXMessageReader::rowCounts(
    EConversationType type, const std::vector<const PDXMessagesConversation*>& leftOut,
    PDXMessageRowCounts::Bodies bodies) const {
  PDXMessagesReader* reader = readerOf_(type);
  return reader == nullptr ? std::nullopt : reader->rowCounts(leftOut, bodies);
}

PDXMessagesReader* PDXMessageReader::readerOf_(EConversationType type) const {
  return type == EConversationTypeWhatsApp ? whatsAppReader_.get() : standardReader_.get();
}

bool PDXMessageReader::holds_(const PDXMessagesConversation& conversation) const {
  return std::any_of(conversations_.begin(), conversations_.end(),
                     [&](const auto& listed) { return listed.get() == &conversation; });
}

void PDXMessageReader::append_(PDXConversationList conversations) {
  std::move(conversations.begin(), conversations.end(), std::back_inserter(conversations_));
}
