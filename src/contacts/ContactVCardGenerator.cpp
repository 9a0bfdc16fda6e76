#include "contacts/ContactVCardGenerator.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/Text.h"

namespace {

using Text = std::optional<std::string>;

bool isEmpty(const Text& text) { return !text || text->empty(); }

/// A missing part of a name is printed by this word rather than left out.
std::string printed(const Text& text) { return text.value_or("(null)"); }

void removeFinal(char last, std::string& line) {
  if (!line.empty() && line.back() == last) line.pop_back();
}

std::string nameLines(const PDXContactEntry& contact) {
  const std::string fullName = isEmpty(contact.fullName)
                                   ? printed(contact.givenName) + " " + printed(contact.familyName)
                                   : *contact.fullName;
  return "N:" + printed(contact.familyName) + ";" + printed(contact.givenName) + ";" +
         printed(contact.additionalNames) + ";" + printed(contact.honorificPrefixes) + ";" +
         printed(contact.honorificSuffixes) + "\r\nFN:" + fullName + "\r\n";
}

std::string nicknameLine(const PDXContactEntry& contact) {
  if (!contact.hasNicknames()) return "";
  std::string line = "NICKNAME;CHARSET=utf-8:";
  for (const PDXContactNickname& nickname : contact.nicknames) line += "," + nickname.stringValue();
  return line + "\r\n";
}

std::string addressTypes(const PDXContactPostalAddress& address) {
  std::string types;
  if (address.hasLocation()) types += address.location == 2 ? "TYPE=WORK;" : "TYPE=HOME;";
  for (const auto& delivery : {address.deliveryTypeGEO, address.deliveryTypePhysical}) {
    if (delivery) types += *delivery ? "TYPE=1;" : "TYPE=0;";
  }
  removeFinal(';', types);
  return types;
}

/// The first three fields of an address are dropped when they are missing, so that the ones behind them move
/// up; the last four always stand.
std::string addressLine(const PDXContactPostalAddress& address) {
  std::string line = "ADR;" + addressTypes(address) + ":;";
  if (address.postOfficeBox) line += *address.postOfficeBox + ";";
  if (address.streetAddress) line += *address.streetAddress + ";";
  if (address.extendedAddress) line += PDXText::replacedAll(*address.extendedAddress, "\r", "") + ";";
  return line + address.locality.value_or("") + ";" + address.region.value_or("") + ";" +
         address.postCode.value_or("") + ";" + address.country.value_or("") + "\r\n";
}

/// The kinds of a number that a card names. Pagers and personal devices are kinds without a word.
std::string phoneTypes(const PDXContactPhoneNumber& number) {
  const std::pair<bool, const char*> words[] = {
      {number.isBbs, "bbs,"},     {number.isCell, "cell,"},
      {number.isFax, "fax,"},     {number.isIsdn, "isdn,"},
      {number.isModem, "modem,"}, {number.isVideo, "video,"},
      {number.isVoice, "voice,"}, {number.isVoiceMessageCapable, "msg,"}};
  std::string types;
  bool hasKind = number.isPager || number.isPcs;
  for (const auto& [isSet, word] : words) {
    if (isSet) types += word;
    hasKind = hasKind || isSet;
  }
  if (number.location == 1) types += "HOME,";
  if (number.location == 2) types += "WORK,";
  removeFinal(',', types);
  return hasKind || number.location != 0 ? "TYPE=" + types : "";
}

std::string phoneLine(const PDXContactPhoneNumber& number) {
  return "TEL;" + phoneTypes(number) + ":" + number.address() + "\r\n";
}

std::string emailLine(const PDXContactEmailAddress& email) {
  std::string line = "EMAIL;";
  if (email.location != 0) line += "TYPE=";
  if (email.location == 1) line += "HOME;";
  if (email.location == 2) line += "WORK;";
  if (email.isPreferred) line += "TYPE=pref";
  removeFinal(',', line);
  removeFinal(';', line);
  return line + ":" + email.address() + "\r\n";
}

std::string lineUnlessEmpty(const char* beginning, const Text& value) {
  return isEmpty(value) ? "" : beginning + *value + "\r\n";
}

}  // namespace

std::string PDXContactVCardGenerator::generateFromContact(const PDXContactEntry& contact) {
  std::string card = "BEGIN:VCARD\r\nVERSION:3.0\r\nPRODID:-//Lantern Byte Ltd.//Pocketdex 21//EN\r\n";
  card += nameLines(contact);
  if (contact.uid) card += "UID:" + std::to_string(PDXText::integerValue(*contact.uid)) + "\r\n";
  card += nicknameLine(contact);
  for (const PDXContactPostalAddress& address : contact.postalAddresses) card += addressLine(address);
  for (const PDXContactPhoneNumber& number : contact.phoneNumbers) card += phoneLine(number);
  for (const PDXContactEmailAddress& email : contact.emailAddresses) card += emailLine(email);
  card += lineUnlessEmpty("TITLE;CHARSET=utf-8:", contact.title);
  card += lineUnlessEmpty("ROLE;CHARSET=utf-8:", contact.role);
  card += lineUnlessEmpty("ORG;CHARSET=utf-8:", contact.organisation());
  card +=
      lineUnlessEmpty("NOTE;CHARSET=utf-8:", PDXText::replacedAll(contact.note.value_or(""), "\n", "\\n"));
  card += lineUnlessEmpty("URL:", contact.url);
  return card + "END:VCARD\r\n";
}
