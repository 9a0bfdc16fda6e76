#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "contacts/ContactEntry.h"

class PDXDeviceData;

/// The contacts of the opened backup, kept for the whole process, with the numbers that the device blocks.
///
/// A load replaces everything; opening another backup empties it.
/// Threads: loads and `clear` run one after the other. Lookups take no lock and may run on several threads at
/// once, but only when no load is under way.
class PDXContactsDatabase {
 public:
  /// Loads the address book with its pictures and the list of blocked numbers. What the backup does not hold
  /// stays empty.
  static void loadContactsFromDeviceData(PDXDeviceData& deviceData);

  /// Loads "AddressBook.sqlitedb" and "AddressBookImages.sqlitedb" of a folder; when they give no contacts,
  /// the folder's contact files. No number is blocked afterwards.
  static void loadContactsFromFolderPath(const std::string& folder);

  /// The contacts in the order in which the merger returned them. Valid until the next load or `clear`.
  static const std::vector<PDXContactEntry>& contacts();

  /// Whether there is any contact.
  static bool isLoaded();

  /// Empties the contacts. The blocked numbers stay until the next load.
  static void clear();

  /// The first contact that has the address; null for none. Valid until the next load or `clear`.
  /// @param address  an e-mail address when it holds "@": it must agree to the letter. Otherwise a phone
  ///                 number, compared with `numberStringIsEqualToNumberString`.
  static const PDXContactEntry* getContactWithAddress(std::string_view address);

  /// The full name of that contact; nothing when there is no contact or it has only an organisation.
  static std::optional<std::string> getFullNameOfConactWithAddress(std::string_view address);

  /// Whether the device blocks the number: it equals a blocked one, or appears as written among the known
  /// spellings of the contact that owns a blocked one.
  static bool isNumberBlocked(std::string_view number);

  /// Whether any of the contact's phone numbers is blocked.
  static bool isContactBlocked(const PDXContactEntry& contact);

  /// Whether two spellings stand for the same phone number. Empty is missing, and equals nothing.
  ///
  /// The last characters must agree as written. Then only digits and "+" count: numbers of one length must be
  /// the same; otherwise the shorter one, each without a "+" and the two digits behind it, must occur in the
  /// longer, which may have at most three digits more.
  static bool numberStringIsEqualToNumberString(std::string_view a, std::string_view b);

 private:
  static void sortContacts_(std::vector<PDXContactEntry>& contacts);

  /// The contacts of a folder's contact files ("*.vcf"), in the order of their names.
  static std::vector<PDXContactEntry> readContactsInFolder(const std::string& folder);
};
