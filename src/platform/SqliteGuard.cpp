#include "platform/SqliteGuard.h"

#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "platform/Log.h"
#include "platform/Text.h"

namespace {

using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>;

std::string_view textAt(sqlite3_stmt* row, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
  return text == nullptr
             ? ""
             : std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(row, column)));
}

std::string quoted(std::string_view name) {
  return "\"" + PDXText::replacedAll(std::string(name), "\"", "\"\"") + "\"";
}

/// A name out of the file for an error text.
std::string shown(std::string_view text) {
  constexpr std::size_t kMost = 500;
  return PDXText::printable(PDXText::valid(std::string(text.substr(0, kMost))));
}

bool isCorrupt(sqlite3* handle) { return (sqlite3_errcode(handle) & 0xFF) == SQLITE_CORRUPT; }

/// With this on, entries that do not parse are skipped. Defensive mode goes on forbidding to write them.
void skipDamagedEntries(sqlite3* handle, bool skips) {
  sqlite3_db_config(handle, SQLITE_DBCONFIG_WRITABLE_SCHEMA, skips ? 1 : 0, nullptr);
}

/// Skips no damaged entries from now on, too.
void forgetSchema(sqlite3* handle) {
  sqlite3_exec(handle, "PRAGMA writable_schema=RESET", nullptr, nullptr, nullptr);
}

/// Whether an entry speaks of statistics and has the word that generated columns have: "AS", before a
/// bracket, a blank or a comment. SQLite's own have neither.
bool isForgedStatistics(const char* sql) {
  if (sql == nullptr || sqlite3_strlike("%sqlite!_stat%", sql, '!') != 0) return false;
  const std::string text = PDXText::lowercased(sql);
  for (std::size_t at = text.find("as"); at != std::string::npos; at = text.find("as", at + 1)) {
    const char next = at + 2 < text.size() ? text[at + 2] : ' ';
    const bool isOfAName = (next >= 'a' && next <= 'z') || (next >= '0' && next <= '9') || next == '_' ||
                           next == '$' || static_cast<unsigned char>(next) >= 0x80;
    if (!isOfAName) return true;
  }
  return false;
}

/// Hands each row to `use`. False when the statement fails.
template <typename Use>
bool forEachRow(const Statement& statement, Use use) {
  int result = statement == nullptr ? SQLITE_ERROR : sqlite3_step(statement.get());
  for (; result == SQLITE_ROW; result = sqlite3_step(statement.get())) use(statement.get());
  return result == SQLITE_DONE;
}

Statement compiled(sqlite3* handle, std::string_view sql) {
  return {PDXSQLiteGuard::compileAny(handle, sql), sqlite3_finalize};
}

/// Every ordinary or virtual table that the schema names, whether its entry parses or not. SQLite takes no
/// entry whose name is not that of its text.
bool readTableNames(sqlite3* handle, std::vector<std::string>& names) {
  return forEachRow(
      compiled(handle, "SELECT name FROM main.sqlite_master WHERE type = 'table' COLLATE NOCASE"),
      [&names](sqlite3_stmt* row) { names.emplace_back(textAt(row, 0)); });
}

/// Why SQLite must not be asked for anything in the file; "" when it may.
///
/// SQLite reads tables of statistics together with the schema, to plan its queries, and asks nobody whether
/// they compute. So the schema is read first with a limit that leaves no such entry to be parsed, but for
/// some so short that nothing they compute takes long.
std::string reasonAgainst(sqlite3* handle) {
  constexpr int kLongest = 72;  // What SQLite describes its list of tables with to itself.
  const int usual = sqlite3_limit(handle, SQLITE_LIMIT_SQL_LENGTH, kLongest);
  skipDamagedEntries(handle, true);
  bool isForged = false;
  forEachRow(compiled(handle, "SELECT sql FROM sqlite_master"), [&isForged](sqlite3_stmt* row) {
    const auto* sql = reinterpret_cast<const char*>(sqlite3_column_text(row, 0));
    isForged = isForged || isForgedStatistics(sql);
  });
  const bool isEndless = sqlite3_errcode(handle) == SQLITE_INTERRUPT;
  sqlite3_limit(handle, SQLITE_LIMIT_SQL_LENGTH, usual);
  forgetSchema(handle);
  if (isEndless) return "the file is damaged: the list of its tables does not come to an end";
  return isForged
             ? "its tables of statistics are not those that SQLite makes and could compute for ever: it is "
               "not read"
             : "";
}

}  // namespace

