#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "contacts/ContactEntry.h"

/// Reads contacts from files of vCards of versions 2.1, 3.0 and 4.0.
///
/// Fields: N, FN, NICKNAME, TEL, ADR, EMAIL, ORG (its first part), TITLE, ROLE, NOTE, URL (the first), BDAY
/// (with a year), PHOTO (in the file), UID, REV, SORT-STRING, MAILER, CATEGORIES, CLASS. A number, address or
/// e-mail address is at work or home by its type, else by the label of its group (X-ABLabel), read as the
/// address book's labels are. A part "(null)", which our own cards print for a missing one, is missing.
/// Errors: none leave it. A file that cannot be read gives no contacts; a card in which nothing is said of
/// anybody gives none either.
class PDXVCardReader {
 public:
  /// The contacts of one file in its order; empty when it is missing, too large (64 MB) or holds no card.
  /// @param path  UTF-8; bytes behind the last card do not matter.
  static std::vector<PDXContactEntry> readContactsFromVCardFile(const std::string& path);

  /// The contacts of every file "*.vcf" of a folder, in the order of the files' names.
  static std::vector<PDXContactEntry> readContactsInFolder(const std::string& folder);

  /// The contacts of a file's bytes.
  static std::vector<PDXContactEntry> readContactsFromVCardBytes(std::string_view bytes);
};
