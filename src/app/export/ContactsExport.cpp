#include "app/export/ContactsExport.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "app/export/CleanedRecords.h"
#include "backup/BackupNavigation.h"
#include "backup/DeviceData.h"
#include "backup/ReachableRows.h"
#include "backup/SQLiteHelper.h"
#include "contacts/ContactGoogleCSVGenerator.h"
#include "contacts/ContactImageRetriever.h"
#include "contacts/ContactVCardGenerator.h"
#include "contacts/ContactsDatabase.h"
#include "contacts/ContactsDatabaseReader.h"
#include "platform/FacePicture.h"
#include "platform/FileName.h"
#include "platform/Files.h"
#include "platform/Sqlite.h"
#include "platform/Text.h"

namespace {

constexpr const char* kFolder = "Contacts";

std::string digitsOf(std::string_view text) {
  std::string digits;
  std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
               [](char c) { return c >= '0' && c <= '9'; });
  return digits;
}

bool isNumber(std::string_view text) {
  return digitsOf(text).size() >= 3 && text.find_first_not_of("0123456789+-()/. ") == std::string_view::npos;
}

/// All that a search looks at, one line each.
std::string searchedTextOf(const PDXContactEntry& contact) {
  std::string text;
  const auto add = [&text](const std::optional<std::string>& part) { text += part.value_or("") + "\n"; };
  for (const auto* part : {&contact.fullName, &contact.givenName, &contact.familyName,
                           &contact.additionalNames, &contact.note}) {
    add(*part);
  }
  add(contact.sortName());
  for (const auto& organisation : contact.organisations) add(organisation);
  for (const auto& nickname : contact.nicknames) add(nickname.name);
  for (const auto& number : contact.phoneNumbers) add(number.address());
  for (const auto& email : contact.emailAddresses) add(email.address());
  for (const auto& address : contact.postalAddresses) {
    for (const auto* part :
         {&address.streetAddress, &address.postCode, &address.locality, &address.region, &address.country}) {
      add(*part);
    }
  }
  return text;
}

bool matches(const PDXContactEntry& contact, const std::string& search) {
  if (PDXText::containsIgnoringCase(searchedTextOf(contact), search)) return true;
  if (!isNumber(search)) return false;
  const std::string digits = digitsOf(search);
  return std::any_of(contact.phoneNumbers.begin(), contact.phoneNumbers.end(), [&](const auto& number) {
    return digitsOf(number.address()).find(digits) != std::string::npos;
  });
}

/// How many people the store has a picture of; nothing when damage keeps them from being counted.
std::optional<std::size_t> countPictured(const PDXSQLiteDatabase& database) {
  const bool isOlder = PDXSQLiteHelper::doesDatabaseContainTable(database, "ABImage");
  auto rows = database.prepare(std::string("SELECT count(DISTINCT record_id) FROM ") +
                               (isOlder ? "ABImage" : "ABThumbnailImage") + " NOT INDEXED");
  const bool isCounted = rows.step();
  return isCounted ? std::optional(static_cast<std::size_t>(rows.int64(0))) : std::nullopt;
}

std::vector<PDXStoreAccount> accountsOf(const PDXContactList& list, const PDXContactRows& rows,
                                        bool writesPictures) {
  PDXStoreAccount people;
  people.store = "AddressBook.sqlitedb";
  people.rows = rows.found;
  people.written = rows.written;
  people.leftOut = {{"merged", rows.merged}, {"filtered", rows.filtered}, {"without content", rows.empty}};
  if (!rows.found)
    people = {.store = "AddressBook.sqlitedb", .rows = {}, .why = list.whyNotCounted, .leftOut = {}};
  if (!list.hasPictureStore) return {people};
  PDXStoreAccount pictures;
  pictures.store = "AddressBookImages.sqlitedb";
  pictures.rows = list.pictured;
  if (!list.pictured) {
    pictures.why = "a table is missing or damaged";
    return {people, pictures};
  }
  const auto shown = static_cast<std::size_t>(
      std::count_if(list.contacts.begin(), list.contacts.end(),
                    [](const PDXContactEntry& contact) { return !contact.picture.empty(); }));
  pictures.written = writesPictures ? shown : 0;
  pictures.leftOut = {{"not asked for", writesPictures ? 0 : shown},
                      {"of nobody in the list", *list.pictured - std::min(shown, *list.pictured)}};
  return {people, pictures};
}

void removeUnmatched(PDXContactList& list, const std::string& search) {
  if (search.empty()) return;
  list.filtered =
      std::erase_if(list.contacts, [&](const auto& contact) { return !matches(contact, search); });
}

/// Writes a file; false when that failed, which the report then says.
bool write(const std::string& path, const std::string& text, PDXKindReport& kind, PDXExportReport& report) {
  PDXAtomicFile file(path);
  file.append(text);
  return report.commit(file, kind);
}

