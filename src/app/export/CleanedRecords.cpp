#include "app/export/CleanedRecords.h"

#include <utility>

#include "platform/Csv.h"
#include "platform/Text.h"

namespace {

using Text = std::optional<std::string>;

template <typename Edit>
void editText(Text& text, Edit edit) {
  if (text) text = edit(std::move(*text));
}

/// Every text that cards and tables write, but the note.
template <typename Edit>
void editTexts(PDXContactEntry& contact, Edit edit) {
  for (Text* text :
       {&contact.fullName, &contact.givenName, &contact.familyName, &contact.additionalNames, &contact.title,
        &contact.honorificPrefixes, &contact.honorificSuffixes, &contact.role, &contact.url}) {
    editText(*text, edit);
  }
  for (std::string& organisation : contact.organisations) organisation = edit(std::move(organisation));
  for (PDXContactNickname& nickname : contact.nicknames) nickname.name = edit(std::move(nickname.name));
  for (PDXContactPhoneNumber& number : contact.phoneNumbers) number.setAddress(edit(number.address()));
  for (PDXContactEmailAddress& email : contact.emailAddresses) email.setAddress(edit(email.address()));
  for (PDXContactPostalAddress& address : contact.postalAddresses) {
    for (Text* text : {&address.streetAddress, &address.extendedAddress, &address.region, &address.country,
                       &address.postCode, &address.postOfficeBox, &address.locality}) {
      editText(*text, edit);
    }
  }
}

/// Each of the lines between "\n".
std::string eachOnOneLine(const std::string& text) {
  std::string result;
  std::size_t begin = 0;
  for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
    result += PDXText::onOneLine(text.substr(begin, end - begin)) + '\n';
    begin = end + 1;
  }
  return result + PDXText::onOneLine(text.substr(begin));
}

std::string cell(std::string text) { return PDXText::onOneLine(PDXCsv::withoutFormula(std::move(text))); }

/// The table quotes a value only for its quotes and commas.
std::string noteCell(std::string note) {
  const bool isQuoted = note.find_first_of("\",") != std::string::npos;
  return isQuoted ? eachOnOneLine(PDXCsv::withoutFormula(std::move(note))) : cell(std::move(note));
}

}  // namespace

namespace PDXCleanedRecords {

PDXContactEntry forCard(PDXContactEntry contact) {
  editTexts(contact, PDXText::onOneLine);
  editText(contact.note, eachOnOneLine);
  return contact;
}

std::vector<PDXContactEntry> forTable(std::vector<PDXContactEntry> contacts) {
  for (PDXContactEntry& contact : contacts) {
    editTexts(contact, cell);
    editText(contact.note, noteCell);
  }
  return contacts;
}

PDXCalendarDetail forHeader(const PDXCalendarDetail& calendar) {
  PDXCalendarDetail header;
  header.title = PDXText::onOneLine(calendar.title);
  header.colorRed = calendar.colorRed;
  header.colorGreen = calendar.colorGreen;
  header.colorBlue = calendar.colorBlue;
  return header;
}

void clean(PDXCalendarEvent& event) {
  for (std::string* text : {&event.summary, &event.eventDescription, &event.location, &event.comment})
    *text = PDXText::onOneLine(std::move(*text));
}

}  // namespace PDXCleanedRecords
