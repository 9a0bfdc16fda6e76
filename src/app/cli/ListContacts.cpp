#include "app/cli/Listing.h"
#include "app/cli/Options.h"
#include "app/export/ContactsExport.h"

namespace {

using Json = nlohmann::ordered_json;

Json phoneJson(const PDXContactPhoneNumber& number) {
  return {{"address", number.address()},
          {"location", number.location},
          {"isVoice", number.isVoice},
          {"isCell", number.isCell},
          {"isFax", number.isFax}};
}

Json emailJson(const PDXContactEmailAddress& email) {
  return {{"address", email.address()}, {"location", email.location}, {"isPreferred", email.isPreferred}};
}

Json addressJson(const PDXContactPostalAddress& address) {
  return {{"location", address.location},
          {"streetAddress", jsonOf(address.streetAddress)},
          {"postCode", jsonOf(address.postCode)},
          {"locality", jsonOf(address.locality)},
          {"region", jsonOf(address.region)},
          {"country", jsonOf(address.country)},
          {"countryCode", jsonOf(address.countryCode)}};
}

template <typename Item>
Json arrayOf(const std::vector<Item>& items, Json (*jsonOfItem)(const Item&)) {
  auto array = Json::array();
  for (const Item& item : items) array.push_back(jsonOfItem(item));
  return array;
}

Json contactJson(const PDXContactEntry& contact) {
  return {{"uid", jsonOf(contact.uid)},
          {"sortName", jsonOf(contact.sortName())},
          {"fullName", jsonOf(contact.fullName)},
          {"givenName", jsonOf(contact.givenName)},
          {"familyName", jsonOf(contact.familyName)},
          {"additionalNames", jsonOf(contact.additionalNames)},
          {"honorificPrefixes", jsonOf(contact.honorificPrefixes)},
          {"honorificSuffixes", jsonOf(contact.honorificSuffixes)},
          {"organisations", contact.organisations},
          {"title", jsonOf(contact.title)},
          {"note", jsonOf(contact.note)},
          {"url", jsonOf(contact.url)},
          {"isBlocked", contact.isBlocked},
          {"phoneNumbers", arrayOf(contact.phoneNumbers, phoneJson)},
          {"emailAddresses", arrayOf(contact.emailAddresses, emailJson)},
          {"postalAddresses", arrayOf(contact.postalAddresses, addressJson)}};
}

/// "Lee, Ann (5550199, ann@example.com)".
std::string lineOf(const PDXContactEntry& contact) {
  std::string addresses;
  const auto add = [&addresses](const std::string& text) {
    addresses += (addresses.empty() ? "" : ", ") + text;
  };
  for (const auto& number : contact.phoneNumbers) add(number.address());
  for (const auto& email : contact.emailAddresses) add(email.address());
  const std::string name = contact.sortName().value_or("");
  return addresses.empty() ? name : name + " (" + addresses + ")";
}

}  // namespace

PDXListing listContacts(const PDXListRequest& request) {
  PDXListing listing;
  for (const auto& contact : PDXContactsExport::read(request.deviceData, request.range.search).contacts) {
    listing.items.push_back(contactJson(contact));
    listing.lines.push_back(lineOf(contact));
  }
  listing.summary = countedEntries(listing.lines.size(), "contact", "contacts");
  return listing;
}
