#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/Date.h"

/// What to load of a conversation.
struct PDXMessagesQuery {
  std::optional<PDXDate> startDate;       ///< The first moment that is taken in.
  std::optional<PDXDate> endDate;         ///< The first moment that is not.
  std::optional<std::string> searchTerm;  ///< Goes into the SQL as it stands: a quote makes it match nothing.

  /// Also loads what the given statements cannot reach: in the older layouts, and texts that only the
  /// attributed body holds. Without a search term.
  bool reachesEverything = false;

  bool hasDates() const { return startDate || endDate; }
  bool hasTerm() const { return searchTerm && !searchTerm->empty(); }

  /// The range in whole seconds since 2001; `noEnd` without an end date.
  std::int64_t startSeconds() const { return startDate ? PDXDates::referenceSeconds(*startDate) : 0; }
  std::int64_t endSeconds(std::int64_t noEnd) const {
    return endDate ? PDXDates::referenceSeconds(*endDate) : noEnd;
  }
};
