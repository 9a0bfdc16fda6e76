#include <gtest/gtest.h>

#include "contacts/ContactGoogleCSVGenerator.h"
#include "contacts/ContactVCardGenerator.h"

namespace {

PDXContactEntry ann() {
  PDXContactEntry contact;
  contact.uid = "17";
  contact.givenName = "Ann";
  contact.familyName = "Lee";
  contact.fullName = "Ann Lee";
  return contact;
}

/// What stands between the name and the end of the card.
std::string cardBody(const PDXContactEntry& contact) {
  const std::string card = PDXContactVCardGenerator::generateFromContact(contact);
  const std::string name = "FN:Ann Lee\r\nUID:17\r\n";
  const std::size_t begin = card.find(name) + name.size();
  return card.substr(begin, card.rfind("END:VCARD\r\n") - begin);
}

PDXContactPhoneNumber number(int location, const std::vector<bool PDXContactPhoneNumber::*>& flags) {
  PDXContactPhoneNumber made("5");
  made.location = location;
  for (const auto flag : flags) made.*flag = true;
  return made;
}

TEST(ContactVCardGenerator, WritesAWholeCardToTheByte) {
  PDXContactEntry contact = ann();
  contact.nicknames = {PDXContactNickname("Bob"), PDXContactNickname("Bobby")};
  contact.phoneNumbers.emplace_back("+44 5;5");
  contact.title = "Joiner";
  contact.role = "";
  contact.organisations = {"Acme, Inc.", "Second"};
  contact.note = "a\nb\r\nc";
  contact.url = "https://example.com";
  EXPECT_EQ(PDXContactVCardGenerator::generateFromContact(contact),
            "BEGIN:VCARD\r\nVERSION:3.0\r\nPRODID:-//Lantern Byte Ltd.//Pocketdex 21//EN\r\n"
            "N:Lee;Ann;(null);(null);(null)\r\nFN:Ann Lee\r\nUID:17\r\n"
            "NICKNAME;CHARSET=utf-8:,Bob,Bobby\r\nTEL;:+44 5;5\r\nTITLE;CHARSET=utf-8:Joiner\r\n"
            "ORG;CHARSET=utf-8:Acme, Inc.\r\nNOTE;CHARSET=utf-8:a\\nb\r\\nc\r\nURL:https://example.com\r\n"
            "END:VCARD\r\n");
  EXPECT_EQ(PDXContactVCardGenerator::generateFromContact({}),
            "BEGIN:VCARD\r\nVERSION:3.0\r\nPRODID:-//Lantern Byte Ltd.//Pocketdex 21//EN\r\n"
            "N:(null);(null);(null);(null);(null)\r\nFN:(null) (null)\r\nEND:VCARD\r\n");
}

TEST(ContactVCardGenerator, AddressesDropTheirFirstFieldsAndKeepTheLast) {
  using Address = PDXContactPostalAddress;
  const struct {
    const char* fault;
    void (*fill)(Address&);
    const char* expected;
  } cases[] = {
      {"nothing known", [](Address&) {}, "ADR;:;;;;\r\n"},
      {"work, with a street",
       [](Address& a) {
         a.location = 2;
         a.streetAddress = "1 High St;Flat 3";
         a.locality = "Port";
         a.country = "UK";
       },
       "ADR;TYPE=WORK:;1 High St;Flat 3;Port;;;UK\r\n"},
      {"any other location is home", [](Address& a) { a.location = 3; }, "ADR;TYPE=HOME:;;;;\r\n"},
      {"delivery types are numbers",
       [](Address& a) {
         a.location = 1;
         a.deliveryTypeGEO = true;
         a.deliveryTypePhysical = false;
         a.postOfficeBox = "9";
         a.extendedAddress = "a\r\nb";
       },
       "ADR;TYPE=HOME;TYPE=1;TYPE=0:;9;a\nb;;;;\r\n"},
  };
  for (const auto& c : cases) {
    PDXContactEntry contact = ann();
    c.fill(contact.postalAddresses.emplace_back());
    EXPECT_EQ(cardBody(contact), c.expected) << c.fault;
  }
}

TEST(ContactVCardGenerator, NumbersAndMailNameTheirTypes) {
  using Number = PDXContactPhoneNumber;
  PDXContactEntry contact = ann();
  contact.phoneNumbers = {number(0, {}), number(2, {&Number::isVoice, &Number::isCell}), number(1, {}),
                          number(0, {&Number::isPager}), number(3, {&Number::isVoiceMessageCapable})};
  for (const auto& [location, isPreferred] :
       {std::pair{0, false}, {1, false}, {1, true}, {2, true}, {0, true}}) {
    auto& email = contact.emailAddresses.emplace_back("a@b.c");
    email.location = location;
    email.isPreferred = isPreferred;
  }
  EXPECT_EQ(cardBody(contact),
            "TEL;:5\r\nTEL;TYPE=cell,voice,WORK:5\r\nTEL;TYPE=HOME:5\r\nTEL;TYPE=:5\r\nTEL;TYPE=msg:5\r\n"
            "EMAIL:a@b.c\r\nEMAIL;TYPE=HOME:a@b.c\r\nEMAIL;TYPE=HOME;TYPE=pref:a@b.c\r\n"
            "EMAIL;TYPE=WORK;TYPE=pref:a@b.c\r\nEMAIL;TYPE=pref:a@b.c\r\n");
}

const std::string kFixed =
    "Name,Given Name,Additional Name,Family Name,Yomi Name,Given Name Yomi,Additional Name Yomi,Family Name "
    "Yomi,Name Prefix,Name Suffix,Initials,Nickname,Short Name,Maiden Name,Birthday,Gender,Location,Billing "
    "Information,Directory Server,Mileage,Occupation,Hobby,Sensitivity,Priority,Subject,Notes,Language,"
    "Photo,Group Membership";

TEST(ContactGoogleCSVGenerator, WritesAWholeTableToTheByte) {
  PDXContactEntry full = ann();
  full.honorificPrefixes = "Dr.";
  full.nicknames = {PDXContactNickname("Bob"), PDXContactNickname("Bobby")};
  full.birthday = PDXDates::fromDayText("1980-05-06");
  full.note = "two\nlines";
  full.phoneNumbers = {number(3, {}), number(1, {})};
  full.emailAddresses.emplace_back("a@b.c").location = 2;
  full.url = "https://example.com";
  auto& address = full.postalAddresses.emplace_back();
  address.location = 1;
  address.streetAddress = "1 High St";
  address.locality = "Port, \"Old\"";
  address.postOfficeBox = "9";
  address.region = "R";
  address.postCode = "Z";
  address.country = "UK";
  full.postalAddresses.emplace_back();
  PDXContactEntry business;
  business.organisations = {"Acme, Inc."};
  EXPECT_EQ(
      PDXContactGoogleCSVGenerator::generateForContacts({full, business}),
      kFixed +
          ",E-mail 1 - Type,E-mail 1 - Value,Phone 1 - Type,Phone 1 - Value,Phone 2 - Type,Phone 2 - Value,"
          "Address 1 - Type,Address 1 - Formatted,Address 1 - Street,Address 1 - City,Address 1 - PO Box,"
          "Address 1 - Region,Address 1 - Postal Code,Address 1 - Country,Address 1 - Extended Address,"
          "Address 2 - Type,Address 2 - Formatted,Address 2 - Street,Address 2 - City,Address 2 - PO Box,"
          "Address 2 - Region,Address 2 - Postal Code,Address 2 - Country,Address 2 - Extended Address,"
          "Organization 1 - Type,Organization 1 - Name,Organization 1 - Yomi Name,Organization 1 - Title,"
          "Organization 1 - Department,Organization 1 - Symbol,Organization 1 - Location,"
          "Organization 1 - Job Description,Website 1 - Type,Website 1 - Value\r\n"
          "Ann Lee,Ann,,Lee,,,,,Dr.,,,Bob,,,1980-05-06,,,,,,,,,,,two\nlines,,,,Work,a@b.c,Car,5,Home,5,"
          "Home,,1 High St,\"Port, \"\"Old\"\"\",9,R,Z,UK,,Other,,,,,,,,,,,,,,,,,,,,,,,,,Other,"
          "https://example.com\r\n"
          "\"Acme, Inc.\",,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,,Other,\"Acme, "
          "Inc.\",,,,,,,,\r\n");
}

TEST(ContactGoogleCSVGenerator, HasNoColumnsThatNobodyNeeds) {
  PDXContactEntry mail;
  mail.emailAddresses.emplace_back("x@y.z").location = 3;
  EXPECT_EQ(PDXContactGoogleCSVGenerator::generateForContacts({mail}),
            kFixed + ",E-mail 1 - Type,E-mail 1 - Value\r\n,,,,,,,,,,,,,,,,,,,,,,,,,,,,,Other,x@y.z\r\n");
  EXPECT_EQ(PDXContactGoogleCSVGenerator::prepareValue_("say \"hi\", you"), "\"say \"\"hi\"\", you\"");
}

}  // namespace
