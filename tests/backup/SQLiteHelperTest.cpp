#include "backup/SQLiteHelper.h"

#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

TEST(SQLiteHelper, ProbesMindCaseAsEachPromises) {
  const PDXTestFolder folder;
  const PDXSQLiteDatabase database(PDXSampleDatabase()
                                       .table("Message", "Text, is_sent")
                                       .row("Message", nullptr, 1)
                                       .writeTo(folder / "a.db"));
  using Helper = PDXSQLiteHelper;
  EXPECT_TRUE(Helper::doesDatabaseContainTable(database, "Message"));
  EXPECT_FALSE(Helper::doesDatabaseContainTable(database, "message"));
  EXPECT_TRUE(Helper::doesDatabaseContainTableWithColumnNamed(database, "Message", "TEXT"));
  EXPECT_FALSE(Helper::doesDatabaseContainTableWithColumnNamed(database, "Message", "nothing"));

  const struct {
    const char* what;
    const char* table;
    std::vector<std::string> columns;
    bool expected;
  } cases[] = {
      {"all there", "Message", {"Text", "is_sent"}, true},
      {"another case", "Message", {"text"}, false},
      {"one missing", "Message", {"Text", "is_read"}, false},
      {"named twice", "Message", {"Text", "Text"}, false},
      {"none asked for, of no table", "nothing", {}, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Helper::doesDatabaseContainTableWithColumnNames(database, c.table, c.columns), c.expected)
        << c.what;
  }

  auto rows = database.prepare("SELECT Text, is_sent AS sent FROM Message");
  ASSERT_TRUE(rows.step());
  EXPECT_EQ(Helper::indexOfColumnNamedWithinStatment("sent", rows), 1);
  EXPECT_EQ(Helper::indexOfColumnNamedWithinStatment("Sent", rows), -1);
  EXPECT_TRUE(Helper::doesStatmentContainColumn(rows, "Text"));
  EXPECT_EQ(Helper::stringValueForColumnFromStatment(0, rows), "");
  EXPECT_EQ(Helper::stringValueForColumnFromStatment(1, rows), "1");
}

TEST(SQLiteHelper, SaysNoOfAHandleThatIsNotOpen) {
  const PDXSQLiteDatabase closed;
  EXPECT_FALSE(PDXSQLiteHelper::doesDatabaseContainTable(closed, "a"));
  EXPECT_FALSE(PDXSQLiteHelper::doesDatabaseContainTableWithColumnNames(closed, "a", {}));
  EXPECT_FALSE(PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(closed, "a", "b"));
}

}  // namespace
