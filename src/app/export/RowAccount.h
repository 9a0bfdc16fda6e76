#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "messages/MessageRowCounts.h"

/// What became of the rows of a store's tables: `rows` and `repeated` together are those that were written,
/// those left out and those unaccounted for.
struct PDXRowAccount {
  struct Reason {
    std::string why;
    std::size_t rows = 0;
  };

  std::size_t rows = 0;
  std::size_t repeated = 0;  ///< Further times that a row was to be written, since two conversations hold it.
  std::vector<Reason> leftOut;   ///< In a fixed order, also those that apply to no row.
  std::int64_t unaccounted = 0;  ///< Negative when more was written than the tables made expect.

  /// @param written    how many messages the pages hold.
  /// @param hasFilter  whether a range or a search chose them: then the filter explains those not written.
  static PDXRowAccount of(const PDXMessageRowCounts& counts, std::size_t written, bool hasFilter);

  std::size_t leftOutRows() const;

  /// The reasons that apply, e.g. "2 recently deleted, 1 in no conversation".
  std::string leftOutText() const;
};
