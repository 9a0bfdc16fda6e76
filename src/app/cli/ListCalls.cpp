#include <fmt/format.h>

#include "app/cli/Listing.h"
#include "app/cli/Options.h"
#include "app/export/CallsExport.h"
#include "platform/JsonText.h"

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

void appendEntry(std::string& json, const PDXCallLogEntry& entry) {
  PDXJsonObjectText object(json);
  object.date("date", entry.date);
  object.value("duration");
  fmt::format_to(std::back_inserter(json), "{}", entry.duration);
  object.number("flags", entry.flags);
  object.flag("isCallMade", entry.isCallMade());
  object.value("isAnswered");
  json += !entry.isAnswered ? "null" : *entry.isAnswered ? "true" : "false";
  object.text("kindText", std::string_view(entry.kindText()));
  object.text("address", std::string_view(entry.address));
  object.text("location", std::string_view(entry.location));
  object.text("provider", std::string_view(entry.provider));
  object.text("recordedName", std::string_view(entry.recordedName));
  object.value("callType");
  json += entry.callType ? std::to_string(*entry.callType) : "null";
  object.flag("isLastEntryBeforeBlock", entry.isLastEntryBeforeBlock);
}

Json providerJson(const PDXCallLogProvider& provider) {
  return {{"callLogProviderTypeRawString", provider.callLogProviderTypeRawString()},
          {"callLogProviderTypeString", provider.callLogProviderTypeString()},
          {"callLogProviderType", provider.callLogProviderType()}};
}

void appendLog(std::string& json, const PDXCallLog& log) {
  const PDXCallLogParticipantGroup& group = log.participantGroup;
  auto participants = Json::array();
  for (const auto& participant : group.participants) participants.push_back(participantJson(participant));
  PDXJsonObjectText object(json);
  object.text("displayName", std::string_view(group.displayName()));
  object.flag("isBlocked", group.isBlocked());
  object.value("provider");
  json += PDXJsonText::withoutHidden(providerJson(group.provider).dump());
  object.date("mostEarliestDate", group.mostEarliestDate);
  object.date("mostRecentDate", group.mostRecentDate);
  object.value("participants");
  json += PDXJsonText::withoutHidden(participants.dump());
  object.value("participantGroupCallIds");
  json += Json(group.participantGroupCallIds).dump();
  object.value("entries");
  const char* separator = "[";
  for (const PDXCallLogEntry& entry : log.entries) {
    json += separator;
    appendEntry(json, entry);
    separator = ",\n";
  }
  json += log.entries.empty() ? "[]" : "]";
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
    if (request.wantsItems) {
      if (!listing.itemsText.empty()) listing.itemsText += ",\n";
      appendLog(listing.itemsText, log);
    }
    if (!request.wantsItems)
      listing.lines.push_back(fmt::format("{:>9}  {}", log.entries.size(), log.title()));
  }
  listing.summary = countedEntries(list.calls, "call", "calls") + " with " +
                    countedEntries(list.logs.size(), "person or group", "people and groups");
  return listing;
}
