#include "contacts/ContactMerger.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "platform/Text.h"

namespace {

/// One number for all of the texts; a missing one counts as empty.
std::size_t hashOf(std::initializer_list<const std::optional<std::string>*> texts) {
  std::size_t hash = 0;
  for (const auto* text : texts) hash = hash * 31 + std::hash<std::string_view>()(text->value_or(""));
  return hash;
}

std::size_t hashOf(std::string_view text) { return std::hash<std::string_view>()(text); }
std::size_t hashOf(const PDXContactPhoneNumber& number) { return hashOf(number.address()); }
std::size_t hashOf(const PDXContactEmailAddress& email) { return hashOf(email.address()); }
std::size_t hashOf(const PDXContactNickname& nickname) { return hashOf(nickname.name); }
std::size_t hashOf(const PDXContactPostalAddress& address) {
  return hashOf({&address.streetAddress, &address.extendedAddress, &address.region, &address.country,
                 &address.countryCode, &address.postCode, &address.postOfficeBox, &address.locality});
}

std::string comparableOrganisation(const PDXContactEntry& contact) {
  return PDXText::lowercased(contact.organisation().value_or(""));
}

void fillIn(const std::optional<std::string>& source, std::optional<std::string>& target) {
  if (!source.value_or("").empty() && target.value_or("").empty()) target = source;
}

}  // namespace

/// Where the items of a contact's list are, by what they say: somebody may be merged out of thousands.
class PDXContactMerger::KnownItems {
 public:
  /// Appends each item of `source` that has no equal in `target`, which is the same list in every call.
  template <typename Item, typename Equality>
  void mergeSourceIntoTargetUsingEqualityBlock(const std::vector<Item>& source, std::vector<Item>& target,
                                               Equality isEqual) {
    while (places_.size() < target.size()) places_.emplace(hashOf(target[places_.size()]), places_.size());
    for (const Item& item : source) {
      const auto [first, last] = places_.equal_range(hashOf(item));
      const bool isThere =
          std::any_of(first, last, [&](const auto& place) { return isEqual(item, target[place.second]); });
      if (isThere) continue;
      places_.emplace(hashOf(item), target.size());
      target.push_back(item);
    }
  }

 private:
  std::unordered_multimap<std::size_t, std::size_t> places_;
};

struct PDXContactMerger::KnownLists {
  KnownItems phoneNumbers, postalAddresses, emailAddresses, nicknames, organisations;
};

/// The contacts of one name, in the order in which they were met.
class PDXContactMerger::Bucket {
 public:
  /// Merges the contact into the member that it belongs to, or makes it a member.
  void add(PDXContactEntry contact) {
    const std::string organisation = comparableOrganisation(contact);
    Member* target = members_.empty() ? nullptr : targetFor(organisation);
    if (target == nullptr) {
      placeOfOrganisation_.try_emplace(organisation, members_.size());
      members_.push_back({std::move(contact), nullptr});
      return;
    }
    if (target->known == nullptr) target->known = std::make_unique<KnownLists>();
    merge_(contact, target->contact, *target->known);
    // The first one without organisation may have got one.
    placeOfOrganisation_.try_emplace(comparableOrganisation(target->contact),
                                     static_cast<std::size_t>(target - members_.data()));
  }

  void moveMembersTo(std::vector<PDXContactEntry>& contacts) {
    for (Member& member : members_) contacts.push_back(std::move(member.contact));
  }

 private:
  struct Member {
    PDXContactEntry contact;
    std::unique_ptr<KnownLists> known;  ///< From the first merge on.
  };

  /// The one that a contact of this organisation is merged into; null when it is a person of its own. Only
  /// the first can be without organisation: it would have taken in everybody that followed.
  Member* targetFor(const std::string& organisation) {
    const auto same = placeOfOrganisation_.find(organisation);
    if (!organisation.empty() && same != placeOfOrganisation_.end()) return &members_[same->second];
    const bool firstTakesAll =
        organisation.empty() || comparableOrganisation(members_.front().contact).empty();
    return firstTakesAll ? &members_.front() : nullptr;
  }

