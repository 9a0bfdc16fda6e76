#include "calllogs/CallLogStoreDataReader.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "backup/ReachableRows.h"
#include "backup/RowEstimate.h"
#include "backup/SQLiteHelper.h"
#include "calllogs/CallHandleTable.h"
#include "calllogs/CallLogValues.h"
#include "platform/Log.h"

namespace {

constexpr const char* kExtract = "PDXADDRESSEXTRACT";

bool hasColumn(const PDXSQLiteDatabase& store, const char* column) {
  return PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(store, "ZCALLRECORD", column);
}

/// The columns of a call, in a fixed order whatever the table has.
struct Columns {
  enum : int {
    address,
    date,
    duration,
    location,
    faceTime,
    originated,
    provider,
    answered,
    type,
    name,
    extract,
    key
  };

  explicit Columns(const PDXSQLiteDatabase& store) {
    for (const char* column :
         {"ZADDRESS", "ZDATE", "ZDURATION", "ZLOCATION", "ZFACE_TIME_DATA", "ZORIGINATED",
          "ZSERVICE_PROVIDER", "ZANSWERED", "ZCALLTYPE", "ZNAME", kExtract}) {
      text += std::string(hasColumn(store, column) ? "" : "NULL AS ") + column + ", ";
    }
    text += "Z_PK";
  }

  std::string text;
};

std::optional<bool> answerOf(const PDXSQLiteStatement& rows, const PDXCallLogEntry& entry) {
  // Of a call from the device the store says "not answered" also when somebody did.
  const bool isKnown = !entry.isCallMade() && !rows.isNull(Columns::answered);
  if (isKnown) return rows.int64(Columns::answered) != 0;
  if (entry.duration > 0 || rows.int64(Columns::answered) != 0) return true;
  return std::nullopt;
}

PDXCallLogEntry entryOf(const PDXSQLiteStatement& rows, PDXCallLogValues& values) {
  PDXCallLogEntry entry;
  const std::int64_t record = rows.int64(Columns::key);
  entry.date = values.date(rows, Columns::date, record);
  entry.duration = values.duration(rows, Columns::duration, record);
  if (rows.int64(Columns::originated) > 0) entry.flags |= PDXCallLogEntry::outgoing;
  if (!rows.isNull(Columns::faceTime)) entry.flags |= PDXCallLogEntry::faceTime;
  entry.address = rows.text(Columns::address);
  entry.location = rows.text(Columns::location);
  entry.provider = rows.text(Columns::provider);
  entry.recordedName = rows.text(Columns::name);
  if (!rows.isNull(Columns::type)) entry.callType = rows.int64(Columns::type);
  entry.isAnswered = answerOf(rows, entry);
  return entry;
}

/// The statement that lists callers, without the columns that the store does not have.
/// What it says of the calls themselves is left out: they are at hand already.
PDXReachableRows::Query participantsQuery(const PDXCallHandleTable& join) {
  return {.table = join.table,
          .select = "SELECT participant_handles.rowid, handles.ZVALUE, participant_handles." +
                    join.callColumn + " FROM " + join.table +
                    " participant_handles INNER JOIN ZHANDLE handles ON participant_handles." +
                    join.handleColumn + " = handles.Z_PK WHERE 1",
          .number = "participant_handles.rowid"};
}

}  // namespace

/// A call, who took part, and the group that it ends up in.
struct PDXCallLogStoreDataReader::Record {
  std::int64_t key = 0;
  std::string extractedAddress;
  PDXCallLogEntry entry;
  std::vector<std::size_t> people;  ///< Numbers of the grouping.
  std::size_t group = 0;
};

/// Puts the calls with the same names in one group: those names are what people know their callers by.
class PDXCallLogStoreDataReader::Grouping {
 public:
  explicit Grouping(PDXCallLogNames& names) : names_(names) {}

  void addParticipant(Record& record, const std::string& address) {
    const auto [known, isNew] = numbers_.try_emplace(address, people_.size());
    if (isNew) people_.emplace_back().setAddress(address, names_);
    if (isNewIn_(record, known->second)) record.people.push_back(known->second);
  }

  /// The record's participants must all be there.
  void addCall(Record& record) {
    const auto [place, isNew] = places_.try_emplace(nameString_(record), groups_.size());
    record.group = place->second;
    if (isNew) groups_.emplace_back().provider.setCallLogProviderTypeRawString(record.entry.provider);
    auto& group = groups_[record.group];
    group.participantGroupCallIds.push_back(record.key);
    const auto& date = record.entry.date;
    if (date && (!group.mostRecentDate || *date > *group.mostRecentDate)) group.mostRecentDate = date;
    if (date && (!group.mostEarliestDate || *date < *group.mostEarliestDate)) group.mostEarliestDate = date;
    for (const std::size_t person : record.people) join_(person, record, group);
  }

