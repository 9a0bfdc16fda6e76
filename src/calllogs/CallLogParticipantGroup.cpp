#include "calllogs/CallLogParticipantGroup.h"

#include <algorithm>
#include <set>

namespace {

/// Each text followed by a comma, the last comma dropped.
template <typename Items, typename TextOf>
std::string listed(const Items& items, TextOf textOf) {
  std::string text;
  for (const auto& item : items) text += textOf(item) + ",";
  if (!text.empty()) text.pop_back();
  return text;
}

}  // namespace

std::string PDXCallLogParticipantGroup::participantGroupAddressesString() const {
  return listed(participants, [](const PDXCallLogParticipant& participant) {
    return listed(participant.addresses, [](const std::string& address) { return address; });
  });
}

std::string PDXCallLogParticipantGroup::participantGroupNameString() const {
  return listed(participants, [](const PDXCallLogParticipant& participant) { return participant.name; });
}

std::string PDXCallLogParticipantGroup::participantGroupCallIdsString() const {
  return "(" + listed(participantGroupCallIds, [](std::int64_t id) { return std::to_string(id); }) + ")";
}

std::string PDXCallLogParticipantGroup::displayName() const {
  std::set<std::string> names;
  for (const PDXCallLogParticipant& participant : participants) names.insert(participant.name);
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

bool PDXCallLogParticipantGroup::isBlocked() const {
  return std::any_of(participants.begin(), participants.end(),
                     [](const PDXCallLogParticipant& participant) { return participant.isContactBlocked; });
}

bool PDXCallLogParticipantGroup::isNamedByAddress() const {
  return std::all_of(participants.begin(), participants.end(),
                     [](const PDXCallLogParticipant& participant) { return participant.isNamedByAddress(); });
}

std::string PDXCallLog::title() const {
  std::string name = participantGroup.displayName();
  if (name.empty()) return "Unknown caller";
  if (!participantGroup.isNamedByAddress()) return name;
  const auto named = std::find_if(entries.rbegin(), entries.rend(),
                                  [](const PDXCallLogEntry& entry) { return !entry.recordedName.empty(); });
  return named == entries.rend() || participantGroup.participants.size() > 1
             ? name
             : name + " (" + named->recordedName + ")";
}

void PDXCallLog::arrange() {
  std::stable_sort(entries.begin(), entries.end(),
                   [](const PDXCallLogEntry& a, const PDXCallLogEntry& b) { return a.date < b.date; });
  if (!entries.empty() && participantGroup.isBlocked()) entries.back().isLastEntryBeforeBlock = true;
}
