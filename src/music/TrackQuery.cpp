#include "music/TrackQuery.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "backup/SQLiteHelper.h"
#include "platform/Text.h"

namespace {

constexpr const char* kBase =
    "SELECT ie.title, ie.track_count, ie.year, ie.total_time_ms,ie.media_kind, ie.file_size, ie.description, "
    "ie.description_long, ie.is_podcast, ie.location, ie.disc_count, ie.date_created, i.item_pid, "
    "i.track_number, i.disc_number, ie.is_compilation, ist.date_played, ist.play_count_user, "
    "ist.user_rating, bl.path, g.genre, a.album, ia.item_artist, aa.album_artist FROM item_extra ie LEFT "
    "OUTER JOIN item i ON i.item_pid = ie.item_pid LEFT OUTER JOIN item_stats ist ON ist.item_pid = "
    "i.item_pid LEFT OUTER JOIN genre g ON i.genre_id=g.genre_id LEFT OUTER JOIN album a ON "
    "i.album_pid=a.album_pid LEFT OUTER JOIN item_artist ia ON ia.item_artist_pid=i.item_artist_pid LEFT "
    "OUTER JOIN album_artist aa ON aa.album_artist_pid=i.album_artist_pid JOIN base_location bl ON "
    "i.base_location_id=bl.base_location_id";

constexpr std::string_view kFrom = " FROM ";
constexpr std::string_view kOuterJoin = " LEFT OUTER JOIN ";
constexpr std::string_view kJoin = " JOIN ";
constexpr std::string_view kWhere = " WHERE ";

/// Every "alias.column" in a piece of a statement.
std::vector<std::pair<std::string, std::string>> columnsIn(std::string_view text) {
  const auto isName = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; };
  std::vector<std::pair<std::string, std::string>> columns;
  for (std::size_t dot = text.find('.'); dot != std::string_view::npos; dot = text.find('.', dot + 1)) {
    std::size_t begin = dot;
    std::size_t end = dot + 1;
    while (begin > 0 && isName(text[begin - 1])) --begin;
    while (end < text.size() && isName(text[end])) ++end;
    columns.emplace_back(text.substr(begin, dot - begin), text.substr(dot + 1, end - dot - 1));
  }
  return columns;
}

/// "table alias ON …" of a join.
struct Source {
  explicit Source(std::string_view text)
      : table(text.substr(0, text.find(' '))), alias(text.substr(table.size() + 1)) {
    alias = alias.substr(0, alias.find(' '));
  }

  std::string table;
  std::string alias;
};

/// Cuts a text in front of each of its joins.
std::vector<std::string_view> sourcesOf(std::string_view text) {
  std::vector<std::string_view> pieces;
  std::size_t begin = 0;
  for (std::size_t at = text.find(kJoin); at != std::string_view::npos; at = text.find(kJoin, at + 1)) {
    const std::size_t lead = kOuterJoin.size() - kJoin.size();
    const bool isOuter = at >= lead && text.substr(at - lead).starts_with(kOuterJoin);
    pieces.push_back(text.substr(begin, (isOuter ? at - lead : at) - begin));
    begin = isOuter ? at - lead : at;
  }
  pieces.push_back(text.substr(begin));
  return pieces;
}

}  // namespace

bool PDXTrackQuery::hasTable_(const char* table) const {
  return PDXSQLiteHelper::doesDatabaseContainTable(database_, table);
}

bool PDXTrackQuery::hasColumn_(const std::string& table, const std::string& column) const {
  return PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(database_, table, column);
}

/// The base query with what the library's tables ask for, without a condition.
std::string PDXTrackQuery::given_() const {
  std::string query = kBase;
  const auto replace = [&query](const char* from, const char* to) {
    query = PDXText::replacedAll(std::move(query), from, to);
  };
  if (!hasColumn_("item_extra", "is_podcast"))
    replace(" ie.is_podcast,", hasColumn_("item", "is_podcast") ? " i.is_podcast," : " ");
  if (hasTable_("item_artwork") && hasTable_("artwork")) {
    replace(" FROM", ", art.relative_path AS artwork_relative_path FROM");
    query +=
        " LEFT OUTER JOIN item_artwork iart ON iart.item_pid=i.item_pid LEFT OUTER JOIN artwork art ON "
        "art.artwork_token = iart.best_artwork_token";
  }
  if (!hasColumn_("item_extra", "is_compilation")) replace("ie.is_compilation", "i.is_compilation");
  if (!hasColumn_("item_extra", "date_created")) replace("ie.date_created", "i.date_added");
  if (hasTable_("artwork_token")) {
    replace(" FROM", ", art.relative_path AS artwork_relative_path FROM");
    query +=
        " LEFT OUTER JOIN best_artwork_token bat ON i.item_pid=bat.entity_pid AND bat.artwork_type ==1 LEFT "
        "OUTER JOIN artwork art ON bat.available_artwork_token=art.artwork_token";
  }
  if (hasColumn_("item_playback", "bit_rate")) {
    replace(" ie.bit_rate,", "bit_rate,");
    query += " LEFT OUTER JOIN item_playback ip ON ip.item_pid=i.item_pid";
  }
  if (hasColumn_("item_store", "is_subscription")) {
    replace(" FROM", ", store.is_subscription FROM");
    query += " LEFT OUTER JOIN item_store store ON store.item_pid=i.item_pid ";
  }
  if (hasColumn_("item", "in_my_library")) replace(" FROM", ", i.in_my_library FROM");
  if (hasColumn_("item_stats", "liked_state")) replace(" FROM", ", ist.liked_state FROM");
  if (hasColumn_("item_extra", "content_rating")) replace(" FROM", ", ie.content_rating FROM");
  return query;
}

