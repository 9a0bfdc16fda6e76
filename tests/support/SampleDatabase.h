#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Sqlite.h"

/// Builds a small database file for one test: tables with untyped columns, and rows.
/// Rows give the first columns of their table; further columns stay NULL.
class PDXSampleDatabase {
 public:
  using Value = std::variant<std::nullptr_t, std::int64_t, double, std::string, PDXBytes>;

  PDXSampleDatabase table(const std::string& name, const std::string& columns) && {
    return std::move(*this).sql("CREATE TABLE " + name + " (" + columns + ")");
  }

  template <typename... Values>
  PDXSampleDatabase row(const std::string& table, Values... values) && {
    rows_.push_back({statements_.size(), table, {value(values)...}});
    return std::move(*this);
  }

  PDXSampleDatabase sql(const std::string& statement) && {
    statements_.push_back(statement);
    return std::move(*this);
  }

  template <typename... Arguments>
  PDXSampleDatabase table(const std::string& name, const std::string& columns) const& {
    return PDXSampleDatabase(*this).table(name, columns);
  }
  template <typename... Values>
  PDXSampleDatabase row(const std::string& table, Values... values) const& {
    return PDXSampleDatabase(*this).row(table, values...);
  }
  PDXSampleDatabase sql(const std::string& statement) const& {
    return PDXSampleDatabase(*this).sql(statement);
  }

  /// Writes the file, replacing an older one, and answers its path.
  std::string writeTo(const std::string& path) const;

 private:
  struct Row {
    std::size_t afterStatements;
    std::string table;
    std::vector<Value> values;
  };
  static Value value(std::nullptr_t) { return nullptr; }
  static Value value(int number) { return std::int64_t{number}; }
  static Value value(std::int64_t number) { return number; }
  static Value value(double number) { return number; }
  static Value value(const char* text) { return std::string(text); }
  static Value value(std::string text) { return text; }
  static Value value(PDXBytes bytes) { return bytes; }

  std::vector<std::string> statements_;
  std::vector<Row> rows_;
};
