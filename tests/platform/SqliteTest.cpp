#include "platform/Sqlite.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/Log.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

using namespace std::string_literals;

namespace {

TEST(Sqlite, WhatIsNoDatabaseIsSafeToAsk) {
  const PDXTestFolder folder;
  const struct {
    const char* fault;
    std::string path;
    std::string error;
  } cases[] = {
      {"no path", "", "cannot be opened"},
      {"missing", folder / "missing.db", "cannot be opened"},
      {"folder", folder.path(), "cannot be opened"},
      {"text", folder.write("text.db", std::string(4096, 'x')), "file is not a database"},
      {"cut off in its header", folder.write("cut.db", "SQLite format 3\0\x10"s), "file is not a database"},
  };
  for (const auto& c : cases) {
    const PDXSQLiteDatabase database(c.path);
    auto rows = database.prepare("SELECT name FROM sqlite_master");
    EXPECT_FALSE(rows.isValid()) << c.fault;
    EXPECT_FALSE(rows.step()) << c.fault;
    EXPECT_EQ(rows.columnCount(), 0) << c.fault;
    EXPECT_EQ(rows.text(0), "") << c.fault;
    EXPECT_FALSE(database.run("CREATE TABLE t(a)")) << c.fault;
    EXPECT_EQ(database.error(), c.error) << c.fault;
  }
  EXPECT_FALSE(PDXFiles::exists(folder / "missing.db")) << "reading must not make a file";
}

TEST(Sqlite, ReadsOddValues) {
  const PDXTestFolder folder;
  const PDXSQLiteDatabase database(PDXSampleDatabase()
                                       .table("t", "a, b, c, d")
                                       .row("t", nullptr, "a\0b"s, std::int64_t{INT64_MIN}, PDXBytes{0, 1})
                                       .sql("UPDATE t SET a = NULL")
                                       .sql("INSERT INTO t VALUES (CAST(x'61ff62' AS TEXT), 'x', 'y', x'')")
                                       .writeTo(folder / "a.db"));
  auto rows = database.prepare("SELECT a, b, c, d FROM t");
  EXPECT_TRUE(rows.isNull(0)) << "before the first row";
  ASSERT_TRUE(rows.step());
  EXPECT_TRUE(rows.isNull(0));
  EXPECT_EQ(rows.int64(0), 0);
  EXPECT_EQ(rows.text(0), "");
  EXPECT_EQ(rows.text(1), "a\0b"s);
  EXPECT_EQ(rows.int64(2), INT64_MIN);
  EXPECT_EQ(rows.blob(3), (PDXBytes{0, 1}));
  for (const int missing : {-1, 4, 99}) {
    EXPECT_TRUE(rows.isNull(missing)) << missing;
    EXPECT_EQ(rows.int64(missing), 0) << missing;
    EXPECT_EQ(rows.columnName(missing), "") << missing;
  }
  ASSERT_TRUE(rows.step());
  EXPECT_EQ(rows.text(0),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_FALSE(rows.isNull(3));
  EXPECT_EQ(rows.blob(3), PDXBytes());
  EXPECT_FALSE(rows.step());
  EXPECT_FALSE(rows.failed());
  EXPECT_TRUE(rows.isNull(0)) << "behind the last row";
}

TEST(Sqlite, StatementsThatCannotWorkSaySo) {
  const PDXTestFolder folder;
  const PDXSQLiteDatabase database(
      PDXSampleDatabase().table("t", "a").row("t", 1).row("t", 2).writeTo(folder / "a.db"));
  auto wrong = database.prepare("SELECT 'it's'");
  wrong.bind(1, std::string_view("x"));
  wrong.reset();
  EXPECT_FALSE(wrong.isValid());
  EXPECT_FALSE(wrong.step());

  auto fails = database.prepare("SELECT abs(CASE a WHEN 2 THEN -9223372036854775807 - 1 ELSE a END) FROM t");
  EXPECT_TRUE(fails.step());
  EXPECT_FALSE(fails.step());
  EXPECT_TRUE(fails.failed()) << "an end and a failure differ";

  auto bound = database.prepare("SELECT count(*) FROM t WHERE a > ?");
  for (const auto& [above, count] : {std::pair{0, 2}, {1, 1}, {2, 0}}) {
    bound.reset();
    bound.bind(1, std::int64_t{above});
    ASSERT_TRUE(bound.step());
    EXPECT_EQ(bound.int64(0), count);
  }
}

TEST(Sqlite, HostileSchemasDoNothing) {
  const PDXTestFolder folder;
  const PDXSQLiteDatabase database(PDXSampleDatabase()
                                       .table("t", "a")
                                       .sql("CREATE TRIGGER r AFTER INSERT ON t BEGIN DELETE FROM t; END")
                                       .writeTo(folder / "a.db"));
  EXPECT_TRUE(database.run("INSERT INTO t VALUES (1)"));
  auto rows = database.prepare("SELECT count(*) FROM t");
  ASSERT_TRUE(rows.step());
  EXPECT_EQ(rows.int64(0), 1);
  EXPECT_FALSE(database.run("PRAGMA writable_schema=ON; DELETE FROM sqlite_master"));
}

TEST(Sqlite, ImmutableLeavesTheFolderAlone) {
  const PDXTestFolder folder;
  for (const std::string name : {"plain", "100%25?mode=rwc#1", "It's \"Zoë\"", "/slashes"}) {
    ASSERT_TRUE(PDXFiles::makeFolders(folder / name));
    const std::string path = PDXSampleDatabase()
                                 .sql("PRAGMA journal_mode=WAL")
                                 .table("t", "a")
                                 .row("t", 7)
                                 .writeTo((folder / name) + "/a.db");
    ASSERT_EQ(fileText(path).substr(18, 2), "\x02\x02") << "the header asks for a write-ahead log";
    const PDXSQLiteDatabase database(path, PDXSQLiteAccess::immutable);
    auto rows = database.prepare("SELECT a FROM t");
    ASSERT_TRUE(rows.step()) << name << ": " << database.error();
    EXPECT_EQ(rows.int64(0), 7);
    EXPECT_FALSE(database.run("INSERT INTO t VALUES (8)"));
    EXPECT_EQ(PDXFiles::list(folder / name), std::vector<std::string>{"a.db"}) << name;
  }
  PDXSampleDatabase().table("t", "a").writeTo(folder / "b.db");
  const PDXSQLiteDatabase database("/" + (folder / "b.db"), PDXSQLiteAccess::immutable);
  EXPECT_TRUE(database.isOpen()) << "a path that begins with two slashes";
}

TEST(Sqlite, DamageThatNobodyAsksAboutIsSaidOnce) {
  constexpr std::size_t kPage = 4096;
  const PDXTestFolder folder;
  std::string bytes = fileText(PDXSampleDatabase().table("t", "a").row("t", 1).writeTo(folder / "a.db"));
  bytes.replace(kPage, kPage, kPage, '\0');
  const std::string path = folder.write("a.db", bytes);
  std::vector<std::string> said;
  const auto before = PDXLog::listen([&](const PDXProblem& problem) { said.push_back(problem.why); });
  {
    const PDXSQLiteDatabase database(path);
    auto rows = database.prepare("SELECT a FROM t");
    EXPECT_FALSE(rows.step());
    rows.reset();
    EXPECT_FALSE(PDXSQLiteStatement(std::move(rows)).step());
  }
  EXPECT_EQ(said, std::vector<std::string>{"database disk image is malformed"});
  {
    const PDXSQLiteDatabase database(path);
    auto rows = database.prepare("SELECT a FROM t");
    EXPECT_FALSE(rows.step());
    EXPECT_TRUE(rows.failed());
  }
  EXPECT_EQ(said.size(), 1U) << "who asks says it";
  PDXLog::listen(before);
}

TEST(Sqlite, AForgedHeaderDoesNotBlowUpACutFile) {
  const PDXTestFolder folder;
  const std::string path = PDXSampleDatabase().table("t", "a").row("t", 7).writeTo(folder / "a.db");
  std::string bytes = fileText(path);
  bytes.replace(28, 4, "\x00\x6A\xCF\xC0"s);
  folder.write("a.db", bytes);
  EXPECT_EQ(PDXSQLiteDatabase::completeCutFile(path), "the file is cut short: 2 of 7000000 pages are there");
  EXPECT_EQ(PDXFiles::sizeOf(path), std::uint64_t{16} << 20);
  EXPECT_TRUE(PDXSQLiteDatabase::isWholeFile(path));
  const PDXSQLiteDatabase database(path);
  auto row = database.prepare("SELECT a FROM t");
  EXPECT_TRUE(row.step());
  EXPECT_EQ(row.int64(0), 7);
}

}  // namespace