bool PDXSQLiteGuard::Less::operator()(std::string_view a, std::string_view b) const {
  const int order = sqlite3_strnicmp(a.data(), b.data(), static_cast<int>(std::min(a.size(), b.size())));
  return order != 0 ? order < 0 : a.size() < b.size();
}

PDXSQLiteGuard::PDXSQLiteGuard(sqlite3* handle, const std::string& path) : handle_(handle) {
  sqlite3_drop_modules(handle, nullptr);  // A virtual table would run code on the file's word.
  reasonAgainst_ = reasonAgainst(handle);
  if (refusesEverything()) return;
  sqlite3_set_authorizer(handle, &PDXSQLiteGuard::authorize_, this);
  readSchema_(path);
}

sqlite3_stmt* PDXSQLiteGuard::compileAny(sqlite3* handle, std::string_view sql, std::string_view* rest) {
  sqlite3_stmt* statement = nullptr;
  const char* end = nullptr;
  sqlite3_prepare_v2(handle, sql.data(), static_cast<int>(sql.size()), &statement, &end);
  if (rest != nullptr) *rest = end == nullptr ? "" : sql.substr(static_cast<std::size_t>(end - sql.data()));
  return statement;
}

sqlite3_stmt* PDXSQLiteGuard::compile(std::string_view sql, std::string_view* rest) {
  refusal_.clear();
  if (refusesEverything()) {
    refusal_ = reasonAgainst_;
    return nullptr;
  }
  bool isSecondReading = false;
  for (;;) {
    read_.clear();
    written_.clear();
    readsAll_ = false;
    sqlite3_stmt* statement = compileAny(handle_, sql, rest);
    if (statement != nullptr) return statement;
    // A schema that is not whole is said to be corrupt each time it is read, which a change of it leads to.
    const bool mayBeRead =
        !schemaDamage_.empty() && isCorrupt(handle_) && !std::exchange(isSecondReading, true);
    if (!mayBeRead && look_() != Looked::fine) return nullptr;
  }
}

std::string PDXSQLiteGuard::errorOf(sqlite3* handle) { return shown(sqlite3_errmsg(handle)); }

int PDXSQLiteGuard::authorize_(void* guard, int action, const char* first, const char* second,
                               const char* database, const char* /*trigger*/) {
  if (static_cast<PDXSQLiteGuard*>(guard)->isLooking_) return SQLITE_OK;
  const auto text = [](const char* given) { return std::string_view(given == nullptr ? "" : given); };
  if (text(action == SQLITE_ALTER_TABLE ? first : database) == "temp") return SQLITE_OK;
  return static_cast<PDXSQLiteGuard*>(guard)->authorize_(action, text(first), text(second));
}

/// Forbids what was not looked at, so that nothing is made of it.
int PDXSQLiteGuard::authorize_(int action, std::string_view first, std::string_view second) {
  switch (action) {
    case SQLITE_READ:
    case SQLITE_DELETE:
      return allowRead_(first);
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
      if (allowRead_(first) != SQLITE_OK) return SQLITE_DENY;
      if (writable_.contains(std::string(first) + "." + std::string(second))) return SQLITE_OK;
      written_.push_back({std::string(first), std::string(second)});
      return SQLITE_DENY;
    case SQLITE_CREATE_INDEX:
    case SQLITE_ALTER_TABLE:
      return allowRead_(second);
    case SQLITE_PRAGMA:
      // A quick check and its like go through all tables without naming them.
      if (!first.ends_with("_check") || areAllReadable_) return SQLITE_OK;
      readsAll_ = true;
      return SQLITE_DENY;
    default:
      return SQLITE_OK;
  }
}

int PDXSQLiteGuard::allowRead_(std::string_view table) {
  if (readable_.contains(table)) return SQLITE_OK;
  read_.emplace_back(table);
  return SQLITE_DENY;
}

void PDXSQLiteGuard::readSchema_(const std::string& path) {
  isLooking_ = true;
  const Statement any = compiled(handle_, "SELECT 1 FROM sqlite_master");
  if (any == nullptr && isCorrupt(handle_)) readDamagedSchema_(path);
  isLooking_ = false;
}

