#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "contacts/ContactEntry.h"

/// What the making of one table works on.
struct PDXContactGoogleCSVContext {
  /// @param list  must outlive the context.
  explicit PDXContactGoogleCSVContext(const std::vector<PDXContactEntry>& list) : contacts(list) {}

  const std::vector<PDXContactEntry>& contacts;

  std::string csv;  ///< The text so far.

  /// Groups of columns: as many as the contact with the most has. Of web addresses there is one at most.
  std::size_t phoneCount = 0;
  std::size_t emailCount = 0;
  std::size_t addressCount = 0;
  std::size_t organizationCount = 0;
  std::size_t websiteCount = 0;
};

/// Writes contacts as one table in the columns that a web mail service takes: 29 fixed ones and a group for
/// each e-mail address, phone number, postal address, organisation and web address. The form is fixed to the
/// byte; docs/contacts.md lists its oddities.
class PDXContactGoogleCSVGenerator {
 public:
  /// The table with its header, lines ending in "\r\n"; one row a contact, in the order given.
  static std::string generateForContacts(const std::vector<PDXContactEntry>& contacts);

  /// Counts the groups and writes the first line.
  static void generateHeader_(PDXContactGoogleCSVContext& context);

  /// Writes a row for each contact.
  static void appendContactData_(PDXContactGoogleCSVContext& context);

  /// `value` as it stands in the table: enclosed in double quotes when it holds one or a comma. A line break
  /// alone does not enclose it. "" for a missing one.
  static std::string prepareValue_(const std::optional<std::string>& value);

  /// @param location  1 home, 2 work, and 3 car for phones and postal addresses; anything else is "Other".
  static const char* typeForEmailLocation_(int location);
  static const char* typeForPhoneLocation_(int location);
  static const char* typeForPostalLocation_(int location);
};
