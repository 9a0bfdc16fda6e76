#include "calllogs/CallLogDbReader.h"

#include <algorithm>
#include <limits>
#include <unordered_map>

#include "backup/SQLiteHelper.h"
#include "calllogs/CallLogValues.h"
#include "platform/Files.h"

namespace {

/// The columns of a call, in a fixed order whatever the table has.
struct Columns {
  enum : int { date, duration, flags, address, name, row };

  explicit Columns(const PDXSQLiteDatabase& store) {
    for (const char* column : {"date", "duration", "flags", "address", "name"}) {
      const bool exists = PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(store, "call", column);
      text += std::string(exists ? "" : "NULL AS ") + column + ", ";
    }
    text += "ROWID";
  }

  std::string text;
};

PDXCallLogEntry entryOf(const PDXSQLiteStatement& rows, PDXCallLogValues& values) {
  PDXCallLogEntry entry;
  const std::int64_t record = rows.int64(Columns::row);
  entry.date = values.date(rows, Columns::date, record);
  entry.duration = values.duration(rows, Columns::duration, record);
  entry.flags = rows.int64(Columns::flags);
  entry.address = rows.text(Columns::address);
  entry.recordedName = rows.text(Columns::name);
  if (entry.duration > 0 || !entry.isCallMade()) entry.isAnswered = entry.duration > 0;
  return entry;
}

PDXCallLogParticipantGroup groupOf(PDXCallLogParticipant participant) {
  PDXCallLogParticipantGroup group;
  group.mostRecentDate = participant.mostRecentDate;
  group.mostEarliestDate = participant.mostEarliestDate;
  group.participants.push_back(std::move(participant));
  return group;
}

}  // namespace

std::vector<PDXCallLogParticipant> PDXCallLogDbReader::getParticipants_(const PDXSQLiteDatabase& store) {
  std::vector<PDXCallLogParticipant> participants;
  std::unordered_map<std::string, std::size_t> places;
  const bool hasDates = PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(store, "call", "date");
  auto rows = store.prepare(hasDates ? "SELECT address, date FROM call" : "SELECT address FROM call");
  if (!rows.isValid()) reportUnreadable_(store);
  while (rows.step()) {
    const std::string address = rows.text(0);
    if (address.empty()) continue;
    const auto [place, isNew] = places.try_emplace(address, participants.size());
    if (isNew) participants.emplace_back().setAddress(address, names_);
    // An address with a quote is in no question for a date.
    if (!rows.isNumber(1) || address.find('\'') != std::string::npos) continue;
    const auto date = PDXDates::fromReferenceFraction(rows.real(1));
    participants[place->second].takeInDates(date, date);
  }
  reportEnd_(rows);
  return participants;
}

std::vector<PDXCallLogParticipant> PDXCallLogDbReader::GroupParticipantsFromDictionary(
    const std::vector<PDXCallLogParticipant>& participants) {
  std::vector<PDXCallLogParticipant> merged;
  std::unordered_map<std::string, std::size_t> places;
  for (const PDXCallLogParticipant& participant : participants) {
    const auto [place, isNew] = places.try_emplace(participant.name, merged.size());
    if (isNew) {
      merged.push_back(participant);
    } else {
      merged[place->second].mergeWith(participant);
    }
  }
  std::stable_sort(merged.begin(), merged.end(),
                   [](const auto& a, const auto& b) { return a.name < b.name; });
  return merged;
}

std::vector<PDXCallLogParticipantGroup> PDXCallLogDbReader::getCallLogParticipantList() {
  if (!loadCallLog()) return {};
  const PDXSQLiteDatabase store(callLogDbPath_);
  std::vector<PDXCallLogParticipantGroup> groups;
  for (PDXCallLogParticipant& participant : GroupParticipantsFromDictionary(getParticipants_(store)))
    groups.push_back(groupOf(std::move(participant)));
  return groups;
}

std::vector<PDXCallLogEntry> PDXCallLogDbReader::getCallLogForParticipantGroup(
    const PDXCallLogParticipantGroup& group) {
  if (!loadCallLog()) return {};
  const PDXSQLiteDatabase store(callLogDbPath_);
  const std::string addresses = group.participantGroupAddressesString();
  // The text of a statement would end at a quote in an address; such a group has no calls here.
  if (addresses.find('\'') != std::string::npos) return {};
  auto rows = store.prepare("SELECT " + Columns(store).text + " FROM call where address IN ('" + addresses +
                            "') ORDER BY date;");
  PDXCallLogValues values(callLogDbPath_);
  PDXCallLog log(group);
  while (rows.step()) log.entries.push_back(entryOf(rows, values));
  reportEnd_(rows);
  const std::string name = group.participantGroupNameString();
  for (PDXCallLogEntry& entry : log.entries) entry.name = name;
  log.arrange();
  return std::move(log.entries);
}

std::vector<PDXCallLog> PDXCallLogDbReader::getCallLogs() {
  std::vector<PDXCallLog> logs;
  std::unordered_map<std::string, std::size_t> places;
  for (PDXCallLogParticipantGroup& group : getCallLogParticipantList()) {
    for (const std::string& address : group.participants.front().addresses) places[address] = logs.size();
    logs.emplace_back(std::move(group));
  }
  if (!loadCallLog()) return logs;
  const PDXSQLiteDatabase store(callLogDbPath_);
  auto rows = store.prepare("SELECT " + Columns(store).text + " FROM call");
  PDXCallLogValues values(callLogDbPath_);
  PDXCallLog withheld(groupOf({}));
  withheld.participantGroup.participants.front().addresses = {""};
  while (rows.step()) {
    PDXCallLogEntry entry = entryOf(rows, values);
    const auto place = places.find(entry.address);
    PDXCallLog& log = place == places.end() ? withheld : logs[place->second];
    auto& participant = log.participantGroup.participants.front();
    if (place == places.end()) participant.takeInDates(entry.date, entry.date);
    log.entries.push_back(std::move(entry));
  }
  const auto& unnamed = withheld.participantGroup.participants.front();
  withheld.participantGroup.mostRecentDate = unnamed.mostRecentDate;
  withheld.participantGroup.mostEarliestDate = unnamed.mostEarliestDate;
  if (!withheld.entries.empty()) logs.push_back(std::move(withheld));
  for (PDXCallLog& log : logs) log.arrange();
  return logs;
}

std::optional<std::size_t> PDXCallLogDbReader::storedCallCount() const {
  const PDXSQLiteDatabase store(callLogDbPath_);
  auto rows = store.prepare("SELECT count(1) FROM call NOT INDEXED");
  if (!rows.step()) return std::nullopt;
  return static_cast<std::size_t>(rows.int64(0));
}
