#include "backup/ReachableRows.h"

#include <algorithm>
#include <limits>

#include "platform/Sqlite.h"

namespace {

/// So many numbers are tried one by one where nothing tells which rows there are.
constexpr std::int64_t kMostTried = 1'000'000;

/// Whether the table was read to its end.
bool readInto(PDXSQLiteStatement rows, std::vector<std::int64_t>& numbers) {
  while (rows.step()) numbers.push_back(rows.int64(0));
  return !rows.failed();
}

}  // namespace

namespace PDXReachableRows {

Outcome forEach(const PDXSQLiteDatabase& database, const Query& query,
                const std::function<void(const PDXSQLiteStatement&)>& use) {
  Outcome outcome;
  std::vector<std::int64_t> read;
  auto rows = database.prepare(query.select + query.order);
  while (rows.step()) {
    read.push_back(rows.int64(0));
    use(rows);
  }
  outcome.why = rows.error();
  outcome.isInterrupted = rows.wasInterrupted();
  if (!rows.failed() || outcome.isInterrupted) return outcome;
  const std::string ofOne = " AND " + query.number + " = ?1";
  auto one = database.prepare(query.select + ofOne);
  auto bare = database.prepare(query.bare.empty() ? query.select + ofOne : query.bare + ofOne);
  for (const std::int64_t number : missed(database, query.table, {read.begin(), read.end()})) {
    bool isFailed = false;
    for (PDXSQLiteStatement* row : {&one, &bare}) {
      row->reset();
      row->bind(1, number);
      while (row->step()) use(*row);
      isFailed = row->failed();
      if (!isFailed) break;
    }
    if (isFailed) outcome.lost.push_back(number);
  }
  return outcome;
}

std::optional<std::size_t> count(const PDXSQLiteDatabase& database, const std::string& table,
                                 std::string& why) {
  for (const char* way : {" NOT INDEXED", ""}) {
    auto rows = database.prepare("SELECT count(1) FROM " + table + way);
    if (rows.step()) return static_cast<std::size_t>(rows.int64(0));
    if (why.empty()) why = rows.error();
  }
  return std::nullopt;
}

std::vector<std::int64_t> missed(const PDXSQLiteDatabase& database, const std::string& table,
                                 const std::unordered_set<std::int64_t>& read) {
  const std::string all = "SELECT rowid FROM " + table + " NOT INDEXED ORDER BY rowid";
  std::vector<std::int64_t> numbers;
  if (!readInto(database.prepare(all), numbers)) {
    const std::int64_t before = numbers.empty() ? 0 : numbers.back();
    const std::size_t known = numbers.size();
    readInto(database.prepare(all + " DESC"), numbers);
    constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();
    const std::int64_t near = std::min(before, kLast - kMostTried) + kMostTried / 10;
    const std::int64_t behind = numbers.size() == known ? near : numbers.back();
    // Within one transaction: locking the file for each look would take ten times as long as the look.
    const bool isBegun = database.run("BEGIN");
    auto one = database.prepare("SELECT rowid FROM " + table + " WHERE rowid = ?1");
    const bool isNear = before >= 0 && behind > before && behind - before <= kMostTried;
    for (std::int64_t number = before + 1; isNear && number < behind; ++number) {
      one.reset();
      one.bind(1, number);
      if (one.step()) numbers.push_back(number);
    }
    one.reset();
    if (isBegun) database.run("COMMIT");
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  }
  std::erase_if(numbers, [&read](std::int64_t number) { return read.contains(number); });
  return numbers;
}

}  // namespace PDXReachableRows
