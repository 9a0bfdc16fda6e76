#include "calllogs/CallHandleTable.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "backup/SQLiteHelper.h"
#include "platform/Log.h"

namespace {

constexpr std::string_view kCalls = "REMOTEPARTICIPANTCALLS";
constexpr std::string_view kHandles = "REMOTEPARTICIPANTHANDLES";

std::string numbered(const std::string& number, std::string_view rest) {
  return "Z_" + number + std::string(rest);
}

/// Whether a name is a number with that ending. Others could be anything, and go into no statement.
bool isNumbered(std::string_view name, std::string_view ending) {
  if (!name.starts_with("Z_") || !name.ends_with(ending) || name.size() <= 2 + ending.size()) return false;
  name = name.substr(2, name.size() - 2 - ending.size());
  return std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string entityNumber(const PDXSQLiteDatabase& store, std::string_view entity) {
  auto rows = store.prepare("SELECT Z_ENT FROM Z_PRIMARYKEY WHERE Z_NAME = ?");
  rows.bind(1, entity);
  return rows.step() ? std::to_string(rows.int64(0)) : "";
}

/// The first of the wanted names that is there; else the first that only its number tells from them.
std::string chosen(PDXSQLiteStatement names, std::string_view ending,
                   const std::vector<std::string>& numbers) {
  std::vector<std::string> found;
  while (names.step()) {
    if (std::string name = names.text(0); isNumbered(name, ending)) found.push_back(std::move(name));
  }
  for (const std::string& number : numbers) {
    std::string wanted = numbered(number, ending);
    if (std::find(found.begin(), found.end(), wanted) != found.end()) return wanted;
  }
  return found.empty() ? "" : found.front();
}

}  // namespace

std::optional<PDXCallHandleTable> PDXCallHandleTable::of(const PDXSQLiteDatabase& store,
                                                         const std::string& path) {
  // Damage in the list of numbers is said; any number does where there is but one such table.
  const std::string call = entityNumber(store, "CallRecord");
  const std::string handle = entityNumber(store, "Handle");
  PDXCallHandleTable join;
  join.table = chosen(store.prepare("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name"),
                      kHandles, {"2", call});
  const bool hasHandles = PDXSQLiteHelper::doesDatabaseContainTable(store, "ZHANDLE");
  if (hasHandles == join.table.empty()) {
    // One system brought both.
    const char* why =
        hasHandles ? "the table that joins calls and handles is missing" : "it has no table ZHANDLE";
    PDXLog::report({.what = "participants of calls", .where = path, .why = why});
  }
  if (!hasHandles || join.table.empty()) return std::nullopt;
  const std::string columns = "SELECT name FROM pragma_table_info('" + join.table + "')";
  join.callColumn = chosen(store.prepare(columns), kCalls, {"2", call});
  join.handleColumn = chosen(store.prepare(columns), kHandles, {"3", handle});
  if (join.callColumn.empty() || join.handleColumn.empty()) return std::nullopt;
  return join;
}

void PDXCallHandleTable::reportLostHandles(const PDXSQLiteDatabase& store, const std::string& path,
                                           std::size_t foundRows) const {
  auto all = store.prepare("SELECT count(1) FROM " + table);
  if (!all.step() || static_cast<std::size_t>(all.int64(0)) == foundRows) return;
  auto rows = store.prepare("SELECT " + callColumn + ", " + handleColumn + " FROM " + table + " WHERE " +
                            callColumn + " IN (SELECT Z_PK FROM ZCALLRECORD) AND " + handleColumn +
                            " NOT IN (SELECT Z_PK FROM ZHANDLE)");
  PDXProblemSeries lost("participant of a call", path);
  while (rows.step())
    lost.add("record " + rows.text(0), "the store holds no address of the number " + rows.text(1));
}