std::string PDXTrackQuery::text(const std::optional<std::string>& playlist) const {
  if (!playlist) return fitted_(given_() + " WHERE ie.media_kind == 1");
  return fitted_(given_() + " JOIN container_item ci ON ci.item_pid=ie.item_pid" +
                 "  WHERE ci.container_pid == '" + PDXText::replacedAll(*playlist, "'", "''") +
                 "' AND ie.media_kind == 1" + " ORDER BY ci.position");
}

std::string PDXTrackQuery::textForAll() const {
  std::string query = PDXText::replacedAll(given_(), " JOIN base_location", " LEFT OUTER JOIN base_location");
  query = PDXText::replacedAll(std::move(query), " FROM", ", ie.item_pid AS extra_pid FROM");
  return fitted_(query + " WHERE ie.media_kind == 1");
}

std::string PDXTrackQuery::textForOne(bool withOtherTables) const {
  const bool hasKinds = hasColumn_("item_extra", "media_kind");
  const std::string bare = "SELECT ie.* FROM item_extra ie";
  const std::string all =
      withOtherTables ? textForAll() : bare + (hasKinds ? " WHERE ie.media_kind == 1" : "");
  return all.empty() ? "" : all + (hasKinds ? " AND" : " WHERE") + " ie.rowid == ?1";
}

/// The statement without the tables and columns that are not there; itself when it compiles.
std::string PDXTrackQuery::fitted_(const std::string& query) const {
  if (database_.prepare(query).isValid()) return query;
  const std::string_view whole = query;
  const std::size_t from = whole.find(kFrom);
  const std::size_t where = whole.find(kWhere, from);
  std::map<std::string, std::string> tables;  // By their aliases.
  const auto isThere = [&](std::string_view piece) {
    for (const auto& [alias, column] : columnsIn(piece)) {
      if (!tables.contains(alias) || !hasColumn_(tables[alias], column)) return false;
    }
    return true;
  };

  std::string sources;
  for (const std::string_view piece :
       sourcesOf(whole.substr(from + kFrom.size(), where - from - kFrom.size()))) {
    const std::size_t join = piece.starts_with(kOuterJoin) ? kOuterJoin.size()
                             : piece.starts_with(kJoin)    ? kJoin.size()
                                                           : 0;
    const Source source(piece.substr(join));
    const bool isNew = tables.try_emplace(source.alias, source.table).second;
    if (isNew && hasTable_(source.table.c_str()) && isThere(piece)) {
      sources += piece;
    } else if (isNew) {
      tables.erase(source.alias);
    }
  }
  // Without its members a playlist would be the whole library.
  const bool asksForMembers = whole.find(" ci.container_pid ") != std::string_view::npos;
  if (!tables.contains("ie") || (asksForMembers && !isThere("ci.container_pid"))) return "";

  std::string columns;
  std::string_view rest = whole.substr(0, from).substr(std::string_view("SELECT").size());
  while (!rest.empty()) {
    const std::string_view column = rest.substr(0, rest.find(','));
    rest.remove_prefix(std::min(rest.size(), column.size() + 1));
    if (isThere(column)) columns += (columns.empty() ? "" : ",") + std::string(column);
  }
  std::string conditions;
  std::string_view tail = whole.substr(where + kWhere.size());
  const std::size_t order = tail.find(" ORDER BY");
  const std::string_view ordering = order == std::string_view::npos ? "" : tail.substr(order);
  tail = tail.substr(0, order);
  while (!tail.empty()) {
    constexpr std::string_view kAnd = " AND ";
    const std::string_view condition = tail.substr(0, tail.find(kAnd));
    tail.remove_prefix(std::min(tail.size(), condition.size() + kAnd.size()));
    if (isThere(condition)) conditions += (conditions.empty() ? " WHERE " : " AND ") + std::string(condition);
  }
  return "SELECT" + columns + std::string(kFrom) + sources + conditions +
         (isThere(ordering) ? std::string(ordering) : "");
}
