#include "tests/support/SampleDatabase.h"

#include <gtest/gtest.h>

#include "platform/Files.h"

namespace {

void insert(const PDXSQLiteDatabase& database, const std::string& table,
            const std::vector<PDXSampleDatabase::Value>& values) {
  auto columns = database.prepare("SELECT name FROM pragma_table_info(?)");
  columns.bind(1, std::string_view(table));
  std::string names;
  std::string marks;
  for (std::size_t i = 0; i < values.size() && columns.step(); ++i) {
    names += (i == 0 ? "\"" : ", \"") + columns.text(0) + "\"";
    marks += i == 0 ? "?" : ", ?";
  }
  auto statement = database.prepare("INSERT INTO " + table + " (" + names + ") VALUES (" + marks + ")");
  ASSERT_TRUE(statement.isValid()) << table << ": " << database.error();
  for (std::size_t i = 0; i < values.size(); ++i) {
    const int parameter = static_cast<int>(i) + 1;
    std::visit(
        [&](const auto& value) {
          using Type = std::decay_t<decltype(value)>;
          if constexpr (std::is_same_v<Type, std::nullptr_t>) {
            statement.bindNull(parameter);
          } else if constexpr (std::is_same_v<Type, std::string>) {
            statement.bind(parameter, std::string_view(value));
          } else {
            statement.bind(parameter, value);
          }
        },
        values[i]);
  }
  statement.step();
  ASSERT_FALSE(statement.failed()) << table << ": " << database.error();
}

}  // namespace

std::string PDXSampleDatabase::writeTo(const std::string& path) const {
  PDXFiles::remove(path);
  const PDXSQLiteDatabase database(path, PDXSQLiteAccess::create);
  EXPECT_TRUE(database.run("PRAGMA synchronous=OFF; PRAGMA journal_mode=MEMORY"));
  auto row = rows_.begin();
  for (std::size_t i = 0; i <= statements_.size(); ++i) {
    for (; row != rows_.end() && row->afterStatements == i; ++row) insert(database, row->table, row->values);
    if (i == statements_.size()) break;
    EXPECT_TRUE(database.run(statements_[i])) << statements_[i] << ": " << database.error();
  }
  return path;
}
