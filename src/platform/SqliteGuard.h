#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

/// Compiles the statements of one handle, and none that could make a crafted file compute for ever.
///
/// SQLite evaluates expressions out of the file when a generated column is read, and when an index on an
/// expression or a default is written. One call of a function there can take years, in a single step in which
/// neither a progress handler nor an interrupt gets a turn. No phone makes generated columns: a table with
/// one is not read at all. Defaults, CHECKs and indexes, which genuine stores have, are not evaluated when
/// reading.
///
/// An entry of the schema that does not parse, such as a trigger whose text is corrupt, costs itself alone.
/// Threads: one handle, one thread.
class PDXSQLiteGuard {
 public:
  /// Reads the schema, and says in the log when tables are lost with a part of it.
  /// @param handle  asks the guard as long as statements are compiled with it.
  /// @param path    the file's, for the log.
  PDXSQLiteGuard(sqlite3* handle, const std::string& path);
  PDXSQLiteGuard(const PDXSQLiteGuard&) = delete;
  PDXSQLiteGuard& operator=(const PDXSQLiteGuard&) = delete;

  /// Null when the statement does not compile or is refused, and for a text without one.
  /// @param rest  if not null, what follows the statement in `sql`.
  sqlite3_stmt* compile(std::string_view sql, std::string_view* rest = nullptr);

  /// Why the last statement was refused; "" when it was not.
  const std::string& refusal() const { return refusal_; }

  /// Whether it compiles nothing at all; SQLite must not be asked past it then.
  bool refusesEverything() const { return !reasonAgainst_.empty(); }

  /// What is wrong with the schema when only a part of it could be read; "" otherwise.
  const std::string& schemaDamage() const { return schemaDamage_; }

  /// Compiles without any judgement.
  static sqlite3_stmt* compileAny(sqlite3* handle, std::string_view sql, std::string_view* rest = nullptr);

  /// The handle's last error on one line of valid UTF-8: SQLite quotes names as they stand in the file.
  static std::string errorOf(sqlite3* handle);

 private:
  /// As SQLite compares names.
  struct Less {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
  };
  struct Columns {
    bool exist = false;
    bool areGenerated = false;  ///< One of them at least.
    bool haveComputedDefaults = false;
  };
  struct Written {
    std::string table;
    std::string column;  ///< "" for a new row.
  };

  enum class Looked { nothing, fine, refused };

  static int authorize_(void* guard, int action, const char* first, const char* second, const char* database,
                        const char* trigger);
  int authorize_(int action, std::string_view first, std::string_view second);
  int allowRead_(std::string_view table);
  void readSchema_(const std::string& path);
  void readDamagedSchema_(const std::string& path);
  std::optional<Columns> columnsOf_(const std::string& table);
  Looked look_();
  bool refusesRead_(const std::string& table);
  bool refusesAnyTable_();
  bool refusesWrite_(const Written& written);

  sqlite3* handle_;
  std::string reasonAgainst_;  ///< Asking SQLite for anything.
  std::string schemaDamage_;
  std::string refusal_;

  // What was looked at and may be used.
  std::set<std::string, Less> readable_;
  std::set<std::string, Less> writable_;  ///< As "table.column".
  bool areAllReadable_ = false;

  bool isLooking_ = false;  ///< What the guard itself asks is not judged.

  // What the statement at hand does beyond that.
  std::vector<std::string> read_;
  std::vector<Written> written_;
  bool readsAll_ = false;
};