  std::vector<Member> members_;
  std::unordered_map<std::string, std::size_t> placeOfOrganisation_;
};

std::vector<PDXContactEntry> PDXContactMerger::mergeIdenticalContactsInArray(
    std::vector<PDXContactEntry> contacts) {
  std::vector<Bucket> buckets;
  std::unordered_map<std::string, std::size_t> bucketOfName;
  for (PDXContactEntry& contact : contacts) {
    const auto [place, isNew] =
        bucketOfName.try_emplace(createIdentifierForContact_(contact), buckets.size());
    if (isNew) buckets.emplace_back();
    buckets[place->second].add(std::move(contact));
  }

  std::vector<PDXContactEntry> merged;
  for (Bucket& bucket : buckets) bucket.moveMembersTo(merged);
  return merged;
}

void PDXContactMerger::mergeContactIntoContact(const PDXContactEntry& source, PDXContactEntry& target) {
  KnownLists known;
  merge_(source, target, known);
}

void PDXContactMerger::merge_(const PDXContactEntry& source, PDXContactEntry& target, KnownLists& known) {
  mergePhoneNumbersOfContactIntoContact_(source, target, known);
  mergePostalAddressesOfContactIntoContact_(source, target, known);
  mergeEmailAddressesOfContactIntoContact_(source, target, known);
  mergeNicknamesOfContactIntoContact_(source, target, known);
  mergeOrganisationsOfContactIntoContact_(source, target, known);
  mergeAdditionalInformationOfContactIntoContact_(source, target);
}

std::string PDXContactMerger::createIdentifierForContact_(const PDXContactEntry& contact) {
  const std::string name =
      contact.givenName.value_or("") + contact.additionalNames.value_or("") + contact.familyName.value_or("");
  return PDXText::lowercased(PDXText::trimmed(name));
}

void PDXContactMerger::mergePhoneNumbersOfContactIntoContact_(const PDXContactEntry& source,
                                                              PDXContactEntry& target, KnownLists& known) {
  known.phoneNumbers.mergeSourceIntoTargetUsingEqualityBlock(
      source.phoneNumbers, target.phoneNumbers,
      [](const auto& item, const auto& other) { return item.isEqualToPhoneNumber(other); });
}

void PDXContactMerger::mergePostalAddressesOfContactIntoContact_(const PDXContactEntry& source,
                                                                 PDXContactEntry& target, KnownLists& known) {
  known.postalAddresses.mergeSourceIntoTargetUsingEqualityBlock(
      source.postalAddresses, target.postalAddresses,
      [](const auto& item, const auto& other) { return item.isEqualToPostalAddress(other); });
}

void PDXContactMerger::mergeEmailAddressesOfContactIntoContact_(const PDXContactEntry& source,
                                                                PDXContactEntry& target, KnownLists& known) {
  known.emailAddresses.mergeSourceIntoTargetUsingEqualityBlock(
      source.emailAddresses, target.emailAddresses,
      [](const auto& item, const auto& other) { return item.isEqualToEmailAddress(other); });
}

void PDXContactMerger::mergeNicknamesOfContactIntoContact_(const PDXContactEntry& source,
                                                           PDXContactEntry& target, KnownLists& known) {
  known.nicknames.mergeSourceIntoTargetUsingEqualityBlock(
      source.nicknames, target.nicknames,
      [](const auto& item, const auto& other) { return item.isEqualToNickname(other); });
}

void PDXContactMerger::mergeOrganisationsOfContactIntoContact_(const PDXContactEntry& source,
                                                               PDXContactEntry& target, KnownLists& known) {
  known.organisations.mergeSourceIntoTargetUsingEqualityBlock(source.organisations, target.organisations,
                                                              std::equal_to<>());
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
