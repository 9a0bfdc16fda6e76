#include "app/export/RowAccount.h"

#include <gtest/gtest.h>

#include "app/export/ExportReport.h"

namespace {

TEST(RowAccount, WhatIsMissingIsFilteredOrUnaccounted) {
  const PDXMessageRowCounts counts = {.rows = 20,
                                      .expected = 14,
                                      .repeated = 2,
                                      .withoutContent = 1,
                                      .damagedText = 0,
                                      .notWanted = 3,
                                      .withoutParticipants = 0,
                                      .recentlyDeleted = 3,
                                      .inNoConversation = 1};
  const struct {
    std::size_t written;
    bool hasFilter;
    std::size_t leftOut;
    std::int64_t unaccounted;
    const char* text;
  } cases[] = {
      {14, false, 8, 0, "1 in no conversation, 3 recently deleted, 1 no text and no attachment, 3 filtered"},
      {10, true, 12, 0, "1 in no conversation, 3 recently deleted, 1 no text and no attachment, 7 filtered"},
      {10, false, 8, 4, "1 in no conversation, 3 recently deleted, 1 no text and no attachment, 3 filtered"},
      {15, true, 8, -1, "1 in no conversation, 3 recently deleted, 1 no text and no attachment, 3 filtered"},
  };
  for (const auto& c : cases) {
    const auto account = PDXRowAccount::of(counts, c.written, c.hasFilter);
    EXPECT_EQ(account.leftOutRows(), c.leftOut) << c.written;
    EXPECT_EQ(account.unaccounted, c.unaccounted) << c.written;
    EXPECT_EQ(account.leftOutText(), c.text) << c.written;
    EXPECT_EQ(static_cast<std::int64_t>(account.rows + account.repeated),
              static_cast<std::int64_t>(c.written + c.leftOut) + c.unaccounted);
  }
}

TEST(StoreAccount, AddsUpOrSaysWhyNot) {
  const PDXRowAccount rows{.rows = 10, .repeated = 1, .leftOut = {{"filtered", 2}}};
  PDXKindReport kind;
  kind.kind = "calls";
  kind.accounts = {PDXStoreAccount::of("a.db", rows, 6), PDXStoreAccount::of("b.db", std::nullopt, 0)};
  EXPECT_EQ(kind.accounts[0].unaccounted(), 3);
  kind.settleAccounts({{.what = "notes", .where = "c.db", .why = "damaged"}});
  EXPECT_EQ(kind.accounts[0].unaccounted(), 3) << "damage elsewhere explains nothing";
  kind.settleAccounts({{.what = "x", .where = "a.db", .why = "damaged"}});
  EXPECT_EQ(kind.accounts[0].unaccounted(), 0);
  EXPECT_EQ(kind.accounts[0].text(), "3 rows of a.db could not be read");
  EXPECT_EQ(kind.accounts[1].text(), "the rows of b.db could not be counted: a table is missing or damaged");
  kind.entries = PDXEntriesReport{.one = "call", .many = "calls", .rows = rows};
  kind.accounts = {PDXStoreAccount::of("a.db", rows, 12)};
  kind.settleAccounts({{.what = "calls", .where = "elsewhere", .why = "damaged"}});
  EXPECT_FALSE(kind.accounts[0].rows || kind.entries->rows) << "more was written than was counted";
  EXPECT_EQ(kind.accounts[0].text(),
            "the rows of a.db could not be counted: damage makes its counts differ from what could be read");
  PDXExportReport report;
  report.kinds = {kind};
  EXPECT_FALSE(report.isComplete());
}

}  // namespace
