#include "samples/Table.h"

#include <algorithm>

namespace {

std::string insertInto(std::string_view table, std::string_view columns) {
  std::string marks = "?";
  for (auto commas = std::count(columns.begin(), columns.end(), ','); commas > 0; --commas) marks += ",?";
  return "INSERT INTO " + std::string(table) + " (" + std::string(columns) + ") VALUES (" + marks + ")";
}

struct Bind {
  PDXSQLiteStatement& statement;
  int parameter;

  void operator()(std::nullptr_t) const { statement.bindNull(parameter); }
  void operator()(std::int64_t value) const { statement.bind(parameter, value); }
  void operator()(std::string_view value) const { statement.bind(parameter, value); }
  void operator()(const PDXBytes* value) const { statement.bind(parameter, *value); }
};

}  // namespace

PDXSampleTable::PDXSampleTable(const PDXSQLiteDatabase& database, std::string_view table,
                               std::string_view columns)
    : statement_(database.prepare(insertInto(table, columns))), failed_(!statement_.isValid()) {}

void PDXSampleTable::add(std::initializer_list<Value> values) {
  int parameter = 0;
  for (const Value& value : values) std::visit(Bind{statement_, ++parameter}, value);
  statement_.step();
  failed_ = failed_ || statement_.failed();
  statement_.reset();
}
