#include <fmt/format.h>

#include "app/cli/Listing.h"
#include "app/cli/Options.h"
#include "app/export/CallsExport.h"

namespace {

using Json = nlohmann::ordered_json;

Json dateJson(const std::optional<PDXDate>& date) { return date ? Json(PDXDates::isoText(*date)) : Json(); }

Json participantJson(const PDXCallLogParticipant& participant) {
  return {{"name", participant.name},
          {"address", participant.address()},
          {"addresses", participant.addresses},
          {"isContactBlocked", participant.isContactBlocked},
          {"isMerged", participant.isMerged},
          {"mostEarliestDate", dateJson(participant.mostEarliestDate)},
          {"mostRecentDate", dateJson(participant.mostRecentDate)}};
}

Json entryJson(const PDXCallLogEntry& entry) {
  return {{"date", dateJson(entry.date)},
          {"duration", entry.duration},
          {"flags", entry.flags},
          {"isCallMade", entry.isCallMade()},
          {"isAnswered", jsonOf(entry.isAnswered)},
          {"kindText", entry.kindText()},
          {"address", entry.address},
          {"location", entry.location},
          {"provider", entry.provider},
          {"recordedName", entry.recordedName},
          {"callType", jsonOf(entry.callType)},
          {"isLastEntryBeforeBlock", entry.isLastEntryBeforeBlock}};
}

Json providerJson(const PDXCallLogProvider& provider) {
  return {{"callLogProviderTypeRawString", provider.callLogProviderTypeRawString()},
          {"callLogProviderTypeString", provider.callLogProviderTypeString()},
          {"callLogProviderType", provider.callLogProviderType()}};
}

Json logJson(const PDXCallLog& log) {
  const PDXCallLogParticipantGroup& group = log.participantGroup;
  auto participants = Json::array();
  for (const auto& participant : group.participants) participants.push_back(participantJson(participant));
  auto entries = Json::array();
  for (const PDXCallLogEntry& entry : log.entries) entries.push_back(entryJson(entry));
  return {{"displayName", group.displayName()},
          {"isBlocked", group.isBlocked()},
          {"provider", providerJson(group.provider)},
          {"mostEarliestDate", dateJson(group.mostEarliestDate)},
          {"mostRecentDate", dateJson(group.mostRecentDate)},
          {"participants", std::move(participants)},
          {"participantGroupCallIds", group.participantGroupCallIds},
          {"entries", std::move(entries)}};
}

}  // namespace

PDXListing listCalls(const PDXListRequest& request) {
  const auto end = request.range.endDate();
  const PDXCallList list =
      PDXCallsExport::read(request.deviceData, request.range.startDate(),
                           end ? std::optional(PDXDates::startOfNextDay(*end)) : std::nullopt);
  PDXListing listing;
  for (const PDXCallLog& log : list.logs) {
    if (request.stop.stop_requested()) return listing;
    if (request.wantsItems) listing.items.push_back(logJson(log));
    if (!request.wantsItems)
      listing.lines.push_back(fmt::format("{:>9}  {}", log.entries.size(), log.title()));
  }
  listing.summary = countedEntries(list.calls, "call", "calls") + " with " +
                    countedEntries(list.logs.size(), "person or group", "people and groups");
  return listing;
}
