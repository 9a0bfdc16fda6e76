#include <fmt/format.h>

#include "app/cli/Listing.h"
#include "app/cli/Options.h"
#include "messages/MessageReader.h"

namespace {

using Json = nlohmann::ordered_json;

Json participantJson(const PDXMessageParticipant& participant) {
  return {{"name", participant.name().empty() ? Json() : Json(participant.name())},
          {"address", participant.address()},
          {"isKnownContact", participant.isKnownContact()}};
}

Json conversationJson(const PDXMessagesConversation& conversation) {
  auto participants = Json::array();
  for (const auto& participant : conversation.participants)
    participants.push_back(participantJson(participant));
  return {{"title", conversation.title()},
          {"conversationId", conversation.conversationId()},
          {"madridHandle", conversation.madridHandle().empty() ? Json() : Json(conversation.madridHandle())},
          {"groupId", conversation.groupId},
          {"messageCount", conversation.messageCount},
          {"participants", participants},
          {"conversationIdArray", conversation.conversationIdArray},
          {"madridHandleArray", conversation.madridHandleArray},
          {"conversationType", static_cast<unsigned>(conversation.conversationType)},
          {"isFromKnownContacts", conversation.isFromKnownContacts()},
          {"lastUpdated", conversation.lastUpdated}};
}

bool hasFilter(const PDXRangeOptions& range) {
  return !range.from.empty() || !range.until.empty() || !range.search.empty();
}

/// The messages that an export with the same filter would write; without a filter, as the store counts
/// them.
std::size_t matchingMessages(const PDXMessagesConversation& conversation, const PDXRangeOptions& range) {
  if (!hasFilter(range)) return conversation.conversationDBReader->storedMessageCount(conversation);
  const auto end = range.endDate();
  return PDXMessageReader::messagesForExport(
             *conversation.conversationDBReader, conversation, range.startDate(),
             end ? std::optional(PDXDates::startOfNextDay(*end)) : std::nullopt, range.search)
      .size();
}

}  // namespace

PDXListing listMessages(const PDXListRequest& request) {
  PDXMessageReader reader;
  reader.loadConversationsFromDeviceData(&request.deviceData);
  const bool isFiltered = hasFilter(request.range);
  PDXListing listing;
  for (const auto* conversation : reader.standardConversations()) {
    if (request.stop.stop_requested()) return listing;
    const std::size_t matching = matchingMessages(*conversation, request.range);
    if (matching == 0 && isFiltered) continue;
    Json item = conversationJson(*conversation);
    item[isFiltered ? "matchingMessages" : "storedMessages"] = matching;
    listing.items.push_back(std::move(item));
    listing.lines.push_back(fmt::format("{:>9}  {}", matching, conversation->title()));
  }
  listing.summary = countedEntries(listing.lines.size(), "conversation", "conversations");
  return listing;
}
