#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

#include "platform/Bytes.h"
#include "platform/Sqlite.h"

/// Appends rows to one table of a store. It must not outlive its database.
class PDXSampleTable {
 public:
  /// What one column gets. Bytes are only read while a row is added.
  using Value = std::variant<std::nullptr_t, std::int64_t, std::string_view, const PDXBytes*>;

  /// @param columns  the names of those that get values, separated by commas; the others get their defaults.
  PDXSampleTable(const PDXSQLiteDatabase& database, std::string_view table, std::string_view columns);

  void add(std::initializer_list<Value> values);

  /// Whether the table or a column is missing, or a row was refused.
  bool failed() const { return failed_; }

  /// NULL for the empty text, as the device stores what nobody filled in.
  static Value textOrNull(std::string_view text) { return text.empty() ? Value(nullptr) : Value(text); }

 private:
  PDXSQLiteStatement statement_;
  bool failed_ = false;
};
