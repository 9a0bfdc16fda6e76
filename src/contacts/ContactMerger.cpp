#include "contacts/ContactMerger.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <unordered_map>
#include <utility>

#include "platform/Text.h"

namespace {

/// A contact of one name, with its organisation ready to compare; empty without one.
struct Namesake {
  PDXContactEntry contact;
  std::string organisation;
};
using Bucket = std::vector<Namesake>;

std::string comparableOrganisation(const PDXContactEntry& contact) {
  return PDXText::lowercased(contact.organisation().value_or(""));
}

/// The member that a contact of this organisation is merged into; null when it is a person of its own.
Namesake* targetFor(const std::string& organisation, Bucket& bucket) {
  if (organisation.empty()) return &bucket.front();
  const auto same = std::find_if(bucket.begin(), bucket.end(),
                                 [&](const Namesake& member) { return member.organisation == organisation; });
  if (same != bucket.end()) return &*same;
  const auto without = std::find_if(bucket.begin(), bucket.end(),
                                    [](const Namesake& member) { return member.organisation.empty(); });
  return without == bucket.end() ? nullptr : &*without;
}

void addTo(Bucket& bucket, PDXContactEntry contact) {
  std::string organisation = comparableOrganisation(contact);
  Namesake* target = bucket.empty() ? nullptr : targetFor(organisation, bucket);
  if (target == nullptr) {
    bucket.push_back({std::move(contact), std::move(organisation)});
    return;
  }
  PDXContactMerger::mergeContactIntoContact(contact, target->contact);
  target->organisation = comparableOrganisation(target->contact);
}

/// Appends each item of `source` that has no equal in `target`.
template <typename Item, typename Equality>
void mergeSourceIntoTargetUsingEqualityBlock(const std::vector<Item>& source, std::vector<Item>& target,
                                             Equality isEqual) {
  for (const Item& item : source) {
    const bool isThere =
        std::any_of(target.begin(), target.end(), [&](const Item& other) { return isEqual(item, other); });
    if (!isThere) target.push_back(item);
  }
}

void fillIn(const std::optional<std::string>& source, std::optional<std::string>& target) {
  if (!source.value_or("").empty() && target.value_or("").empty()) target = source;
}

}  // namespace

std::vector<PDXContactEntry> PDXContactMerger::mergeIdenticalContactsInArray(
    std::vector<PDXContactEntry> contacts) {
  std::vector<Bucket> buckets;
  std::unordered_map<std::string, std::size_t> bucketOfName;
  for (PDXContactEntry& contact : contacts) {
    const auto [place, isNew] =
        bucketOfName.try_emplace(createIdentifierForContact_(contact), buckets.size());
    if (isNew) buckets.emplace_back();
    addTo(buckets[place->second], std::move(contact));
  }

  std::vector<PDXContactEntry> merged;
  for (Bucket& bucket : buckets) {
    for (Namesake& member : bucket) merged.push_back(std::move(member.contact));
  }
  return merged;
}

void PDXContactMerger::mergeContactIntoContact(const PDXContactEntry& source, PDXContactEntry& target) {
  mergePhoneNumbersOfContactIntoContact_(source, target);
  mergePostalAddressesOfContactIntoContact_(source, target);
  mergeEmailAddressesOfContactIntoContact_(source, target);
  mergeNicknamesOfContactIntoContact_(source, target);
  mergeOrganisationsOfContactIntoContact_(source, target);
  mergeAdditionalInformationOfContactIntoContact_(source, target);
}

std::string PDXContactMerger::createIdentifierForContact_(const PDXContactEntry& contact) {
  const std::string name =
      contact.givenName.value_or("") + contact.additionalNames.value_or("") + contact.familyName.value_or("");
  return PDXText::lowercased(PDXText::trimmed(name));
}

void PDXContactMerger::mergePhoneNumbersOfContactIntoContact_(const PDXContactEntry& source,
                                                              PDXContactEntry& target) {
  mergeSourceIntoTargetUsingEqualityBlock(
      source.phoneNumbers, target.phoneNumbers,
      [](const auto& item, const auto& other) { return item.isEqualToPhoneNumber(other); });
}

void PDXContactMerger::mergePostalAddressesOfContactIntoContact_(const PDXContactEntry& source,
                                                                 PDXContactEntry& target) {
  mergeSourceIntoTargetUsingEqualityBlock(
      source.postalAddresses, target.postalAddresses,
      [](const auto& item, const auto& other) { return item.isEqualToPostalAddress(other); });
}

void PDXContactMerger::mergeEmailAddressesOfContactIntoContact_(const PDXContactEntry& source,
                                                                PDXContactEntry& target) {
  mergeSourceIntoTargetUsingEqualityBlock(
      source.emailAddresses, target.emailAddresses,
      [](const auto& item, const auto& other) { return item.isEqualToEmailAddress(other); });
}

void PDXContactMerger::mergeNicknamesOfContactIntoContact_(const PDXContactEntry& source,
                                                           PDXContactEntry& target) {
  mergeSourceIntoTargetUsingEqualityBlock(
      source.nicknames, target.nicknames,
      [](const auto& item, const auto& other) { return item.isEqualToNickname(other); });
}

void PDXContactMerger::mergeOrganisationsOfContactIntoContact_(const PDXContactEntry& source,
                                                               PDXContactEntry& target) {
  mergeSourceIntoTargetUsingEqualityBlock(source.organisations, target.organisations, std::equal_to<>());
}

void PDXContactMerger::mergeAdditionalInformationOfContactIntoContact_(const PDXContactEntry& source,
                                                                       PDXContactEntry& target) {
  fillIn(source.honorificPrefixes, target.honorificPrefixes);
  fillIn(source.honorificSuffixes, target.honorificSuffixes);
  fillIn(source.note, target.note);
  fillIn(source.role, target.role);
  fillIn(source.searchReference, target.searchReference);
  fillIn(source.url, target.url);
  if (!target.birthday) target.birthday = source.birthday;
  if (target.picture.empty()) target.picture = source.picture;
}
