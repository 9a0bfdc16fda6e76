#include "backup/ReachableRows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "platform/Sqlite.h"
#include "tests/support/TestFolder.h"

namespace {

constexpr std::int64_t kRows = 2000;
constexpr std::size_t kPage = 512;

/// A table of so many rows, each on a page with few others, all of which have `step` between their numbers.
std::string writeTable(const PDXTestFolder& folder, std::int64_t step) {
  const std::string path = folder / "rows.db";
  PDXFiles::remove(path);
  const PDXSQLiteDatabase database(path, PDXSQLiteAccess::create);
  EXPECT_TRUE(database.run("PRAGMA page_size=512; BEGIN; CREATE TABLE t (a)"));
  for (std::int64_t i = 1; i <= kRows; ++i)
    database.run("INSERT INTO t (rowid, a) VALUES (" + std::to_string(i * step) + ", zeroblob(100))");
  EXPECT_TRUE(database.run("COMMIT"));
  return path;
}

void damage(const std::string& path, std::size_t page) {
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(static_cast<std::streamoff>(page * kPage));
  file << std::string(kPage, 'x');
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
