#pragma once

#include <cstddef>
#include <optional>
#include <string>

class PDXSQLiteDatabase;

/// The table that tells which addresses took part in which call. The numbers in its names change from one
/// system to the next.
///
/// Source: Z_<call>REMOTEPARTICIPANTHANDLES, columns Z_<call>REMOTEPARTICIPANTCALLS and
/// Z_<handle>REMOTEPARTICIPANTHANDLES; the numbers are those of Z_PRIMARYKEY.
struct PDXCallHandleTable {
  std::string table;
  std::string callColumn;
  std::string handleColumn;

  /// Nothing for a store that has no such table, or none of addresses. One without the other is said in the
  /// log.
  /// @param path  the store's.
  static std::optional<PDXCallHandleTable> of(const PDXSQLiteDatabase& store, const std::string& path);

  /// Says in the log which calls name an address that the store does not hold.
  /// @param foundRows  how many rows have both; when that is all of them nothing is looked for.
  void reportLostHandles(const PDXSQLiteDatabase& store, const std::string& path,
                         std::size_t foundRows) const;
};
