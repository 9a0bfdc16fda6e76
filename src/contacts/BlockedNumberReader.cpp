#include "contacts/BlockedNumberReader.h"

#include <optional>

#include "backup/SQLiteHelper.h"
#include "contacts/SearchTexts.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/PropertyList.h"
#include "platform/Sqlite.h"
#include "platform/Text.h"

namespace {

/// The items of the list; null when it has another shape.
const PDXPropertyList::Array* itemsOf(const PDXPropertyList& list) {
  const auto* store = list.find("__kCMFBlockListStoreTopLevelKey");
  const auto* items = store == nullptr ? nullptr : store->find("__kCMFBlockListStoreArrayKey");
  return items == nullptr ? nullptr : items->array();
}

/// The name in columns 0 to 2 of the current row.
std::string nameIn(const PDXSQLiteStatement& row) {
  std::string name;
  for (int column = 0; column < 3; ++column) {
    const std::string part = PDXSQLiteHelper::stringValueForColumnFromStatment(column, row);
    if (!part.empty()) name += part + " ";
  }
  return std::string(PDXText::trimmed(name));
}

/// Adds what the address book knows of the owner of the number. The number goes into the statement as it
/// stands: one with a quote finds nobody, and nothing behind the quote is run.
void addOwner(PDXBlockedNumber& blocked, const PDXSQLiteDatabase& database, const std::string& phoneColumn) {
  if (blocked.number.find('\'') != std::string::npos) return;
  auto rows = database.prepare("SELECT c0First, c2Middle, c1Last, " + phoneColumn + " FROM " +
                               PDXSearchTexts::kTable + " WHERE " + phoneColumn + " LIKE '%" +
                               blocked.number + "%';");
  if (!rows.step()) return;
  blocked.contactName = nameIn(rows);
  const std::string variations = PDXSQLiteHelper::stringValueForColumnFromStatment(3, rows);
  if (!variations.empty()) blocked.knownVariations = variations;
}

}  // namespace

std::vector<PDXBlockedNumber> PDXBlockedNumberReader::getBlockedNumbersFromPListContactsDatabase(
    const std::string& plistPath, const std::string& contactsDatabase) {
  auto numbers = readBlockedNumbersFromPList_(plistPath);
  if (!numbers.empty()) getVariationsForNumbersFromContactsDatabase_(numbers, contactsDatabase);
  return numbers;
}

std::vector<PDXBlockedNumber> PDXBlockedNumberReader::readBlockedNumbersFromPList_(
    const std::string& plistPath) {
  if (plistPath.empty() || !PDXFiles::exists(plistPath)) return {};
  const auto list = PDXPropertyList::parseFile(plistPath);
  if (!list) {
    PDXLog::report({.what = "blocked numbers",
                    .where = std::string(PDXText::lastPathComponent(plistPath)),
                    .why = "not a readable property list"});
    return {};
  }
  const auto* items = itemsOf(*list);
  if (items == nullptr) return {};

  std::vector<PDXBlockedNumber> numbers;
  for (const PDXPropertyList& item : *items) {
    const std::string number = item.text("__kCMFItemPhoneNumberUnformattedKey");
    if (!number.empty()) numbers.push_back({.number = number, .contactName = {}, .knownVariations = {}});
  }
  return numbers;
}

void PDXBlockedNumberReader::getVariationsForNumbersFromContactsDatabase_(
    std::vector<PDXBlockedNumber>& numbers, const std::string& contactsDatabase) {
  const PDXSQLiteDatabase database(contactsDatabase);
  if (!PDXSearchTexts::existIn(database)) return;
  const std::string phoneColumn = PDXSearchTexts::phoneColumn(database);
  for (PDXBlockedNumber& blocked : numbers) addOwner(blocked, database, phoneColumn);
}
