#include "app/export/RowAccount.h"

#include <algorithm>
#include <numeric>

PDXRowAccount PDXRowAccount::of(const PDXMessageRowCounts& counts, std::size_t written, bool hasFilter) {
  const auto missing = static_cast<std::int64_t>(counts.expected) - static_cast<std::int64_t>(written);
  const std::int64_t filtered = hasFilter ? std::max<std::int64_t>(missing, 0) : 0;
  return {.rows = counts.rows,
          .repeated = counts.repeated,
          .leftOut = {{"in no conversation", counts.inNoConversation},
                      {"chat without participants", counts.withoutParticipants},
                      {"recently deleted", counts.recentlyDeleted},
                      {"no text and no attachment", counts.withoutContent},
                      {"damaged text", counts.damagedText},
                      {"filtered", counts.notWanted + static_cast<std::size_t>(filtered)}},
          .unaccounted = missing - filtered};
}

std::size_t PDXRowAccount::leftOutRows() const {
  return std::accumulate(leftOut.begin(), leftOut.end(), std::size_t{0},
                         [](std::size_t sum, const Reason& reason) { return sum + reason.rows; });
}

std::string PDXRowAccount::leftOutText() const {
  std::string text;
  for (const Reason& reason : leftOut) {
    if (reason.rows > 0) text += (text.empty() ? "" : ", ") + std::to_string(reason.rows) + " " + reason.why;
  }
  return text;
}
