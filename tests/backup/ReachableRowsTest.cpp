#include "backup/ReachableRows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <limits>

#include "backup/RowEstimate.h"
#include "platform/Files.h"
#include "platform/Sqlite.h"
#include "tests/support/TestFolder.h"

namespace {

constexpr std::int64_t kRows = 2000;
constexpr std::size_t kPage = 512;

/// A table of so many rows, each on a page with few others, all of which have `step` between their numbers.
/// @param base  the number before the first.
std::string writeTable(const PDXTestFolder& folder, std::int64_t step, std::int64_t base = 0) {
  std::string path = folder / "rows.db";
  PDXFiles::remove(path);
  const PDXSQLiteDatabase database(path, PDXSQLiteAccess::create);
  EXPECT_TRUE(database.run("PRAGMA page_size=512; BEGIN; CREATE TABLE t (a)"));
  for (std::int64_t i = 1, number = base; i <= kRows; ++i) {
    number += step;
    database.run("INSERT INTO t (rowid, a) VALUES (" + std::to_string(number) + ", zeroblob(100))");
  }
  EXPECT_TRUE(database.run("COMMIT"));
  return path;
}

void damage(const std::string& path, std::size_t page) {
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(static_cast<std::streamoff>(page * kPage));
  file << std::string(kPage, 'x');
}

/// Makes each of the table's first pages lead to the next one again and again.
void makeEndless(const std::string& path) {
  constexpr std::size_t kCells = 60;
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  for (std::size_t page = 1; page <= 10; ++page) {
    const char next = static_cast<char>(page + 2);
    std::string bytes(kPage, '\0');
    bytes[0] = 5;
    bytes[4] = static_cast<char>(kCells);
    bytes[11] = next;
    for (std::size_t i = 0; i < kCells; ++i) {
      const std::size_t at = kPage - 5 * (i + 1);
      bytes[12 + 2 * i] = static_cast<char>(at >> 8);
      bytes[13 + 2 * i] = static_cast<char>(at & 0xFF);
      bytes[at + 3] = next;
      bytes[at + 4] = static_cast<char>(i + 1);
    }
    bytes[5] = static_cast<char>((kPage - 5 * kCells) >> 8);
    bytes[6] = static_cast<char>((kPage - 5 * kCells) & 0xFF);
    file.seekp(static_cast<std::streamoff>(page * kPage));
    file << bytes;
  }
}

TEST(ReachableRows, NumbersAtTheirEndsDoNotOverflow) {
  constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kFirst = std::numeric_limits<std::int64_t>::min();
  const PDXTestFolder folder;
  const std::string atEnd = writeTable(folder, 1, kLast - kRows);
  damage(atEnd, static_cast<std::size_t>(*PDXFiles::sizeOf(atEnd)) / kPage - 1);
  EXPECT_GE(PDXReachableRows::missed(PDXSQLiteDatabase(atEnd), "t", {}).size(), 1900U);
  const std::string farApart = writeTable(folder, kLast / kRows * 2, kFirst);
  damage(farApart, 150);
  damage(farApart, 400);
  EXPECT_GE(PDXReachableRows::missed(PDXSQLiteDatabase(farApart), "t", {}).size(), 900U);
}

TEST(ReachableRows, RowsThatDoNotEndAreLeft) {
  const PDXTestFolder folder;
  const std::string path = writeTable(folder, 1);
  makeEndless(path);
  const PDXSQLiteDatabase database(path);
  auto rows = database.prepare("SELECT a FROM t");
  std::size_t count = 0;
  while (rows.step()) ++count;
  EXPECT_GE(count, 300'000U);
  EXPECT_TRUE(rows.failed());
  EXPECT_FALSE(rows.wasInterrupted()) << "nobody asked for a stop";
  EXPECT_EQ(rows.error(), "the file is damaged: its rows do not come to an end");
  EXPECT_EQ(PDXRowEstimate::of(database, "t"), 0U) << "room for them is not asked for";
  EXPECT_LE(PDXReachableRows::missed(database, "t", {}).size(), 2'000U);
}

TEST(ReachableRows, GoesAroundDamage) {
  const PDXTestFolder folder;
  const struct {
    const char* fault;
    std::int64_t step;
    std::vector<std::size_t> pages;
    std::size_t atLeast;
  } cases[] = {
      {"none", 1, {}, 2000},
      {"in the middle, seen from both ends", 1'000'000, {250}, 1950},
      {"in two places, numbers close together", 1, {150, 400}, 1900},
      {"in two places, numbers far apart", 1'000'000'000, {150, 400}, 900},
  };
  for (const auto& c : cases) {
    const std::string path = writeTable(folder, c.step);
    for (const std::size_t page : c.pages) damage(path, page);
    const PDXSQLiteDatabase database(path);
    const auto found = PDXReachableRows::missed(database, "t", {c.step, 2 * c.step});
    EXPECT_GE(found.size() + 2, c.atLeast) << c.fault;
    EXPECT_LE(found.size() + 2, 2000 - c.pages.size()) << c.fault;
    EXPECT_TRUE(std::is_sorted(found.begin(), found.end())) << c.fault;
    EXPECT_EQ(found.front(), 3 * c.step) << c.fault;
    EXPECT_EQ(found.back(), kRows * c.step) << c.fault;
    EXPECT_EQ(std::adjacent_find(found.begin(), found.end()), found.end()) << c.fault;
  }
  EXPECT_TRUE(PDXReachableRows::missed(PDXSQLiteDatabase(), "t", {}).empty());
}

}  // namespace
