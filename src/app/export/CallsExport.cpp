#include "app/export/CallsExport.h"

#include <algorithm>
#include <utility>

#include "backup/BackupNavigation.h"
#include "backup/DeviceData.h"
#include "calllogs/CallLogCSVGenerator.h"
#include "calllogs/CallLogDbReader.h"
#include "calllogs/CallLogHTMLGenerator.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace {

using Entries = std::vector<PDXCallLogEntry>;

/// Counts the rows of the older database, when the device has a newer store as well.
void countOlderRows(PDXDeviceData& deviceData, PDXCallList& list) {
  if (!deviceData.holdsFeature(PDXFeature::CallHistoryStore) ||
      !deviceData.holdsFeature(PDXFeature::CallHistoryLegacy)) {
    return;
  }
  const std::string database = deviceData.databaseOfFeature(PDXFeature::CallHistoryLegacy);
  list.olderRows = PDXCallLogDbReader(database, "", "").storedCallCount();
  list.older = list.olderRows->value_or(0);
}

/// Takes out the calls outside the range, and tells how many.
std::size_t removeOutside(Entries& entries, const std::optional<PDXDate>& start,
                          const std::optional<PDXDate>& behindEnd) {
  if (!start && !behindEnd) return 0;
  return std::erase_if(entries, [&](const PDXCallLogEntry& entry) {
    return !entry.date || (start && *entry.date < *start) || (behindEnd && *entry.date >= *behindEnd);
  });
}

bool isNewer(const PDXCallLog& a, const PDXCallLog& b) {
  return a.entries.back().date > b.entries.back().date;
}

/// What the table calls the people of a group.
struct Name {
  explicit Name(const PDXCallLogParticipantGroup& group)
      : text(group.displayName()), isAddress(group.isNamedByAddress() && group.participants.size() == 1) {}

  /// Of a stranger the name that the device wrote down with the call, if it did.
  const std::string& of(const PDXCallLogEntry& entry) const {
    return isAddress && !entry.recordedName.empty() ? entry.recordedName : text;
  }

  std::string text;
  bool isAddress;
};

/// A call with what its group is called.
struct Row {
  std::optional<PDXDate> date;  ///< The call's own, at hand for sorting.
  const PDXCallLogEntry* entry;
  const Name* name;
};

class Writer {
 public:
  Writer(const PDXExportOptions& options, PDXKindReport& kind, PDXExportReport& report,
         const std::stop_token& stop)
      : options_(options), kind_(kind), report_(report), stop_(stop) {}

  void writePage(const std::vector<PDXCallLog>& logs, std::size_t calls) {
    PDXAtomicFile file(options_.placeOf("Calls/Calls.html"));
    std::vector<const PDXCallLog*> all;
    all.reserve(logs.size());
    for (const PDXCallLog& log : logs) all.push_back(&log);
    file.append(PDXCallLogHTMLGenerator::beginning(all));
    for (const PDXCallLog& log : logs) {
      if (stop_.stop_requested()) return;
      file.append(PDXCallLogHTMLGenerator::section(log, times_));
    }
    file.append(PDXCallLogHTMLGenerator::end());
    commit(file, "Calls by person", calls);
  }

  void writeTable(const std::vector<PDXCallLog>& logs, std::size_t calls) {
    std::vector<Name> names;
    names.reserve(logs.size());
    for (const PDXCallLog& log : logs) names.emplace_back(log.participantGroup);
    PDXAtomicFile file(options_.placeOf("Calls/Calls.csv"));
    file.append(PDXCallLogCSVGenerator::header());
    std::string line;
    for (const Row& row : rowsOf(logs, names)) {
      if (stop_.stop_requested()) return;
      line.clear();
      PDXCallLogCSVGenerator::appendRow(line, *row.entry, row.name->of(*row.entry), times_);
      file.append(line);
    }
    commit(file, "Calls as a table", calls);
  }

