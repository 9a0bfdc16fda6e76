#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "contacts/ContactPicture.h"
#include "platform/Date.h"

/// A phone number of a person. Source: ABMultiValue, property 3.
class PDXContactPhoneNumber {
 public:
  /// @param address  the number as stored; nothing is removed from it.
  explicit PDXContactPhoneNumber(std::string address) : address_(std::move(address)) {}

  /// The number with the formatting that its owner gave it: blanks, parentheses, U+00A0, direction marks.
  const std::string& address() const { return address_; }
  void setAddress(std::string address) { address_ = std::move(address); }

  /// Whether all flags, the location and the exact text agree. Two spellings of one number are not equal
  /// here; PDXContactsDatabase::numberStringIsEqualToNumberString compares numbers.
  bool isEqualToPhoneNumber(const PDXContactPhoneNumber& other) const { return *this == other; }
  friend bool operator==(const PDXContactPhoneNumber&, const PDXContactPhoneNumber&) = default;

  /// 1 home or other, 2 work, 0 when the number has no label.
  int location = 0;

  bool isVoiceMessageCapable = false;
  bool isVoice = false;
  bool isFax = false;
  bool isCell = false;
  bool isVideo = false;
  bool isPager = false;
  bool isBbs = false;
  bool isModem = false;
  bool isIsdn = false;
  bool isPcs = false;

 private:
  std::string address_;
};

/// An e-mail address of a person. Source: ABMultiValue, property 4.
class PDXContactEmailAddress {
 public:
  explicit PDXContactEmailAddress(std::string address) : address_(std::move(address)) {}

  const std::string& address() const { return address_; }
  void setAddress(std::string address) { address_ = std::move(address); }

  /// Whether preference, location and the exact text agree; the type does not count.
  bool isEqualToEmailAddress(const PDXContactEmailAddress& other) const;

  /// Not filled from the address book.
  std::optional<std::string> emailType;

  /// 1 home or other, 2 work, 0 when the address has no label.
  int location = 0;

  bool isPreferred = false;

 private:
  std::string address_;
};

/// A postal address of a person. Source: ABMultiValue, property 5, whose parts are in ABMultiValueEntry.
struct PDXContactPostalAddress {
  bool hasLocation() const { return location != 0; }
  bool hasDeliveryTypeGEO() const { return deliveryTypeGEO.has_value(); }
  bool hasDeliveryTypePhysical() const { return deliveryTypePhysical.has_value(); }

  /// Whether every field agrees; two missing texts are equal, a missing and an empty one are not.
  bool isEqualToPostalAddress(const PDXContactPostalAddress& other) const { return *this == other; }
  friend bool operator==(const PDXContactPostalAddress&, const PDXContactPostalAddress&) = default;

  /// 1 home or other, 2 work, 0 when the address has no label.
  int location = 0;

  /// Not filled from the address book.
  std::optional<bool> deliveryTypeGEO;
  std::optional<bool> deliveryTypePhysical;

  /// The lines joined by ";". Source: the entry "Street".
  std::optional<std::string> streetAddress;

  /// Not filled from the address book.
  std::optional<std::string> extendedAddress;

  std::optional<std::string> region;       ///< Source: the entry "State".
  std::optional<std::string> country;      ///< Source: the entry "Country".
  std::optional<std::string> countryCode;  ///< E.g. "gb". Source: the entry "CountryCode".
  std::optional<std::string> postCode;     ///< Source: the entry "ZIP".

  /// Not filled from the address book.
  std::optional<std::string> postOfficeBox;

  std::optional<std::string> locality;  ///< Source: the entry "City".
};

/// Another name that a person goes by. Not filled from the address book.
struct PDXContactNickname {
  explicit PDXContactNickname(std::string nickname) : name(std::move(nickname)) {}

  const std::string& stringValue() const { return name; }
  bool isEqualToNickname(const PDXContactNickname& other) const { return name == other.name; }

