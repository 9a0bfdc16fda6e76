#include "contacts/ContactGoogleCSVGenerator.h"

#include <algorithm>
#include <utility>

#include "platform/Date.h"
#include "platform/Text.h"

namespace {

using Context = PDXContactGoogleCSVContext;
using Generator = PDXContactGoogleCSVGenerator;

constexpr const char* kFixedColumns =
    "Name,Given Name,Additional Name,Family Name,Yomi Name,Given Name Yomi,Additional Name Yomi,"
    "Family Name Yomi,Name Prefix,Name Suffix,Initials,Nickname,Short Name,Maiden Name,Birthday,Gender,"
    "Location,Billing Information,Directory Server,Mileage,Occupation,Hobby,Sensitivity,Priority,Subject,"
    "Notes,Language,Photo,Group Membership";

/// The headings of each group, where "#" stands for its number.
constexpr const char* kEmailColumns = ",E-mail # - Type,E-mail # - Value";
constexpr const char* kPhoneColumns = ",Phone # - Type,Phone # - Value";
constexpr const char* kAddressColumns =
    ",Address # - Type,Address # - Formatted,Address # - Street,Address # - City,Address # - PO Box,"
    "Address # - Region,Address # - Postal Code,Address # - Country,Address # - Extended Address";
constexpr const char* kOrganizationColumns =
    ",Organization # - Type,Organization # - Name,Organization # - Yomi Name,Organization # - Title,"
    "Organization # - Department,Organization # - Symbol,Organization # - Location,"
    "Organization # - Job Description";
constexpr const char* kWebsiteColumns = ",Website # - Type,Website # - Value";

constexpr const char* kNoAddress = ",,,,,,,,,";
constexpr const char* kNoOrganization = ",,,,,,,,";

bool isEmpty(const std::optional<std::string>& text) { return !text || text->empty(); }

void count(Context& context) {
  for (const PDXContactEntry& contact : context.contacts) {
    context.emailCount = std::max(context.emailCount, contact.emailAddresses.size());
    context.phoneCount = std::max(context.phoneCount, contact.phoneNumbers.size());
    context.addressCount = std::max(context.addressCount, contact.postalAddresses.size());
    context.organizationCount = std::max(context.organizationCount, contact.organisations.size());
    if (!isEmpty(contact.url)) context.websiteCount = 1;
  }
}

void appendHeadings(Context& context, const char* headings, std::size_t groups) {
  for (std::size_t i = 1; i <= groups; ++i) {
    context.csv += PDXText::replacedAll(headings, "#", std::to_string(i));
  }
}

void append(Context& context, const std::optional<std::string>& value) {
  context.csv += "," + Generator::prepareValue_(value);
}

void repeat(Context& context, const char* columns, std::size_t times) {
  for (std::size_t i = 0; i < times; ++i) context.csv += columns;
}

void appendFixed(Context& context, const PDXContactEntry& contact) {
  context.csv +=
      Generator::prepareValue_(isEmpty(contact.fullName) ? contact.organisation() : contact.fullName);
  for (const auto* part : {&contact.givenName, &contact.additionalNames, &contact.familyName})
    append(context, *part);
  context.csv += ",,,,";
  append(context, contact.honorificPrefixes);
  append(context, contact.honorificSuffixes);
  context.csv += ",";
  append(context, contact.hasNicknames() ? contact.nicknames.front().stringValue() : "");
  context.csv += ",,";
  append(context, contact.birthday ? PDXDateFormatter("yyyy-MM-dd").text(*contact.birthday) : "");
  context.csv += ",,,,,,,,,,";
  append(context, contact.note);
  context.csv += ",,,";
}

/// A column of types and one of values for each item, and empty ones up to `groups`.
template <typename Item>
void appendPairs(Context& context, const std::vector<Item>& items, std::size_t groups,
                 const char* (*typeForLocation)(int)) {
  for (const Item& item : items) {
    append(context, typeForLocation(item.location));
    append(context, item.address());
  }
  repeat(context, ",,", groups - items.size());
}

void appendAddresses(Context& context, const PDXContactEntry& contact) {
  for (const PDXContactPostalAddress& address : contact.postalAddresses) {
    append(context, Generator::typeForPostalLocation_(address.location));
    context.csv += ",";
    for (const auto* part : {&address.streetAddress, &address.locality, &address.postOfficeBox,
                             &address.region, &address.postCode, &address.country}) {
      append(context, *part);
    }
    context.csv += ",";
  }
  repeat(context, kNoAddress, context.addressCount - contact.postalAddresses.size());
}

void appendOrganisations(Context& context, const PDXContactEntry& contact) {
  // Importers have long been given rows of this shape, so they keep it: without an organisation a contact
  // has as many empty groups as there are address columns.
  if (!contact.hasOrganisations()) {
    repeat(context, kNoOrganization, context.addressCount);
    return;
  }
  for (const std::string& organisation : contact.organisations) {
    context.csv += ",Other";
    append(context, organisation);
    context.csv += ",,,,,,";
  }
  repeat(context, kNoOrganization, context.organizationCount - contact.organisations.size());
}

void appendWebsite(Context& context, const PDXContactEntry& contact) {
  if (context.websiteCount == 0) return;
  context.csv += isEmpty(contact.url) ? "," : ",Other";
  append(context, contact.url);
}

const char* typeForLocation(int location) {
  switch (location) {
    case 1:
      return "Home";
    case 2:
      return "Work";
    case 3:
      return "Car";
    default:
      return "Other";
  }
}

}  // namespace

std::string PDXContactGoogleCSVGenerator::generateForContacts(const std::vector<PDXContactEntry>& contacts) {
  Context context(contacts);
  generateHeader_(context);
  appendContactData_(context);
  return std::move(context.csv);
}

void PDXContactGoogleCSVGenerator::generateHeader_(Context& context) {
  count(context);
  context.csv += kFixedColumns;
  appendHeadings(context, kEmailColumns, context.emailCount);
  appendHeadings(context, kPhoneColumns, context.phoneCount);
  appendHeadings(context, kAddressColumns, context.addressCount);
  appendHeadings(context, kOrganizationColumns, context.organizationCount);
  appendHeadings(context, kWebsiteColumns, context.websiteCount);
  context.csv += "\r\n";
}

void PDXContactGoogleCSVGenerator::appendContactData_(Context& context) {
  for (const PDXContactEntry& contact : context.contacts) {
    appendFixed(context, contact);
    appendPairs(context, contact.emailAddresses, context.emailCount, typeForEmailLocation_);
    appendPairs(context, contact.phoneNumbers, context.phoneCount, typeForPhoneLocation_);
    appendAddresses(context, contact);
    appendOrganisations(context, contact);
    appendWebsite(context, contact);
    context.csv += "\r\n";
  }
}

std::string PDXContactGoogleCSVGenerator::prepareValue_(const std::optional<std::string>& value) {
  if (isEmpty(value)) return "";
  if (value->find_first_of("\",") == std::string::npos) return *value;
  return "\"" + PDXText::replacedAll(*value, "\"", "\"\"") + "\"";
}

const char* PDXContactGoogleCSVGenerator::typeForEmailLocation_(int location) {
  return location == 3 ? "Other" : typeForLocation(location);
}

const char* PDXContactGoogleCSVGenerator::typeForPhoneLocation_(int location) {
  return typeForLocation(location);
}

const char* PDXContactGoogleCSVGenerator::typeForPostalLocation_(int location) {
  return typeForLocation(location);
}
