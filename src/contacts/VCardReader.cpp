#include "contacts/VCardReader.h"

#include <cstdint>
#include <iterator>
#include <optional>
#include <unordered_map>
#include <utility>

#include "contacts/VCardParser.h"
#include "platform/Crypto.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Text.h"

namespace {

using Property = PDXVCardProperty;
using Text = std::optional<std::string>;

/// The labels of a card by their group: "item1.TEL" is labelled by "item1.X-ABLabel".
using Labels = std::unordered_map<std::string, std::string>;

/// A contact takes up many times the bytes of the shortest card.
constexpr std::uint64_t kLargestFile = std::uint64_t{64} << 20;

/// Nothing for an empty text, and for the word that our own cards print for a missing part.
Text given(std::string_view text) {
  const std::string_view trimmed = PDXText::trimmed(text);
  if (trimmed.empty() || trimmed == "(null)" || trimmed == "(null) (null)") return std::nullopt;
  return std::string(trimmed);
}

Text part(const std::vector<std::string>& parts, std::size_t index) {
  return index < parts.size() ? given(parts[index]) : std::nullopt;
}

void setUnlessSet(Text& field, const Property& property) {
  if (!field) field = given(property.text());
}

/// A label as the address book has them: "_$!<Work>!$_".
std::string labelOf(const Property& property, const Labels& labels) {
  const auto found = property.group.empty() ? labels.end() : labels.find(property.group);
  return found == labels.end() ? "" : found->second;
}

int locationOf(const Property& property, const std::string& label) {
  if (property.hasWord("WORK")) return 2;
  if (property.hasWord("HOME")) return 1;
  if (label.empty()) return 0;
  return label.find("Work") != std::string::npos ? 2 : 1;
}

void addNumber(PDXContactEntry& contact, const Property& property, const Labels& labels) {
  std::string text = property.text();
  if (PDXText::startsWithIgnoringCase(text, "tel:")) text.erase(0, 4);
  const Text address = given(text);
  if (!address) return;
  const std::string label = labelOf(property, labels);
  PDXContactPhoneNumber& number = contact.phoneNumbers.emplace_back(*address);
  number.location = locationOf(property, label);
  number.isVoiceMessageCapable = property.hasWord("MSG");
  number.isVoice = property.hasWord("VOICE");
  number.isFax = property.hasWord("FAX") || label.find("Fax") != std::string::npos;
  number.isCell = property.hasWord("CELL") || label.find("Mobile") != std::string::npos;
  number.isVideo = property.hasWord("VIDEO");
  number.isPager = property.hasWord("PAGER");
  number.isBbs = property.hasWord("BBS");
  number.isModem = property.hasWord("MODEM");
  number.isIsdn = property.hasWord("ISDN");
  number.isPcs = property.hasWord("PCS");
}

void addEmail(PDXContactEntry& contact, const Property& property, const Labels& labels) {
  const Text address = given(property.text());
  if (!address) return;
  PDXContactEmailAddress& email = contact.emailAddresses.emplace_back(*address);
  email.location = locationOf(property, labelOf(property, labels));
  email.isPreferred = property.hasWord("PREF") || !property.parameterNamed("PREF").empty();
  if (property.hasWord("INTERNET")) email.emailType = "INTERNET";
}

void addAddress(PDXContactEntry& contact, const Property& property, const Labels& labels) {
  const auto parts = property.parts(';');
  PDXContactPostalAddress address;
  address.postOfficeBox = part(parts, 0);
  address.extendedAddress = part(parts, 1);
  address.streetAddress = part(parts, 2);
  address.locality = part(parts, 3);
  address.region = part(parts, 4);
  address.postCode = part(parts, 5);
  address.country = part(parts, 6);
  if (address == PDXContactPostalAddress()) return;
  // The lines of a street are kept in one, as those of the address book are.
  if (address.streetAddress) address.streetAddress = PDXText::replacedAll(*address.streetAddress, "\n", ";");
  address.location = locationOf(property, labelOf(property, labels));
  contact.postalAddresses.push_back(std::move(address));
}

void setName(PDXContactEntry& contact, const Property& property) {
  if (contact.familyName || contact.givenName) return;
  const auto parts = property.parts(';');
  contact.familyName = part(parts, 0);
  contact.givenName = part(parts, 1);
  contact.additionalNames = part(parts, 2);
  contact.honorificPrefixes = part(parts, 3);
  contact.honorificSuffixes = part(parts, 4);
}

/// A day as "1980-05-06" or "19800506", whatever follows. One without a year, "--0506" or in 1604, is none.
std::optional<PDXDate> dayOf(const Property& property) {
  std::string text = PDXText::replacedAll(property.text(), "-", "").substr(0, 8);
  if (text.size() < 8 || text.starts_with("1604") || !property.parameterNamed("X-APPLE-OMIT-YEAR").empty())
    return std::nullopt;
  return PDXDates::fromDayText(text.substr(0, 4) + "-" + text.substr(4, 2) + "-" + text.substr(6));
}

void setPicture(PDXContactEntry& contact, const Property& property) {
  if (!contact.picture.empty()) return;
  std::string_view encoded = property.value;
  const std::size_t mark = encoded.substr(0, 100).find("base64,");
  if (mark != std::string_view::npos) encoded.remove_prefix(mark + 7);  // "data:image/jpeg;base64,…"
  if (mark == std::string_view::npos && !property.isBase64()) return;
  if (auto bytes = base64Decoded(encoded)) contact.picture = std::move(*bytes);
}

template <typename Add>
void forEachPart(const Property& property, char separator, Add add) {
  for (const std::string& each : property.parts(separator)) {
    if (const Text text = given(each)) add(*text);
  }
}

using Take = void (*)(PDXContactEntry&, const Property&, const Labels&);

const std::unordered_map<std::string_view, Take>& fields() {
  using Entry = PDXContactEntry;
  static const std::unordered_map<std::string_view, Take> takers = {
      {"TEL", addNumber},
      {"EMAIL", addEmail},
      {"ADR", addAddress},
      {"N", [](Entry& c, const Property& p, const Labels&) { setName(c, p); }},
      {"PHOTO", [](Entry& c, const Property& p, const Labels&) { setPicture(c, p); }},
      {"FN", [](Entry& c, const Property& p, const Labels&) { setUnlessSet(c.fullName, p); }},
      {"TITLE", [](Entry& c, const Property& p, const Labels&) { setUnlessSet(c.title, p); }},
      {"ROLE", [](Entry& c, const Property& p, const Labels&) { setUnlessSet(c.role, p); }},
      {"NOTE", [](Entry& c, const Property& p, const Labels&) { setUnlessSet(c.note, p); }},
      {"URL", [](Entry& c, const Property& p, const Labels&) { setUnlessSet(c.url, p); }},
      {"UID", [](Entry& c, const Property& p, const Labels&) { setUnlessSet(c.uid, p); }},
      {"REV", [](Entry& c, const Property& p, const Labels&) { setUnlessSet(c.revision, p); }},
      {"MAILER", [](Entry& c, const Property& p, const Labels&) { setUnlessSet(c.mailer, p); }},
      {"SORT-STRING", [](Entry& c, const Property& p, const Labels&) { setUnlessSet(c.sortString, p); }},
      {"BDAY",
       [](Entry& c, const Property& p, const Labels&) {
         if (!c.birthday) c.birthday = dayOf(p);
       }},
      {"ORG",
       [](Entry& c, const Property& p, const Labels&) {
         if (const Text name = part(p.parts(';'), 0)) c.organisations.push_back(*name);
       }},
      {"NICKNAME",
       [](Entry& c, const Property& p, const Labels&) {
         forEachPart(p, ',', [&c](const std::string& name) { c.nicknames.emplace_back(name); });
       }},
      {"CATEGORIES",
       [](Entry& c, const Property& p, const Labels&) {
         forEachPart(p, ',', [&c](const std::string& name) { c.categories.push_back(name); });
       }},
      {"CLASS", [](Entry& c, const Property& p, const Labels&) {
         if (const Text name = given(p.text())) c.classes.push_back(*name);
       }}};
  return takers;
}

Labels labelsOf(const PDXVCard& card) {
  Labels labels;
  for (const Property& property : card) {
    if (property.name == "X-ABLABEL") labels.try_emplace(property.group, property.text());
  }
  return labels;
}

void completeName(PDXContactEntry& contact) {
  if (!contact.fullName) {
    std::string name;
    for (const auto* each : {&contact.givenName, &contact.additionalNames, &contact.familyName}) {
      if (*each) name += (name.empty() ? "" : " ") + **each;
    }
    contact.fullName = given(name);
  }
  contact.searchReference = contact.fullName ? contact.fullName : contact.organisation();
}

bool saysSomething(const PDXContactEntry& contact) {
  return contact.searchReference || contact.hasPhoneNumbers() || contact.hasEmailAddresses() ||
         contact.hasPostalAddresses() || contact.hasNicknames() || contact.note || contact.url;
}

std::optional<PDXContactEntry> contactOf(const PDXVCard& card) {
  PDXContactEntry contact;
  const Labels labels = labelsOf(card);
  for (const Property& property : card) {
    const auto field = fields().find(property.name);
    if (field != fields().end()) field->second(contact, property, labels);
  }
  completeName(contact);
  return saysSomething(contact) ? std::optional(std::move(contact)) : std::nullopt;
}

}  // namespace

