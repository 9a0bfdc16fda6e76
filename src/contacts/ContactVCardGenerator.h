#pragma once

#include <string>

#include "contacts/ContactEntry.h"

/// Writes contacts as vCards. The form is fixed to the byte, oddities included, since other programs compare
/// it: docs/contacts.md lists them.
class PDXContactVCardGenerator {
 public:
  /// One vCard 3.0, lines ending in "\r\n". Values stand as stored: only the line breaks of the note are
  /// escaped, no line is folded, and the picture is left out.
  static std::string generateFromContact(const PDXContactEntry& contact);
};
