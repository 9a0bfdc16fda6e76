#pragma once

#include <string>
#include <vector>

#include "contacts/ContactEntry.h"

/// Folds the entries of one person into one: a device with several accounts keeps the person once for each.
class PDXContactMerger {
 public:
  /// The contacts with those of one name merged, unless they are at different organisations.
  ///
  /// People with the same name stay together, at the place where the name is first met. The entry met first
  /// takes in the others: one of the same organisation, else one without any; an entry without an
  /// organisation goes to the first of its name.
  static std::vector<PDXContactEntry> mergeIdenticalContactsInArray(std::vector<PDXContactEntry> contacts);

  /// Copies into `target` what `source` adds; nothing that the target has is replaced. Names, job and number
  /// of the row are left alone.
  static void mergeContactIntoContact(const PDXContactEntry& source, PDXContactEntry& target);

 private:
  class KnownItems;
  struct KnownLists;
  class Bucket;

  /// @param known  about the lists of `target`; the same in every call for that one.
  static void merge_(const PDXContactEntry& source, PDXContactEntry& target, KnownLists& known);

  static std::string createIdentifierForContact_(const PDXContactEntry& contact);
  static void mergePhoneNumbersOfContactIntoContact_(const PDXContactEntry& source, PDXContactEntry& target,
                                                     KnownLists& known);
  static void mergePostalAddressesOfContactIntoContact_(const PDXContactEntry& source,
                                                        PDXContactEntry& target, KnownLists& known);
  static void mergeEmailAddressesOfContactIntoContact_(const PDXContactEntry& source, PDXContactEntry& target,
                                                       KnownLists& known);
  static void mergeNicknamesOfContactIntoContact_(const PDXContactEntry& source, PDXContactEntry& target,
                                                  KnownLists& known);
  static void mergeOrganisationsOfContactIntoContact_(const PDXContactEntry& source, PDXContactEntry& target,
                                                      KnownLists& known);
  static void mergeAdditionalInformationOfContactIntoContact_(const PDXContactEntry& source,
                                                              PDXContactEntry& target);
};
