#include "app/export/RowAccount.h"

#include <gtest/gtest.h>

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

}  // namespace
