#include "messages/MessageParticipant.h"

#include "contacts/ContactsDatabase.h"
#include "contacts/ContactsDatabaseReader.h"
#include "messages/MobileSMSPlistReader.h"

namespace {

std::string nameOfLoadedContact(const std::string& address) {
  if (!PDXContactsDatabase::isLoaded()) return "";
  const PDXContactEntry* contact = PDXContactsDatabase::getContactWithAddress(address);
  if (contact == nullptr) return "";
  return contact->fullName ? *contact->fullName : contact->organisation().value_or("");
}

}  // namespace

void PDXMessageParticipant::setAddress(const std::string& address) {
  address_ = address;
  name_.clear();
  isKnownContact_ = false;
  if (address.empty() || setKnownName_(nameOfLoadedContact(address))) return;
  if (setKnownName_(PDXContactsDatabaseReader::searchForContactNameWithAddressInDatabase(
          address, contactsDatabasePath_))) {
    return;
  }
  const auto preferences = PDXMobileSMSPlistReader(mobileSMSPlistPath_, contactsDatabasePath_);
  setKnownName_(preferences.determineContactNameForAddress(address));
}

bool PDXMessageParticipant::setKnownName_(const std::string& name) {
  if (name.empty()) return false;
  name_ = name;
  isKnownContact_ = true;
  return true;
}
