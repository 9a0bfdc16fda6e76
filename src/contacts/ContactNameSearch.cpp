#include "contacts/ContactNameSearch.h"

#include <algorithm>
#include <utility>

#include "backup/SQLiteHelper.h"
#include "contacts/SearchTexts.h"

namespace {

constexpr const char* kNames = "SELECT c0First, c1Last, c6Organization FROM ";

/// Longer ones are left to the database, which has a limit of its own.
constexpr std::size_t kLongestAddress = 1000;

/// Whether an address stands for itself alone in a LIKE, and is short enough for a look through the texts.
bool isPlain(std::string_view address) {
  return !address.empty() && address.size() <= kLongestAddress &&
         address.find_first_of("%_") == std::string_view::npos;
}

/// Case as LIKE ignores it: that of ASCII letters.
std::string lowercasedAscii(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

/// The name in a row of first name, last name and organisation; "" without a row.
std::string nameFrom(PDXSQLiteStatement rows) {
  if (!rows.step()) return "";
  std::string first = PDXSQLiteHelper::stringValueForColumnFromStatment(0, rows);
  std::string last = PDXSQLiteHelper::stringValueForColumnFromStatment(1, rows);
  if (!first.empty() && !last.empty()) return first + " " + last;
  if (!first.empty()) return first;
  return last.empty() ? PDXSQLiteHelper::stringValueForColumnFromStatment(2, rows) : last;
}

}  // namespace

PDXContactNameSearch::PDXContactNameSearch(std::string databasePath)
    : databasePath_(std::move(databasePath)) {}

std::string PDXContactNameSearch::nameOf(std::string_view address) {
  // A quote would end the text in the statement, and what follows it be run: such an address is nobody's.
  if (address.find_first_of(std::string_view("'\0", 2)) != std::string_view::npos) return "";
  open_();
  if (!hasTexts_) return "";
  const Texts& texts = textsFor_(address.find('@') != std::string_view::npos);
  if (!isPlain(address)) return nameLike_(address, texts.column);
  const std::size_t found = texts.text.find(lowercasedAscii(address));
  if (found == std::string::npos) return "";
  const auto end = std::upper_bound(texts.ends.begin(), texts.ends.end(), found);
  return nameInRow_(texts.people[static_cast<std::size_t>(end - texts.ends.begin())]);
}

void PDXContactNameSearch::open_() {
  if (database_) return;
  database_.emplace(databasePath_);
  hasTexts_ = PDXSearchTexts::existIn(*database_);
}

const PDXContactNameSearch::Texts& PDXContactNameSearch::textsFor_(bool isEmailAddress) {
  std::optional<Texts>& texts = isEmailAddress ? emailTexts_ : phoneTexts_;
  if (texts) return *texts;
  texts.emplace();
  texts->column =
      isEmailAddress ? PDXSearchTexts::emailColumn(*database_) : PDXSearchTexts::phoneColumn(*database_);
  auto rows = database_->prepare("SELECT rowid, " + texts->column + " FROM " + PDXSearchTexts::kTable +
                                 " NOT INDEXED");
  while (rows.step()) {
    const std::string text = PDXSQLiteHelper::stringValueForColumnFromStatment(1, rows);
    // A search ends at U+0000, and no address has one: between two rows it keeps them apart.
    texts->text += lowercasedAscii(text.substr(0, text.find('\0'))) + '\0';
    texts->ends.push_back(texts->text.size());
    texts->people.push_back(rows.int64(0));
  }
  return *texts;
}

std::string PDXContactNameSearch::nameLike_(std::string_view address, const std::string& column) const {
  return nameFrom(database_->prepare(kNames + PDXSearchTexts::kTable + " where " + column + " LIKE '%" +
                                     std::string(address) + "%'"));
}

std::string PDXContactNameSearch::nameInRow_(std::int64_t row) const {
  auto rows = database_->prepare(kNames + PDXSearchTexts::kTable + " WHERE rowid=?");
  rows.bind(1, row);
  return nameFrom(std::move(rows));
}