  const PDXCallLogParticipant& person(std::size_t number) const { return people_[number]; }
  std::vector<PDXCallLogParticipantGroup> takeGroups() { return std::move(groups_); }

 private:
  /// Whether the person is not among those of the call yet. Of most calls there are one or two.
  bool isNewIn_(const Record& record, std::size_t person) {
    constexpr std::size_t kFew = 16;
    const auto& people = record.people;
    if (people.size() < kFew) return std::find(people.begin(), people.end(), person) == people.end();
    auto& crowd = crowds_[&record];
    if (crowd.empty()) crowd.insert(people.begin(), people.end());
    return crowd.insert(person).second;
  }

  std::string nameString_(const Record& record) const {
    std::string text;
    for (const std::size_t person : record.people) {
      text += people_[person].name;
      text += ',';
    }
    return text;
  }

  void join_(std::size_t person, const Record& record, PDXCallLogParticipantGroup& group) {
    const std::uint64_t key = (std::uint64_t{record.group} << 32) | person;
    const auto [place, isNew] = members_.try_emplace(key, group.participants.size());
    if (isNew) group.participants.push_back(people_[person]);
    group.participants[place->second].takeInDates(record.entry.date, record.entry.date);
  }

  PDXCallLogNames& names_;
  std::unordered_map<std::string, std::size_t> numbers_;                       ///< By address.
  std::vector<PDXCallLogParticipant> people_;                                  ///< Without dates.
  std::unordered_map<const Record*, std::unordered_set<std::size_t>> crowds_;  ///< Of calls with many people.
  std::unordered_map<std::string, std::size_t> places_;                        ///< By the names of a call.
  std::unordered_map<std::uint64_t, std::size_t> members_;  ///< By group and person: the place in the group.
  std::vector<PDXCallLogParticipantGroup> groups_;
};

PDXCallLogStoreDataReader::PDXCallLogStoreDataReader(std::string callStoreDataPath,
                                                     std::string contactsDbPath,
                                                     std::string mobileSMSPlistPath)
    : PDXCallLogReader(std::move(callStoreDataPath), std::move(contactsDbPath),
                       std::move(mobileSMSPlistPath)) {
  if (loadCallLog()) addExtractedAddressColumn_();
}

void PDXCallLogStoreDataReader::addExtractedAddressColumn_() const {
  const PDXSQLiteDatabase store(callLogDbPath_);
  auto columns = store.prepare(
      "SELECT 1 FROM pragma_table_info('ZCALLRECORD') WHERE name = 'ZADDRESS' AND type = 'BLOB'");
  if (!columns.step()) return;
  store.run("PRAGMA synchronous=OFF; ALTER TABLE ZCALLRECORD ADD COLUMN PDXADDRESSEXTRACT VARCHAR");
  // An address with a quote stays out of the column: the text of a statement for it alone would end there. It
  // is then read from where it was.
  const bool isWhole = store.run(
      "UPDATE ZCALLRECORD SET PDXADDRESSEXTRACT=CAST(ZADDRESS AS TEXT) WHERE length(ZADDRESS) > 0 AND "
      "instr(CAST(ZADDRESS AS TEXT), '''') = 0");
  if (isWhole) return;
  PDXLog::report({.what = "calls",
                  .where = callLogDbPath_,
                  .why = "Call Logs failed to insert Address Column from BLOB data."});
}

std::vector<PDXCallLogStoreDataReader::Record> PDXCallLogStoreDataReader::readRecords_(
    const PDXSQLiteDatabase& store) const {
  std::vector<Record> records;
  const std::string query = "SELECT " + Columns(store).text + " FROM ZCALLRECORD";
  auto rows = store.prepare(query);
  if (!rows.isValid()) reportUnreadable_(store);
  PDXCallLogValues values(callLogDbPath_);
  const auto take = [&](const PDXSQLiteStatement& row) {
    Record& record = records.emplace_back();
    record.key = row.int64(Columns::key);
    record.extractedAddress = row.text(Columns::extract);
    record.entry = entryOf(row, values);
  };
  records.reserve(PDXRowEstimate::of(store, "ZCALLRECORD"));
  while (rows.step()) take(rows);
  reportEnd_(rows);
  if (!rows.failed() || rows.wasInterrupted()) return records;
  std::unordered_set<std::int64_t> read;
  for (const Record& record : records) read.insert(record.key);
  auto row = store.prepare(query + " WHERE rowid = ?1");
  for (const std::int64_t number : PDXReachableRows::missed(store, "ZCALLRECORD", read)) {
    row.reset();
    row.bind(1, number);
    if (row.step()) take(row);
  }
  return records;
}

