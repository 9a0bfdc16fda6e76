#include "messages/MobileSMSPlistReader.h"

#include "backup/SQLiteHelper.h"
#include "platform/PropertyList.h"

namespace {

std::string joinedName(const std::string& first, const std::string& last) {
  return first.empty() || last.empty() ? first + last : first + " " + last;
}

std::string recordIdOf(const PDXPropertyList& value) {
  if (value.integer() != nullptr) return std::to_string(*value.integer());
  return value.string() == nullptr ? "" : *value.string();
}

std::unordered_map<std::string, std::string> recordIdsIn(const std::string& plistPath) {
  std::unordered_map<std::string, std::string> recordIds;
  const auto preferences = plistPath.empty() ? std::nullopt : PDXPropertyList::parseFile(plistPath);
  const auto* cache = preferences ? preferences->find("_im_ab_cache") : nullptr;
  if (cache == nullptr || cache->dictionary() == nullptr) return recordIds;
  for (const auto& [key, value] : *cache->dictionary()) recordIds.try_emplace(key, recordIdOf(value));
  return recordIds;
}

}  // namespace

std::string PDXMobileSMSPlistReader::determineContactNameForAddress(const std::string& address) {
  const std::string recordId = getDatabaseIdFromPlistForAddress_(address);
  return recordId.empty() ? "" : getContactNameFromDatabaseWithId_(recordId);
}

std::string PDXMobileSMSPlistReader::getDatabaseIdFromPlistForAddress_(const std::string& address) {
  if (!recordIds_) recordIds_ = recordIdsIn(plistPath_);
  const auto found = recordIds_->find(address + "_record_id");
  return found == recordIds_->end() ? "" : found->second;
}

std::string PDXMobileSMSPlistReader::getContactNameFromDatabaseWithId_(const std::string& recordId) {
  if (!contacts_) contacts_.emplace(contactsDatabasePath_);
  auto rows = contacts_->prepare(
      "SELECT person.First, person.Last, person.Organization, mvalue.value FROM ABPerson person INNER JOIN "
      "ABMultiValue mvalue ON person.ROWID = mvalue.record_id  WHERE person.ROWID = @recordID");
  rows.bind(1, std::string_view(recordId));
  if (!rows.step()) return "";
  const std::string name = joinedName(PDXSQLiteHelper::stringValueForColumnFromStatment(0, rows),
                                      PDXSQLiteHelper::stringValueForColumnFromStatment(1, rows));
  return name.empty() ? PDXSQLiteHelper::stringValueForColumnFromStatment(2, rows) : name;
}