std::vector<PDXContactEntry> PDXVCardReader::readContactsFromVCardFile(const std::string& path) {
  const auto bytes = PDXFiles::read(path, kLargestFile);
  if (bytes) return readContactsFromVCardBytes({reinterpret_cast<const char*>(bytes->data()), bytes->size()});
  if (PDXFiles::exists(path)) {
    PDXLog::report({.what = "contacts", .where = path, .why = "the file cannot be read or is too large"});
  }
  return {};
}

std::vector<PDXContactEntry> PDXVCardReader::readContactsInFolder(const std::string& folder) {
  std::vector<PDXContactEntry> contacts;
  for (const std::string& name : PDXFiles::list(folder)) {
    if (PDXText::lowercased(PDXText::pathExtension(name)) != "vcf") continue;
    auto more = readContactsFromVCardFile(PDXFiles::joined(folder, name));
    std::move(more.begin(), more.end(), std::back_inserter(contacts));
  }
  return contacts;
}

std::vector<PDXContactEntry> PDXVCardReader::readContactsFromVCardBytes(std::string_view bytes) {
  std::vector<PDXContactEntry> contacts;
  PDXVCardParser::forEachCard(bytes, [&contacts](const PDXVCard& card) {
    if (auto contact = contactOf(card)) contacts.push_back(std::move(*contact));
  });
  return contacts;
}