void PDXCallLogStoreDataReader::addParticipants_(const PDXSQLiteDatabase& store, std::vector<Record>& records,
                                                 Grouping& grouping) {
  std::vector<Record*> order;
  order.reserve(records.size());
  if (const auto join = PDXCallHandleTable::of(store, callLogDbPath_)) {
    std::unordered_map<std::int64_t, Record*> byKey;
    byKey.reserve(records.size());
    for (Record& record : records) byKey.try_emplace(record.key, &record);
    std::size_t count = 0;
    reportEnd_(PDXReachableRows::forEach(store, participantsQuery(*join), [&](const PDXSQLiteStatement& row) {
      const auto found = byKey.find(row.int64(2));
      if (found == byKey.end()) return;
      ++count;
      Record& record = *found->second;
      if (record.people.empty()) order.push_back(&record);
      std::string address = row.text(1);
      if (address.empty()) address = record.extractedAddress;
      grouping.addParticipant(record, address.empty() ? record.entry.address : address);
    }));
    join->reportLostHandles(store, callLogDbPath_, count);
  }
  for (Record& record : records) {
    if (!record.people.empty()) continue;
    grouping.addParticipant(record,
                            record.extractedAddress.empty() ? record.entry.address : record.extractedAddress);
    order.push_back(&record);
  }
  for (Record* record : order) grouping.addCall(*record);
}

std::vector<PDXCallLogParticipantGroup> PDXCallLogStoreDataReader::getCallLogParticipantList() {
  if (!loadCallLog()) return {};
  const PDXSQLiteDatabase store(callLogDbPath_);
  auto records = readRecords_(store);
  Grouping grouping(names_);
  addParticipants_(store, records, grouping);
  return grouping.takeGroups();
}

std::vector<PDXCallLogEntry> PDXCallLogStoreDataReader::getCallLogForParticipantGroup(
    const PDXCallLogParticipantGroup& group) {
  const std::string& provider = group.provider.callLogProviderTypeRawString();
  // The text of a statement would end at a quote; such a group has no calls here.
  if (!loadCallLog() || provider.find('\'') != std::string::npos) return {};
  const PDXSQLiteDatabase store(callLogDbPath_);
  const bool tellsProvider = hasColumn(store, "ZSERVICE_PROVIDER");
  auto rows = store.prepare("SELECT " + Columns(store).text + " FROM ZCALLRECORD WHERE Z_PK IN " +
                            group.participantGroupCallIdsString() +
                            (tellsProvider ? " AND ZSERVICE_PROVIDER == '" + provider + "'" : "") +
                            " ORDER BY ZDATE;");
  PDXCallLogValues values(callLogDbPath_);
  PDXCallLog log(group);
  while (rows.step()) log.entries.push_back(entryOf(rows, values));
  reportEnd_(rows);
  const std::string name = group.participantGroupNameString();
  for (PDXCallLogEntry& entry : log.entries) entry.name = name;
  log.arrange();
  return std::move(log.entries);
}

std::vector<PDXCallLog> PDXCallLogStoreDataReader::getCallLogs() {
  if (!loadCallLog()) return {};
  const PDXSQLiteDatabase store(callLogDbPath_);
  auto records = readRecords_(store);
  Grouping grouping(names_);
  addParticipants_(store, records, grouping);
  std::vector<PDXCallLog> logs;
  for (PDXCallLogParticipantGroup& group : grouping.takeGroups()) {
    PDXCallLog& log = logs.emplace_back(std::move(group));
    log.entries.reserve(log.participantGroup.participantGroupCallIds.size());
  }
  for (Record& record : records) {
    std::string& address = record.entry.address;
    const bool isOfSeveral = address.empty();
    for (std::size_t i = 0; isOfSeveral && i < record.people.size(); ++i)
      address += (i == 0 ? "" : ", ") + grouping.person(record.people[i]).address();
    logs[record.group].entries.push_back(std::move(record.entry));
  }
  for (PDXCallLog& log : logs) log.arrange();
  return logs;
}

std::optional<std::size_t> PDXCallLogStoreDataReader::storedCallCount() const {
  const PDXSQLiteDatabase store(callLogDbPath_);
  std::string why;
  return PDXReachableRows::count(store, "ZCALLRECORD", why);
}