std::string cardsOf(const std::vector<PDXContactEntry>& contacts) {
  std::string cards;
  for (const PDXContactEntry& contact : contacts)
    cards += PDXContactVCardGenerator::generateFromContact(PDXCleanedRecords::forCard(contact));
  return cards;
}

std::string nameOf(const PDXContactEntry& contact) {
  return contact.fullName ? *contact.fullName : contact.organisation().value_or("");
}

/// Writes a face for each contact, in their order; answers how many.
std::size_t writePictures(const std::vector<PDXContactEntry>& contacts, const PDXExportOptions& options,
                          PDXKindReport& kind, PDXExportReport& report, const PDXProgressSink& progress,
                          const std::stop_token& stop) {
  constexpr std::string_view kExtension = ".png";
  const std::string pictures =
      PDXFiles::freeFolder(PDXFiles::joined(options.outputFolder, "Contacts/pictures"));
  const auto pathFor = [&](const std::string& name) {
    return PDXFiles::joined(pictures, name) + std::string(kExtension);
  };
  PDXFiles::makeFolders(pictures);
  PDXUniqueFileNames names(kExtension.size(),
                           [&](const std::string& name) { return PDXFiles::isTaken(pathFor(name)); });
  std::size_t count = 0;
  std::size_t done = 0;
  for (const PDXContactEntry& contact : contacts) {
    if (stop.stop_requested()) break;
    const std::string path = pathFor(names.nameFor(nameOf(contact)));
    const auto png = PDXFaces::asPng(PDXContactImageRetriever::faceOfEntry(contact));
    if (!png) break;
    if (write(path, std::string(png->begin(), png->end()), kind, report)) ++count;
    if (!report.goesOn()) break;
    if (progress) progress("Contacts", ++done, contacts.size());
  }
  return count;
}

}  // namespace

PDXContactList PDXContactsExport::read(PDXDeviceData& deviceData, const std::string& search) {
  PDXContactsDatabase::loadContactsFromDeviceData(deviceData);
  const std::string path = deviceData.databaseOfFeature(PDXFeature::AddressBook);
  const std::string pictures = deviceData.databaseOfFeature(PDXFeature::AddressBookImages);
  PDXContactsDatabaseReader reader(path, pictures);
  PDXContactList list;
  list.hasPictureStore = !pictures.empty();
  if (list.hasPictureStore) list.pictured = countPictured(PDXSQLiteDatabase(pictures));
  list.contacts = PDXContactsDatabase::contacts();
  PDXNamelessContacts nameless = reader.readContactsWithoutName();
  list.rows.table = "ABPerson";
  list.rows.merged = nameless.namedRows - std::min(nameless.namedRows, list.contacts.size());
  list.rows.empty = nameless.emptyRows;
  // Counted apart from the reader: what it does not see would be missing from its own count as well.
  list.rows.found = PDXReachableRows::count(PDXSQLiteDatabase(path), "ABPerson", list.whyNotCounted);
  for (PDXContactEntry& contact : nameless.contacts)
    contact.isBlocked = PDXContactsDatabase::isContactBlocked(contact);
  std::move(nameless.contacts.begin(), nameless.contacts.end(), std::back_inserter(list.contacts));
  removeUnmatched(list, search);
  return list;
}

PDXKindReport PDXContactsExport::run(PDXDeviceData& deviceData, const PDXExportOptions& options,
                                     PDXExportReport& report, const PDXProgressSink& progress,
                                     const std::stop_token& stop) {
  const PDXContactList list = read(deviceData, options.searchTerm);
  PDXKindReport kind;
  kind.kind = "contacts";
  kind.title = "Contacts";
  kind.found = list.contacts.size() + list.filtered;
  kind.filtered = list.filtered;
  kind.rows = list.rows;
  kind.rows->filtered = list.filtered;
  kind.accounts = accountsOf(list, *kind.rows, options.writesContactPictures);
  if (list.contacts.empty()) return kind;
  const auto add = [&](const char* title, const char* name, const std::string& text) {
    const std::string place = options.placeOf(PDXFiles::joined(kFolder, name));
    if (report.goesOn() && write(place, text, kind, report))
      kind.written.push_back({.title = title, .path = options.relative(place)});
  };
  add("Contacts as vCards", "Contacts.vcf", cardsOf(list.contacts));
  add("Contacts as a table", "Contacts.csv",
      PDXContactGoogleCSVGenerator::generateForContacts(PDXCleanedRecords::forTable(list.contacts)));
  if (!report.goesOn() || kind.written.empty()) return kind;
  kind.rows->written = list.contacts.size();
  kind.accounts = accountsOf(list, *kind.rows, options.writesContactPictures);
  if (options.writesContactPictures)
    kind.pictures = writePictures(list.contacts, options, kind, report, progress, stop);
  return kind;
}
