#pragma once

#include <string>
#include <vector>

#include "platform/Sqlite.h"

/// Looks at the schema of a device database before a query is chosen, and reads text safely. The device's
/// databases change their tables from one system release to the next.
///
/// Errors: every failure (a handle that is not open, SQL that does not compile) is the negative answer.
/// Threads: without state; a handle belongs to one thread at a time.
class PDXSQLiteHelper {
 public:
  /// Whether the table exists; case counts. `table` goes into the SQL as it stands.
  static bool doesDatabaseContainTable(const PDXSQLiteDatabase& database, const std::string& table);

  /// Whether the table has all of the columns; case counts. A list that names a column twice is never
  /// satisfied, an empty one always.
  static bool doesDatabaseContainTableWithColumnNames(const PDXSQLiteDatabase& database,
                                                      const std::string& table,
                                                      const std::vector<std::string>& columns);

  /// Whether the table has the column; case does not count.
  static bool doesDatabaseContainTableWithColumnNamed(const PDXSQLiteDatabase& database,
                                                      const std::string& table, const std::string& column);

  /// Says in the log which of the tables a readable store lacks, as one problem. For tables that the stores
  /// of every system have: one that is gone takes its part of the content along.
  /// @param what, where  as PDXProblem has them.
  static void reportMissingTables(const PDXSQLiteDatabase& database, const std::vector<std::string>& tables,
                                  const std::string& what, const std::string& where);

  /// The first result column of that name, from 0; case counts. -1 when there is none.
  static int indexOfColumnNamedWithinStatment(const std::string& column, const PDXSQLiteStatement& statement);

  /// Whether there is a result column of that name; case counts.
  static bool doesStatmentContainColumn(const PDXSQLiteStatement& statement, const std::string& column);

  /// The current row's text; "" for NULL.
  static std::string stringValueForColumnFromStatment(int column, const PDXSQLiteStatement& statement);
};
