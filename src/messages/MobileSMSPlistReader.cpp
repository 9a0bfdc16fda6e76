#include "messages/MobileSMSPlistReader.h"

#include "backup/SQLiteHelper.h"
#include "platform/PropertyList.h"

namespace {

std::string joinedName(const std::string& first, const std::string& last) {
  return first.empty() || last.empty() ? first + last : first + " " + last;
}

}  // namespace

std::string PDXMobileSMSPlistReader::determineContactNameForAddress(const std::string& address) const {
  const std::string recordId = getDatabaseIdFromPlistForAddress_(address);
  return recordId.empty() ? "" : getContactNameFromDatabaseWithId_(recordId);
}

std::string PDXMobileSMSPlistReader::getDatabaseIdFromPlistForAddress_(const std::string& address) const {
  if (plistPath_.empty()) return "";
  const auto preferences = PDXPropertyList::parseFile(plistPath_);
  const PDXPropertyList* cache = preferences ? preferences->find("_im_ab_cache") : nullptr;
  const PDXPropertyList* recordId = cache == nullptr ? nullptr : cache->find(address + "_record_id");
  if (recordId == nullptr) return "";
  if (recordId->integer() != nullptr) return std::to_string(*recordId->integer());
  return recordId->string() == nullptr ? "" : *recordId->string();
}

std::string PDXMobileSMSPlistReader::getContactNameFromDatabaseWithId_(const std::string& recordId) const {
  const PDXSQLiteDatabase database(contactsDatabasePath_);
  auto rows = database.prepare(
      "SELECT person.First, person.Last, person.Organization, mvalue.value FROM ABPerson person INNER JOIN "
      "ABMultiValue mvalue ON person.ROWID = mvalue.record_id  WHERE person.ROWID = @recordID");
  rows.bind(1, std::string_view(recordId));
  if (!rows.step()) return "";
  const std::string name = joinedName(PDXSQLiteHelper::stringValueForColumnFromStatment(0, rows),
                                      PDXSQLiteHelper::stringValueForColumnFromStatment(1, rows));
  return name.empty() ? PDXSQLiteHelper::stringValueForColumnFromStatment(2, rows) : name;
}
