#include "calllogs/CallLogNames.h"

#include "contacts/ContactsDatabase.h"

const PDXCallLogNames::Known& PDXCallLogNames::of(const std::string& address) {
  const auto [known, isNew] = known_.try_emplace(address);
  if (isNew && !address.empty()) known->second = found_(address);
  return known->second;
}

PDXCallLogNames::Known PDXCallLogNames::found_(const std::string& address) {
  Known known;
  if (PDXContactsDatabase::isLoaded()) {
    const PDXContactEntry* contact = PDXContactsDatabase::getContactWithAddress(address);
    if (contact != nullptr) {
      known.name = contact->fullName ? *contact->fullName : contact->organisation().value_or("");
      known.isBlocked = contact->isBlocked;
    }
    known.isBlocked = known.isBlocked || PDXContactsDatabase::isNumberBlocked(address);
  }
  if (known.name.empty()) known.name = preferences_.determineContactNameForAddress(address);
  return known;
}