void PDXSQLiteGuard::readDamagedSchema_(const std::string& path) {
  const std::string why = errorOf(handle_);
  skipDamagedEntries(handle_, true);
  std::vector<std::string> names;
  readTableNames(handle_, names);  // Fails: what parses is known from now on.
  names.clear();
  const bool areAllNames = readTableNames(handle_, names);
  std::size_t known = 0;
  std::string lost;
  for (const std::string& name : names) {
    const auto columns = columnsOf_(name);
    if (columns && columns->exist) ++known;
    if (columns && !columns->exist) lost += (lost.empty() ? "" : ", ") + shown(name);
  }
  if (known == 0) {
    skipDamagedEntries(handle_, false);
    return forgetSchema(handle_);
  }
  schemaDamage_ = why;
  if (!areAllNames) lost += (lost.empty() ? "" : ", ") + std::string("some whose names are lost too");
  if (lost.empty()) return;
  PDXLog::report({.what = "database", .where = path, .why = why + "; tables that are lost: " + lost});
}

/// Nothing when SQLite does not tell.
std::optional<PDXSQLiteGuard::Columns> PDXSQLiteGuard::columnsOf_(const std::string& table) {
  constexpr int kDefault = 4;
  constexpr int kHidden = 6;  // 2 for a generated column, 3 for one whose values are stored.
  Columns columns;
  const bool isWhole =
      forEachRow(compiled(handle_, "PRAGMA main.table_xinfo(" + quoted(table) + ")"), [&](sqlite3_stmt* row) {
        columns.exist = true;
        columns.areGenerated = columns.areGenerated || sqlite3_column_int(row, kHidden) >= 2;
        columns.haveComputedDefaults =
            columns.haveComputedDefaults || textAt(row, kDefault).find('(') != std::string_view::npos;
      });
  return isWhole ? std::optional(columns) : std::nullopt;
}

/// Looks at what the statement that was just stopped does.
PDXSQLiteGuard::Looked PDXSQLiteGuard::look_() {
  if (read_.empty() && written_.empty() && !readsAll_) return Looked::nothing;
  isLooking_ = true;
  const bool isRefused = std::any_of(read_.begin(), read_.end(),
                                     [this](const std::string& table) { return refusesRead_(table); }) ||
                         std::any_of(written_.begin(), written_.end(),
                                     [this](const Written& each) { return refusesWrite_(each); }) ||
                         (readsAll_ && refusesAnyTable_());
  isLooking_ = false;
  return isRefused ? Looked::refused : Looked::fine;
}

bool PDXSQLiteGuard::refusesRead_(const std::string& table) {
  const auto columns = columnsOf_(table);
  if (!columns) {
    refusal_ = errorOf(handle_);
  } else if (columns->areGenerated) {
    refusal_ =
        "the table \"" + shown(table) +
        "\" has generated columns, which no phone makes and which could compute for ever: it is not read";
  } else {
    readable_.insert(table);
  }
  return !refusal_.empty();
}

bool PDXSQLiteGuard::refusesAnyTable_() {
  std::vector<std::string> names;
  readTableNames(handle_, names);
  areAllReadable_ = std::none_of(names.begin(), names.end(), [this](const std::string& name) {
    const auto columns = columnsOf_(name);
    return columns && columns->areGenerated && refusesRead_(name);
  });
  return !areAllReadable_;
}

bool PDXSQLiteGuard::refusesWrite_(const Written& written) {
  const std::string name = written.table + "." + written.column;
  if (written.table.starts_with("sqlite_")) {
    writable_.insert(name);  // SQLite's own, when a schema changes.
    return false;
  }
  const bool isNewRow = written.column.empty();
  const auto columns = columnsOf_(written.table);
  const Statement computed = compiled(handle_,
                                      "SELECT 1 FROM pragma_index_list(?1) l JOIN main.sqlite_master m ON "
                                      "m.type = 'index' COLLATE NOCASE AND m.name = "
                                      "l.name COLLATE NOCASE WHERE (l.partial OR EXISTS (SELECT 1 FROM "
                                      "pragma_index_xinfo(l.name) x WHERE x.cid = -2)) "
                                      "AND instr(lower(m.sql), lower(?2)) > 0");
  sqlite3_bind_text(computed.get(), 1, written.table.c_str(), -1, SQLITE_TRANSIENT);
  sqlite3_bind_text(computed.get(), 2, written.column.c_str(), -1, SQLITE_TRANSIENT);
  bool isComputed = isNewRow && columns && columns->haveComputedDefaults;
  const bool isWhole = forEachRow(computed, [&isComputed](sqlite3_stmt*) { isComputed = true; });
  if (isComputed || !isWhole || !columns) {
    refusal_ = "the table \"" + shown(written.table) +
               "\" computes values for its indexes or defaults: it is not written";
  } else {
    writable_.insert(name);
  }
  return !refusal_.empty();
}