 private:
  static std::vector<Row> rowsOf(const std::vector<PDXCallLog>& logs, const std::vector<Name>& names) {
    std::size_t count = 0;
    for (const PDXCallLog& log : logs) count += log.entries.size();
    std::vector<Row> rows;
    rows.reserve(count);
    for (std::size_t i = 0; i < logs.size(); ++i) {
      const Entries& entries = logs[i].entries;
      for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry)
        rows.push_back({entry->date, &*entry, &names[i]});
    }
    std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.date > b.date; });
    return rows;
  }

  void commit(PDXAtomicFile& file, const std::string& title, std::size_t calls) {
    if (report_.commit(file, kind_))
      kind_.written.push_back({.title = title, .path = options_.relative(file.path()), .entries = calls});
  }

  const PDXExportOptions& options_;
  PDXKindReport& kind_;
  PDXExportReport& report_;
  const std::stop_token& stop_;
  PDXLocalTimes times_;
};

PDXRowAccount accountOf(const PDXCallList& list, std::size_t written) {
  PDXRowAccount account{.rows = *list.rows,
                        .repeated = 0,
                        .leftOut = {{"in the older database, which a newer store replaced", list.older},
                                    {"filtered", list.filtered}},
                        .unaccounted = 0};
  account.unaccounted =
      static_cast<std::int64_t>(account.rows) - static_cast<std::int64_t>(written + account.leftOutRows());
  return account;
}

/// One for each store.
std::vector<PDXStoreAccount> accountsOf(const PDXCallList& list) {
  std::vector<PDXStoreAccount> accounts;
  if (list.store.empty()) return accounts;
  std::optional<PDXRowAccount> rows;
  if (list.rows)
    rows = {.rows = *list.rows - list.older, .repeated = 0, .leftOut = {{"filtered", list.filtered}}};
  accounts.push_back(PDXStoreAccount::of(list.store, rows, list.calls));
  if (!list.olderRows) return accounts;
  std::optional<PDXRowAccount> older;
  if (*list.olderRows)
    older = {.rows = list.older, .repeated = 0, .leftOut = {{"in the newer store", list.older}}};
  accounts.push_back(PDXStoreAccount::of("call_history.db", older, 0));
  return accounts;
}

}  // namespace

PDXCallList PDXCallsExport::read(PDXDeviceData& deviceData, const std::optional<PDXDate>& start,
                                 const std::optional<PDXDate>& behindEnd) {
  PDXCallList list;
  const auto reader = PDXCallLogReader::forDeviceData(deviceData);
  if (reader == nullptr) return list;
  list.logs = reader->getCallLogs();
  countOlderRows(deviceData, list);
  list.store = PDXText::lastPathComponent(reader->callLogDbPath());
  list.rows = reader->storedCallCount();
  if (list.rows) *list.rows += list.older;
  for (PDXCallLog& log : list.logs) {
    list.filtered += removeOutside(log.entries, start, behindEnd);
    list.calls += log.entries.size();
  }
  std::erase_if(list.logs, [](const PDXCallLog& log) { return log.entries.empty(); });
  std::stable_sort(list.logs.begin(), list.logs.end(), isNewer);
  return list;
}

PDXKindReport PDXCallsExport::run(PDXDeviceData& deviceData, const PDXExportOptions& options,
                                  PDXExportReport& report, const std::stop_token& stop) {
  const PDXCallList list = read(deviceData, options.startDate, options.behindEnd());
  PDXKindReport kind;
  kind.kind = "calls";
  kind.title = "Calls";
  kind.found = list.calls + list.filtered;
  kind.filtered = list.filtered;
  kind.entries = PDXEntriesReport{.one = "call", .many = "calls", .written = 0, .rows = {}};
  if (!list.logs.empty()) {
    Writer writer(options, kind, report, stop);
    writer.writePage(list.logs, list.calls);
    if (report.goesOn() && !stop.stop_requested()) writer.writeTable(list.logs, list.calls);
    if (kind.written.empty() || !report.goesOn() || stop.stop_requested()) return kind;
  }
  kind.entries->written = list.calls;
  if (list.rows) kind.entries->rows = accountOf(list, list.calls);
  kind.accounts = accountsOf(list);
  return kind;
}
