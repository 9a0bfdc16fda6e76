#include "calllogs/CallLogDbReader.h"

#include <algorithm>
#include <limits>
#include <unordered_map>

#include "backup/ReachableRows.h"
#include "backup/SQLiteHelper.h"
#include "calllogs/CallLogValues.h"
#include "platform/Files.h"

namespace {

/// The columns of a call, in a fixed order whatever the table has.
struct Columns {
  enum : int { row, date, duration, flags, address, name };

  explicit Columns(const PDXSQLiteDatabase& store) {
    text = "ROWID";
    for (const char* column : {"date", "duration", "flags", "address", "name"}) {
      const bool exists = PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(store, "call", column);
      text += std::string(exists ? ", " : ", NULL AS ") + column;
    }
  }

  std::string text;
};

constexpr const char* kCalls = " FROM call WHERE 1";

PDXReachableRows::Query queryOf(std::string select) {
  return {.table = "call", .select = std::move(select), .number = "ROWID"};
}

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
  const std::string query = std::string("SELECT ROWID, address, ") + (hasDates ? "date" : "NULL") + kCalls;
  if (!store.prepare(query).isValid()) {
    reportUnreadable_(store);
    return participants;
  }
  reportEnd_(PDXReachableRows::forEach(store, queryOf(query), [&](const PDXSQLiteStatement& row) {
    const std::string address = row.text(1);
    if (address.empty()) return;
    const auto [place, isNew] = places.try_emplace(address, participants.size());
    if (isNew) participants.emplace_back().setAddress(address, names_);
    // An address with a quote is in no question for a date.
    if (!row.isNumber(2) || address.find('\'') != std::string::npos) return;
    const auto date = PDXDates::fromReferenceFraction(row.real(2));
    participants[place->second].takeInDates(date, date);
  }));
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
  PDXCallLogValues values(callLogDbPath_);
  PDXCallLog withheld(groupOf({}));
  withheld.participantGroup.participants.front().addresses = {""};
  // The list of participants has said what is wrong with the table.
  const PDXReachableRows::Query calls = queryOf("SELECT " + Columns(store).text + kCalls);
  PDXReachableRows::forEach(store, calls, [&](const PDXSQLiteStatement& row) {
    PDXCallLogEntry entry = entryOf(row, values);
    const auto place = places.find(entry.address);
    PDXCallLog& log = place == places.end() ? withheld : logs[place->second];
    auto& participant = log.participantGroup.participants.front();
    if (place == places.end()) participant.takeInDates(entry.date, entry.date);
    log.entries.push_back(std::move(entry));
  });
  const auto& unnamed = withheld.participantGroup.participants.front();
  withheld.participantGroup.mostRecentDate = unnamed.mostRecentDate;
  withheld.participantGroup.mostEarliestDate = unnamed.mostEarliestDate;
  if (!withheld.entries.empty()) logs.push_back(std::move(withheld));
  for (PDXCallLog& log : logs) log.arrange();
  return logs;
}

std::optional<std::size_t> PDXCallLogDbReader::storedCallCount() const {
  const PDXSQLiteDatabase store(callLogDbPath_);
  std::string why;
  return PDXReachableRows::count(store, "call", why);
}
