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

  EXPECT_EQ(database.prepare("SELECT * FROM \"\xFF\a\n\"").error(), "no such table: \xEF\xBF\xBD??")
      << "it quotes what may be anything";
  EXPECT_EQ(database.prepare("SELECT length(zeroblob(4000000))").step(), false)
      << "no value is longer than the file";

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

/// A page of a table's tree that has one child three hundred times.
std::string pageOfOneChild(char child, std::size_t headerAt) {
  constexpr std::size_t kPage = 4096;
  constexpr std::size_t kCells = 300;
  std::string page(kPage, '\0');
  const auto put = [&page](std::size_t at, std::size_t number) {
    page[at] = static_cast<char>(number >> 8);
    page[at + 1] = static_cast<char>(number & 0xFF);
  };
  std::size_t cell = kPage;
  for (std::size_t i = 0; i < kCells; ++i) {
    cell -= 6;
    page[cell + 3] = child;
    page[cell + 4] = static_cast<char>(0x80 | i / 128);
    page[cell + 5] = static_cast<char>(i % 128);
    put(headerAt + 12 + 2 * i, cell);
  }
  page[headerAt] = 5;
  put(headerAt + 3, kCells);
  put(headerAt + 5, cell);
  page[headerAt + 11] = child;
  return page;
}

