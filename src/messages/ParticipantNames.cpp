#include "messages/ParticipantNames.h"

#include "contacts/ContactsDatabase.h"

namespace {

std::string nameOfLoadedContact(const std::string& address) {
  if (!PDXContactsDatabase::isLoaded()) return "";
  const PDXContactEntry* contact = PDXContactsDatabase::getContactWithAddress(address);
  if (contact == nullptr) return "";
  return contact->fullName ? *contact->fullName : contact->organisation().value_or("");
}

}  // namespace

const std::string& PDXParticipantNames::nameOf(const std::string& address) {
  const auto [known, isNew] = names_.try_emplace(address);
  if (isNew && !address.empty()) known->second = found_(address);
  return known->second;
}

std::string PDXParticipantNames::found_(const std::string& address) {
  std::string name = nameOfLoadedContact(address);
  if (name.empty()) name = search_.nameOf(address);
  return name.empty() ? preferences_.determineContactNameForAddress(address) : name;
}
