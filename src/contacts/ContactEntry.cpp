#include "contacts/ContactEntry.h"

#include <atomic>

namespace {

std::atomic<PDXContactSortNameOrder> currentOrder = PDXContactSortNameOrder::familyNameFirst;

bool isEmpty(const std::optional<std::string>& text) { return !text || text->empty(); }

/// The sort name of somebody with additional names but no given name. The given name is printed all the same,
/// and a missing one by the word for it: lists keep such a person under the family name that way.
std::optional<std::string> sortNameWithoutGivenName(const PDXContactEntry& contact) {
  if (isEmpty(contact.familyName)) return contact.givenName;
  return *contact.familyName + ", " + contact.givenName.value_or("(null)");
}

/// "Lee, Ann Jo", or what there is of family, given and additional names.
std::string familyNameAndGivenNames(const PDXContactEntry& contact) {
  std::string name = contact.familyName.value_or("");
  if (isEmpty(contact.givenName)) return name;
  if (!name.empty()) name += ", ";
  name += *contact.givenName;
  if (!isEmpty(contact.additionalNames)) name += " " + *contact.additionalNames;
  return name;
}

}  // namespace

bool PDXContactEmailAddress::isEqualToEmailAddress(const PDXContactEmailAddress& other) const {
  return isPreferred == other.isPreferred && location == other.location && address_ == other.address_;
}

std::optional<std::string> PDXContactEntry::organisation() const {
  if (organisations.empty()) return std::nullopt;
  return organisations.front();
}

std::optional<std::string> PDXContactEntry::sortName() const {
  if (sortNameOrder() == PDXContactSortNameOrder::displayNameFirst) {
    return fullName ? fullName : organisation().value_or("Unknown Contact");
  }
  if (isEmpty(givenName) && !isEmpty(additionalNames)) return sortNameWithoutGivenName(*this);
  const std::string name = familyNameAndGivenNames(*this);
  return name.empty() ? organisation().value_or("Unkown Contact") : name;
}

int PDXContactEntry::compare(const PDXContactEntry& /*a*/, const PDXContactEntry& /*b*/) { return 0; }

PDXContactSortNameOrder PDXContactEntry::sortNameOrder() { return currentOrder; }

void PDXContactEntry::setSortNameOrder(PDXContactSortNameOrder order) { currentOrder = order; }
