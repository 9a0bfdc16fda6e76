#include "app/export/StoreAccount.h"

#include <numeric>
#include <utility>

PDXStoreAccount PDXStoreAccount::of(std::string store, const std::optional<PDXRowAccount>& rows,
                                    std::size_t written) {
  PDXStoreAccount account;
  account.store = std::move(store);
  if (!rows) {
    account.why = "a table is missing or damaged";
    return account;
  }
  account.rows = rows->rows;
  account.repeated = rows->repeated;
  account.written = written;
  account.leftOut = rows->leftOut;
  return account;
}

std::int64_t PDXStoreAccount::unaccounted() const {
  if (!rows) return 0;
  const std::size_t known =
      std::accumulate(leftOut.begin(), leftOut.end(), written + unreadable,
                      [](std::size_t sum, const PDXRowAccount::Reason& reason) { return sum + reason.rows; });
  return static_cast<std::int64_t>(*rows + repeated) - static_cast<std::int64_t>(known);
}

void PDXStoreAccount::settleDamage() {
  if (unaccounted() < 0) {
    rows.reset();
    why = "damage makes its counts differ from what could be read";
  }
  unreadable += static_cast<std::size_t>(unaccounted());
}

std::string PDXStoreAccount::text() const {
  if (!why.empty()) return "the rows of " + store + " could not be counted: " + why;
  if (unreadable > 0)
    return std::to_string(unreadable) + (unreadable == 1 ? " row of " : " rows of ") + store +
           " could not be read";
  return "";
}
