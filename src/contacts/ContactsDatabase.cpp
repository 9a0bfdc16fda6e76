#include "contacts/ContactsDatabase.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "backup/BackupNavigation.h"
#include "backup/DeviceData.h"
#include "contacts/BlockedNumberReader.h"
#include "contacts/ContactsDatabaseReader.h"
#include "contacts/PhoneNumberComparison.h"
#include "contacts/VCardReader.h"
#include "platform/Files.h"

namespace {

struct BlockedSpellings {
  PDXComparableNumber number;
  std::string knownVariations;
};

/// What the process keeps of the opened backup's address book. Numbers and addresses are made ready for
/// lookups once: a message store asks for the same few thousand over and over.
struct Store {
  /// Held during a load, so that loads from several threads come one after the other.
  std::mutex loading;

  std::vector<PDXContactEntry> contacts;
  PDXNumberIndex numbers;
  std::vector<std::size_t> contactOfNumber;

  /// The first contact with each e-mail address. The keys are texts of `contacts`.
  std::unordered_map<std::string_view, std::size_t> contactOfEmailAddress;

  std::vector<BlockedSpellings> blocked;
};

Store& store() {
  static Store theStore;
  return theStore;
}

void emptyContacts() {
  store().contactOfEmailAddress.clear();
  store().numbers.clear();
  store().contactOfNumber.clear();
  store().contacts.clear();
}

void emptyAll() {
  emptyContacts();
  store().blocked.clear();
}

void addToLookups(std::size_t index) {
  const PDXContactEntry& contact = store().contacts[index];
  for (const auto& number : contact.phoneNumbers) {
    store().numbers.add(number.address());
    store().contactOfNumber.push_back(index);
  }
  for (const auto& email : contact.emailAddresses) {
    store().contactOfEmailAddress.try_emplace(email.address(), index);
  }
}

const PDXContactEntry* contactWithEmailAddress(std::string_view address) {
  const auto found = store().contactOfEmailAddress.find(address);
  return found == store().contactOfEmailAddress.end() ? nullptr : &store().contacts[found->second];
}

void keepBlockedNumbers(const std::vector<PDXBlockedNumber>& numbers) {
  for (const PDXBlockedNumber& blocked : numbers) {
    if (blocked.number.empty()) continue;
    store().blocked.push_back({PDXComparableNumber(blocked.number), blocked.knownVariations.value_or("")});
  }
}

void keepContacts(std::vector<PDXContactEntry> contacts) {
  for (PDXContactEntry& contact : contacts) {
    contact.isBlocked = PDXContactsDatabase::isContactBlocked(contact);
  }
  store().contacts = std::move(contacts);
  for (std::size_t i = 0; i < store().contacts.size(); ++i) addToLookups(i);
}

/// Another backup's owner knows other people.
void forgetWhenAnotherBackupOpens() {
  static std::once_flag registered;
  std::call_once(registered, [] {
    PDXDeviceData::whenAnotherOpens([] {
      const std::lock_guard lock(store().loading);
      emptyAll();
    });
  });
}

}  // namespace

void PDXContactsDatabase::loadContactsFromDeviceData(PDXDeviceData& deviceData) {
  forgetWhenAnotherBackupOpens();
  const std::lock_guard lock(store().loading);
  emptyAll();

  const std::string path = deviceData.databaseOfFeature(PDXFeature::AddressBook);
  std::vector<PDXContactEntry> contacts;
  if (!path.empty()) {
    const std::string picturesPath = deviceData.databaseOfFeature(PDXFeature::AddressBookImages);
    contacts = PDXContactsDatabaseReader::readContactsFromDatabasePicturesDatabasePath(path, picturesPath);
    sortContacts_(contacts);
  }
  const std::string listPath = deviceData.GetFilesByFeatureType(PDXFeature::BlockedNumbers);
  keepBlockedNumbers(PDXBlockedNumberReader::getBlockedNumbersFromPListContactsDatabase(listPath, path));
  keepContacts(std::move(contacts));
}

void PDXContactsDatabase::loadContactsFromFolderPath(const std::string& folder) {
  forgetWhenAnotherBackupOpens();
  const std::lock_guard lock(store().loading);
  emptyAll();

  auto contacts = PDXContactsDatabaseReader::readContactsFromDatabasePicturesDatabasePath(
      PDXFiles::joined(folder, "AddressBook.sqlitedb"),
      PDXFiles::joined(folder, "AddressBookImages.sqlitedb"));
  if (contacts.empty()) contacts = readContactsInFolder(folder);
  sortContacts_(contacts);
  keepContacts(std::move(contacts));
}

const std::vector<PDXContactEntry>& PDXContactsDatabase::contacts() { return store().contacts; }

bool PDXContactsDatabase::isLoaded() { return !store().contacts.empty(); }

void PDXContactsDatabase::clear() {
  const std::lock_guard lock(store().loading);
  emptyContacts();
}

const PDXContactEntry* PDXContactsDatabase::getContactWithAddress(std::string_view address) {
  if (address.empty()) return nullptr;
  if (address.find('@') != std::string_view::npos) return contactWithEmailAddress(address);
  const auto found = store().numbers.firstEqualTo(address);
  return found ? &store().contacts[store().contactOfNumber[*found]] : nullptr;
}

std::optional<std::string> PDXContactsDatabase::getFullNameOfConactWithAddress(std::string_view address) {
  const PDXContactEntry* contact = getContactWithAddress(address);
  return contact == nullptr ? std::nullopt : contact->fullName;
}

bool PDXContactsDatabase::isNumberBlocked(std::string_view number) {
  if (number.empty() || store().blocked.empty()) return false;
  const PDXComparableNumber comparable(number);
  const auto& blocked = store().blocked;
  return std::any_of(blocked.begin(), blocked.end(), [&](const BlockedSpellings& spellings) {
    return spellings.number.isEqualTo(comparable) ||
           spellings.knownVariations.find(number) != std::string::npos;
  });
}

bool PDXContactsDatabase::isContactBlocked(const PDXContactEntry& contact) {
  return std::any_of(contact.phoneNumbers.begin(), contact.phoneNumbers.end(),
                     [](const PDXContactPhoneNumber& number) { return isNumberBlocked(number.address()); });
}

bool PDXContactsDatabase::numberStringIsEqualToNumberString(std::string_view a, std::string_view b) {
  return PDXComparableNumber(a).isEqualTo(PDXComparableNumber(b));
}

void PDXContactsDatabase::sortContacts_(std::vector<PDXContactEntry>& contacts) {
  std::stable_sort(contacts.begin(), contacts.end(), [](const auto& left, const auto& right) {
    return PDXContactEntry::compare(left, right) < 0;
  });
}

std::vector<PDXContactEntry> PDXContactsDatabase::readContactsInFolder(const std::string& folder) {
  return PDXVCardReader::readContactsInFolder(folder);
}