TEST(Sqlite, AListOfTablesWithoutEndIsRefused) {
  constexpr std::size_t kPage = 4096;
  const PDXTestFolder folder;
  PDXSampleDatabase store;
  for (int i = 0; i < 20; ++i) store = store.table("t" + std::to_string(i), "a");
  std::string bytes = fileText(store.writeTo(folder / "a.db"));
  const char pages = static_cast<char>(bytes.size() / kPage);
  std::string leaf = bytes.substr(0, kPage);
  leaf.erase(0, 100).insert(8 + 2 * 20, 100, '\0');  // Only the first page has a header of the file.
  bytes.replace(100, kPage - 100, pageOfOneChild(static_cast<char>(pages + 2), 100), 100, kPage - 100);
  bytes += leaf + pageOfOneChild(static_cast<char>(pages + 1), 0);
  bytes[31] = static_cast<char>(pages + 2);
  const PDXSQLiteDatabase database(folder.write("a.db", bytes), PDXSQLiteAccess::immutable);
  EXPECT_EQ(database.whyUnreadable(), "the file is damaged: the list of its tables does not come to an end");
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

/// The first column of all rows, or why there are none.
std::string answer(const PDXSQLiteDatabase& database, const std::string& sql) {
  auto rows = database.prepare(sql);
  std::string text;
  while (rows.step()) text += rows.text(0) + ";";
  return rows.error().empty() ? text : rows.error();
}

TEST(Sqlite, NothingIsReadFromATableWithGeneratedColumns) {
  const PDXTestFolder folder;
  const PDXSampleDatabase others = PDXSampleDatabase().table("fine", "a").row("fine", 7);
  const std::string refusal =
      "the table \"t\" has generated columns, which no phone makes and which could compute for ever: it is "
      "not read";
  const char* const generated[] = {
      "TEXT GENERATED ALWAYS AS (upper(a)) VIRTUAL",
      "TEXT GENERATED ALWAYS AS (upper(a)) STORED",
      "AS/**/(a)",
      "AS (c || c), c AS (d || d), d AS (e || e), e AS (a)",
      "as --\n(a)",
  };
  const char* const reads[] = {
      "SELECT b FROM t",
      "SELECT a FROM T",
      "SELECT count(*) FROM t",
      "SELECT 1 FROM \"t\" AS x",
      "SELECT rowid FROM main.t WHERE rowid = 1",
      "SELECT fine.a FROM fine JOIN t",
      "SELECT a FROM fine WHERE a IN (SELECT rowid FROM t)",
      "WITH w AS (SELECT * FROM t) SELECT a FROM fine UNION SELECT a FROM w",
      "PRAGMA quick_check(1)",
      "CREATE INDEX i ON t(b)",
      "CREATE TEMP TABLE copy AS SELECT * FROM t",
      "UPDATE t SET a = 1",
      "DELETE FROM t",
      "INSERT INTO t(a) VALUES (1)",
  };
  for (const auto access : {PDXSQLiteAccess::scratch, PDXSQLiteAccess::immutable}) {
    for (const char* column : generated) {
      const PDXSQLiteDatabase database(others.sql(std::string("CREATE TABLE t (a, b ") + column + ")")
                                           .row("t", "x")
                                           .writeTo(folder / "a.db"),
                                       access);
      for (const char* sql : reads) EXPECT_EQ(answer(database, sql), refusal) << column << "\n" << sql;
      EXPECT_EQ(database.error(), refusal);
      EXPECT_FALSE(database.run("SELECT 1; SELECT a FROM t"));
      EXPECT_EQ(answer(database, "SELECT a FROM fine"), "7;") << column;
      EXPECT_EQ(answer(database, "SELECT name FROM pragma_table_info('t')"), "a;") << column;
    }
  }
}

/// What SQLite knows from this decides which index a query uses.
TEST(Sqlite, StatisticsAreUsedUnlessTheyAreGenerated) {
  const PDXTestFolder folder;
  const PDXSampleDatabase store = PDXSampleDatabase()
                                      .table("t", "a, b, c")
                                      .sql("CREATE INDEX ia ON t (a)")
                                      .sql("CREATE INDEX ib ON t (b)")
                                      .row("t", 1, 1, 1)
                                      .sql("ANALYZE");
  const struct {
    const char* fault;
    const char* statistics;
    const char* index;
  } cases[] = {
      {"none", "SELECT 1", "ib"},
      {"a is the better one",
       "INSERT INTO sqlite_stat1 VALUES ('t', 'ia', '9000 2'), ('t', 'ib', '9000 3000')", "ia"},
  };
  for (const auto& c : cases) {
    const PDXSQLiteDatabase database(
        store.sql("DELETE FROM sqlite_stat1").sql(c.statistics).writeTo(folder / "a.db"),
        PDXSQLiteAccess::immutable);
    auto plan = database.prepare("EXPLAIN QUERY PLAN SELECT c FROM t WHERE a = 1 AND b = 1");
    ASSERT_TRUE(plan.step()) << c.fault;
    EXPECT_EQ(plan.text(3), std::string("SEARCH t USING INDEX ") + c.index + " (" + c.index[1] + "=?)")
        << c.fault;
  }
  const PDXSQLiteDatabase forged(
      store
          .sql("PRAGMA writable_schema=ON; UPDATE sqlite_master SET sql = 'CREATE TABLE sqlite_stat1(tbl, "
               "idx, "
               "stat AS (upper(idx) || upper(idx) || upper(idx)))' WHERE name = 'sqlite_stat1'")
          .writeTo(folder / "a.db"));
  EXPECT_EQ(
      forged.whyUnreadable(),
      "its tables of statistics are not those that SQLite makes and could compute for ever: it is not read");
  EXPECT_EQ(answer(forged, "SELECT a FROM t"), forged.whyUnreadable());
}

TEST(Sqlite, VirtualTablesAndComputingWritesAreRefused) {
  const PDXTestFolder folder;
  const PDXSQLiteDatabase database(PDXSampleDatabase()
                                       .sql("CREATE VIRTUAL TABLE v USING fts4(a)")
                                       .sql("CREATE TABLE t (a CHECK (abs(a) < 5), b, kept DEFAULT 7)")
                                       .sql("CREATE INDEX i ON t (a) WHERE abs(b) > 0")
                                       .sql("CREATE TABLE d (a, b DEFAULT (abs(-7)))")
                                       .row("t", 1, 2)
                                       .writeTo(folder / "a.db"));
  EXPECT_EQ(answer(database, "SELECT a FROM v"), "no such module: fts4");
  EXPECT_EQ(answer(database, "SELECT c0a FROM v_content"), "") << "its rows are in an ordinary table";
  EXPECT_TRUE(database.run("UPDATE t SET kept = 1")) << database.error();
  EXPECT_EQ(answer(database, "UPDATE t SET b = 1"),
            "the table \"t\" computes values for its indexes or defaults: it is not written");
  EXPECT_FALSE(database.run("INSERT INTO t (kept) VALUES (1)"));
  EXPECT_FALSE(database.run("INSERT INTO d (a) VALUES (1)"));
  EXPECT_EQ(answer(database, "SELECT a || b || kept FROM t"), "121;");
  EXPECT_EQ(answer(database, "PRAGMA quick_check"), "ok;");
}

TEST(Sqlite, AnUnreadableEntryOfTheSchemaCostsItselfAlone) {
  const PDXTestFolder folder;
  const PDXSampleDatabase whole =
      PDXSampleDatabase()
          .table("kept", "a, b")
          .sql("CREATE INDEX kept_index ON kept (a)")
          .sql("CREATE TRIGGER kept_trigger AFTER INSERT ON kept BEGIN DELETE FROM kept; END")
          .sql("CREATE VIEW kept_view AS SELECT a FROM kept")
          .table("other", "a")
          .row("other", 8)
          .sql("CREATE INDEX other_index ON other (a)")
          .sql("DROP TRIGGER kept_trigger")
          .row("kept", 7)
          .sql("CREATE TRIGGER kept_trigger AFTER INSERT ON kept BEGIN DELETE FROM kept; END")
          .sql("PRAGMA writable_schema=ON");
  const struct {
    const char* name;
    const char* kept;
    const char* other;
    const char* said;
  } cases[] = {
      {"kept_trigger", "7;", "8;", ""},
      {"kept_view", "7;", "8;", ""},
      {"kept_index", "7;", "8;", ""},
      {"other", "7;", "no such table: other (malformed database schema (other) - near \"TA\": syntax error)",
       "malformed database schema (other) - near \"TA\": syntax error; tables that are lost: other"},
  };
  for (const auto& c : cases) {
    for (const char* text : {"CREATE TA\x01LE (("}) {
      for (const auto access : {PDXSQLiteAccess::scratch, PDXSQLiteAccess::immutable}) {
        std::string said;
        PDXLog::listen([&said](const PDXProblem& problem) { said += problem.why; });
        const PDXSQLiteDatabase database(whole
                                             .sql(std::string("UPDATE sqlite_master SET sql = '") + text +
                                                  "' WHERE name = '" + c.name + "'")
                                             .writeTo(folder / "a.db"),
                                         access);
        PDXLog::listen({});
        EXPECT_EQ(answer(database, "SELECT a FROM kept WHERE a = 7"), c.kept)
            << c.name << ": " << database.error();
        EXPECT_EQ(answer(database, "SELECT a FROM other"), c.other) << c.name;
        EXPECT_EQ(said, c.said) << c.name;
        EXPECT_NE(database.schemaDamage(), "") << c.name;
        EXPECT_EQ(database.whyUnreadable(), "") << c.name;
        EXPECT_FALSE(database.run("DELETE FROM sqlite_master")) << "defensive mode holds";
        EXPECT_EQ(database.run("CREATE INDEX added ON kept (b)"), access == PDXSQLiteAccess::scratch)
            << c.name;
        EXPECT_EQ(answer(database, "SELECT a FROM kept"), c.kept) << "behind a change of the schema";
      }
    }
  }
}

}  // namespace