  std::string name;
};

/// Which name comes first where contacts are listed.
enum class PDXContactSortNameOrder { familyNameFirst = 0, displayNameFirst = 1 };

/// One person or organisation of the address book, complete when handed over.
/// Source: AddressBook.sqlitedb; a text is missing, never empty, where its column holds none.
struct PDXContactEntry {
  bool hasPhoneNumbers() const { return !phoneNumbers.empty(); }
  bool hasPostalAddresses() const { return !postalAddresses.empty(); }
  bool hasEmailAddresses() const { return !emailAddresses.empty(); }
  bool hasNicknames() const { return !nicknames.empty(); }
  bool hasOrganisations() const { return !organisations.empty(); }
  bool hasCategories() const { return !categories.empty(); }
  bool hasClasses() const { return !classes.empty(); }

  /// The first of `organisations`; nothing when there are none.
  std::optional<std::string> organisation() const;

  /// The text under which lists show and group the contact, in the process's sort-name order.
  ///
  /// Display name first: full name, else organisation, else "Unknown Contact".
  /// Family name first: "Lee, Ann Jo", or what there is of it; else organisation, else "Unkown Contact".
  /// Without a given name but with additional names it is "Lee, (null)" for a missing given name, "Lee, " for
  /// an empty one, and without a family name the given name itself: the one case that can give nothing.
  std::optional<std::string> sortName() const;

  /// Always 0, equal: lists keep the order in which the merger returned them.
  static int compare(const PDXContactEntry& a, const PDXContactEntry& b);

  /// The process-wide order of names; family name first at start. Safe on any thread.
  static PDXContactSortNameOrder sortNameOrder();
  static void setSortNameOrder(PDXContactSortNameOrder order);

  /// The row's number in decimal. Source: ABPerson.ROWID.
  std::optional<std::string> uid;

  /// What finds the contact by name: the full name, else the organisation.
  std::optional<std::string> searchReference;

  /// Not filled from the address book.
  std::optional<std::string> revision;
  std::optional<std::string> sortString;

  /// Given, additional and family name with a blank between them; missing when there is none of the three.
  std::optional<std::string> fullName;

  std::optional<std::string> givenName;          ///< Source: ABPerson.First.
  std::optional<std::string> familyName;         ///< Source: ABPerson.Last.
  std::optional<std::string> additionalNames;    ///< Source: ABPerson.Middle.
  std::optional<std::string> title;              ///< The job. Source: ABPerson.JobTitle.
  std::optional<std::string> honorificPrefixes;  ///< Source: ABPerson.Prefix.
  std::optional<std::string> honorificSuffixes;  ///< Source: ABPerson.Suffix.

  /// Not filled from the address book.
  std::optional<PDXDate> birthday;

  std::optional<std::string> note;  ///< Source: ABPerson.Note.

  /// Not filled from the address book.
  std::optional<std::string> role;

  /// A web address. Source: ABMultiValue, property 22, first row.
  std::optional<std::string> url;

  /// Not filled from the address book.
  std::optional<std::string> mailer;

  /// The picture's file as stored, JPEG or PNG as a rule.
  /// Source: ABImage.data or ABThumbnailImage.data of AddressBookImages.sqlitedb.
  PDXContactPicture picture;

  /// Whether the device blocks one of the phone numbers. Set by PDXContactsDatabase.
  bool isBlocked = false;

  std::vector<PDXContactPhoneNumber> phoneNumbers;
  std::vector<PDXContactPostalAddress> postalAddresses;
  std::vector<PDXContactEmailAddress> emailAddresses;

  /// Not filled from the address book.
  std::vector<PDXContactNickname> nicknames;

  std::vector<std::string> organisations;  ///< Source: ABPerson.Organization; more after a merge.

  /// Not filled from the address book.
  std::vector<std::string> categories;
  std::vector<std::string> classes;
};
