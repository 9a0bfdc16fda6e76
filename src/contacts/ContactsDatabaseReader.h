#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "contacts/ContactEntry.h"

/// What an address book holds beside its contacts.
struct PDXNamelessContacts {
  /// Rows without name and organisation that say something all the same, in the store's order. Their full
  /// name is an address of theirs, if there is one.
  std::vector<PDXContactEntry> contacts;

  std::size_t namedRows = 0;  ///< Rows that `readContacts` makes contacts of, before it merges them.
  std::size_t emptyRows = 0;  ///< Rows that say nothing at all.
};

/// Reads an address book once.
///
/// Source: a local copy of "Library/AddressBook/AddressBook.sqlitedb" and, for the pictures, of
/// "AddressBookImages.sqlitedb" beside it.
/// Errors: none leave the reader. A database that is missing gives nothing, one that is damaged gives what
/// could be read before the damage; the log says so, once for each database.
/// Threads: one reader, one thread.
class PDXContactsDatabaseReader {
 public:
  /// @param databasePath, picturesDatabasePath  UTF-8 paths; need not exist, the second may be empty.
  PDXContactsDatabaseReader(std::string databasePath, std::string picturesDatabasePath);

  /// Every contact with a name or an organisation, those of one person merged, in the order in which the
  /// store first names them; empty when there are none.
  /// Source: ABPerson, ABMultiValue, ABMultiValueLabel, ABMultiValueEntry, ABMultiValueEntryKey.
  std::vector<PDXContactEntry> readContacts();

  /// Who `readContacts` leaves out: people kept by a number or an address alone. They are nobody's contact in
  /// lists and look-ups, but an export would lose them. Source: as above.
  PDXNamelessContacts readContactsWithoutName();

  /// The name of the first person who has the address; see PDXContactNameSearch.
  std::string searchForContactNameWithAddress(std::string_view address) const;

  /// `readContacts` of a new reader.
  static std::vector<PDXContactEntry> readContactsFromDatabasePicturesDatabasePath(
      const std::string& databasePath, const std::string& picturesDatabasePath);

  /// `searchForContactNameWithAddress` of a new reader.
  static std::string searchForContactNameWithAddressInDatabase(std::string_view address,
                                                               const std::string& databasePath);

 private:
  std::string databasePath_;
  std::string picturesDatabasePath_;
};
