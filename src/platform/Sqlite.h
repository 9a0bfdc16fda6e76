#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>

#include "platform/Bytes.h"

struct sqlite3;
struct sqlite3_stmt;
struct PDXSQLiteWatch;

/// How a database file is opened.
enum class PDXSQLiteAccess {
  scratch,    ///< Read and write, for copies of ours: SQLite may replay a write-ahead log.
  immutable,  ///< Nothing is written, not even beside the file, whatever its header says and lies there.
  create,     ///< Makes the file when it is missing. For databases that we write ourselves.
};

class PDXSQLiteStatement;

/// A database handle, closed when it goes out of scope. Databases of a backup are hostile: the handle is in
/// defensive mode and trusts no schema, and no statement works longer or gives more rows than a sound file of
/// that size can ask for: pages that lead to each other hold rows without end in a few bytes. Statements on a
/// table with generated columns do not compile, since those compute whatever the file says. One that did
/// not open is safe to use: it has no tables.
class PDXSQLiteDatabase {
 public:
  /// A handle that is not open.
  PDXSQLiteDatabase();
  explicit PDXSQLiteDatabase(const std::string& path, PDXSQLiteAccess access = PDXSQLiteAccess::scratch);
  ~PDXSQLiteDatabase();
  PDXSQLiteDatabase(PDXSQLiteDatabase&&) noexcept;
  PDXSQLiteDatabase& operator=(PDXSQLiteDatabase&&) noexcept;

  /// Makes every statement of handles opened from now on end within a tenth of a second of a stop request, as
  /// if in an error. For the whole process; an empty token undoes it.
  static void interruptWith(std::stop_token stop);

  /// Lengthens a scratch copy that is shorter than its header says, as a copy that was cut off is: SQLite
  /// refuses such a file whole, but reads what is there of one with empty pages at its end. A header that
  /// counts a great many more pages than there are is made to count fewer instead.
  /// @return what was wrong, in a few words; "" when nothing was.
  static std::string completeCutFile(const std::string& path);

  /// Whether the file begins as a database does and holds all the pages that its header counts.
  static bool isWholeFile(const std::string& path);

  /// Whether the file opened. A file that is no database may open; its statements then do not compile.
  bool isOpen() const { return handle_ != nullptr; }

  /// What the last failed call said; "not an error" when none failed, "cannot be opened" without a handle.
  std::string error() const;

  /// Why nothing can be read from the file; "" when it is a database.
  std::string whyUnreadable() const;

  /// What is wrong with the list of its tables when only a part of it could be read; "" otherwise.
  std::string schemaDamage() const;

  PDXSQLiteStatement prepare(std::string_view sql) const;

  /// Runs statements that give no rows. False on an error.
  bool run(const std::string& sql) const;

 private:
  struct Close {
    void operator()(sqlite3* handle) const noexcept;
  };
  std::shared_ptr<PDXSQLiteWatch> watch_;  ///< At a fixed place, since the handle looks at it.
  std::unique_ptr<sqlite3, Close> handle_;
};

/// A prepared statement, finalized when it goes out of scope. One whose SQL did not compile is safe to use:
/// it has no columns and no rows. It must not outlive its database.
///
/// Damage is never passed over: where a step fails and nobody asks `failed` or `error` before the statement
/// is reset or gone, the log says so, once for a handle. Who asks is to report it.
class PDXSQLiteStatement {
 public:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept;
  };

  /// @param watch  the handle's, null without one.
  PDXSQLiteStatement(sqlite3* database, std::string_view sql, std::shared_ptr<PDXSQLiteWatch> watch);
  ~PDXSQLiteStatement();
  PDXSQLiteStatement(PDXSQLiteStatement&&) noexcept;
  PDXSQLiteStatement& operator=(PDXSQLiteStatement&&) noexcept;

  /// Whether the SQL compiled.
  bool isValid() const { return statement_ != nullptr; }

  /// On to the next row. False at the end and on any error; `failed` tells which.
  bool step();

  /// Whether the last `step` ended in an error, such as a damaged page, rather than at the end of the rows.
  bool failed() const;

  /// Why the SQL did not compile or the last failed `step` failed; "" when neither did.
  const std::string& error() const;

  /// Whether it ended because of the process's stop request.
  bool wasInterrupted() const { return wasInterrupted_; }

  /// Back before the first row, with new values to come. Bound values stay until they are bound again.
  void reset();

  /// Parameters count from 1.
  void bind(int parameter, std::int64_t value);
  void bind(int parameter, double value);
  void bind(int parameter, std::string_view value);
  void bind(int parameter, const PDXBytes& value);
  void bindNull(int parameter);

  /// Columns count from 0. A column that does not exist reads as NULL.
  int columnCount() const;
  std::string columnName(int column) const;
  bool isNull(int column) const;
  std::int64_t int64(int column) const;  ///< NULL reads as 0.
  double real(int column) const;         ///< NULL reads as 0.
  bool isNumber(int column) const;       ///< Whether it is stored as one, whole or not.
  std::string text(int column) const;    ///< Valid UTF-8, U+0000 included; NULL reads as "".
  PDXBytes blob(int column) const;       ///< NULL reads as empty.

  /// The same without a copy, and a text as it is stored, valid or not. Until the next `step` or `reset`.
  std::string_view textInPlace(int column) const;
  std::span<const std::uint8_t> blobInPlace(int column) const;
  bool isBlob(int column) const;

 private:
  bool has_(int column) const;
  void reportUnlessAsked_();

  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
  std::shared_ptr<PDXSQLiteWatch> watch_;
  std::uint64_t rows_ = 0;  ///< Since it began.
  bool failed_ = false;
  bool wasInterrupted_ = false;
  std::string error_;
};
