#include "calllogs/CallLogReader.h"

#include "backup/BackupNavigation.h"
#include "backup/DeviceData.h"
#include "calllogs/CallLogDbReader.h"
#include "calllogs/CallLogStoreDataReader.h"
#include "contacts/ContactsDatabase.h"
#include "platform/Files.h"
#include "platform/Log.h"

std::unique_ptr<PDXCallLogReader> PDXCallLogReader::forDeviceData(PDXDeviceData& deviceData) {
  if (!PDXContactsDatabase::isLoaded()) PDXContactsDatabase::loadContactsFromDeviceData(deviceData);
  const std::string contacts = deviceData.databaseOfFeature(PDXFeature::AddressBook);
  const std::string preferences = deviceData.GetFilesByFeatureType(PDXFeature::MessagesPreferences);
  if (const auto store = deviceData.databaseOfFeature(PDXFeature::CallHistoryStore); !store.empty())
    return std::make_unique<PDXCallLogStoreDataReader>(store, contacts, preferences);
  if (const auto database = deviceData.databaseOfFeature(PDXFeature::CallHistoryLegacy); !database.empty())
    return std::make_unique<PDXCallLogDbReader>(database, contacts, preferences);
  return nullptr;
}

bool PDXCallLogReader::loadCallLog() const {
  return !callLogDbPath_.empty() && PDXFiles::exists(callLogDbPath_);
}

void PDXCallLogReader::reportUnreadable_(const PDXSQLiteDatabase& store) const {
  const std::string why = store.whyUnreadable();
  PDXLog::report(
      {.what = "calls", .where = callLogDbPath_, .why = why.empty() ? "it has no table of calls" : why});
}

void PDXCallLogReader::reportEnd_(const PDXSQLiteStatement& rows) const {
  if (rows.failed()) PDXLog::report({.what = "calls", .where = callLogDbPath_, .why = rows.error()});
}

void PDXCallLogReader::reportEnd_(const PDXReachableRows::Outcome& outcome) const {
  if (!outcome.isWhole() && !outcome.isInterrupted)
    PDXLog::report({.what = "calls", .where = callLogDbPath_, .why = outcome.why});
}
