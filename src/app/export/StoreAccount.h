#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/export/RowAccount.h"

/// What became of the rows of one store. A kind with two stores has two of them.
///
/// `rows` and `repeated` together are those that were written, left out, unreadable and unaccounted for.
/// Where damage keeps the rows from being counted there are no figures, only the reason.
struct PDXStoreAccount {
  std::string store;                ///< The file's name on the device.
  std::optional<std::size_t> rows;  ///< Counted by SQL, apart from the reader.
  std::string why;                  ///< Why they could not be counted; "" when they were.
  std::size_t repeated = 0;
  std::size_t written = 0;
  std::vector<PDXRowAccount::Reason> leftOut;
  std::size_t unreadable = 0;

  /// @param rows  nothing when they could not be counted.
  static PDXStoreAccount of(std::string store, const std::optional<PDXRowAccount>& rows, std::size_t written);

  /// Rows of which nobody knows what became; 0 without figures.
  std::int64_t unaccounted() const;

  /// For a store with damage: rows that are missing could not be read, and where more was written than the
  /// counts allow, damage keeps them from being right.
  void settleDamage();

  /// Whether every row was read, as far as anybody knows.
  bool isComplete() const { return why.empty() && unreadable == 0 && unaccounted() == 0; }

  /// What a person should know: "3 rows of sms.db could not be read"; "" when nothing.
  std::string text() const;
};
