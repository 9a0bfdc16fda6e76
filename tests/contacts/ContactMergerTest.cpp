#include "contacts/ContactMerger.h"

#include <gtest/gtest.h>

namespace {

PDXContactEntry person(const char* given, const char* family, const char* organisation, const char* phone) {
  PDXContactEntry contact;
  if (*given != 0) contact.givenName = given;
  if (*family != 0) contact.familyName = family;
  if (*organisation != 0) contact.organisations = {organisation};
  if (*phone != 0) contact.phoneNumbers = {PDXContactPhoneNumber(phone)};
  return contact;
}

/// "given family@organisation,organisation:phone,phone" and "; " for each contact.
std::string listed(const std::vector<PDXContactEntry>& contacts) {
  std::string text;
  for (const auto& contact : contacts) {
    text += contact.givenName.value_or("-") + " " + contact.familyName.value_or("-") + "@";
    for (const auto& organisation : contact.organisations) text += organisation + ",";
    text += ":";
    for (const auto& number : contact.phoneNumbers) text += number.address() + ",";
    text += "; ";
  }
  return text;
}

}  // namespace

TEST(ContactMerger, FoldsEntriesOfOnePerson) {
  const struct {
    const char* fault;
    std::vector<PDXContactEntry> contacts;
    const char* expected;
  } cases[] = {
      {"nobody", {}, ""},
      {"two of one name",
       {person("Ann", "Lee", "", "1"), person("Bob", "Ray", "", "2"), person("Ann", "Lee", "", "3")},
       "Ann Lee@:1,3,; Bob Ray@:2,; "},
      {"names stay together where the first is met",
       {person("Ann", "Lee", "A", "1"), person("Bob", "Ray", "", "2"), person("Ann", "Lee", "B", "3")},
       "Ann Lee@A,:1,; Ann Lee@B,:3,; Bob Ray@:2,; "},
      {"without organisation goes to the first",
       {person("Ann", "Lee", "A", "1"), person("Ann", "Lee", "B", "2"), person("Ann", "Lee", "", "3")},
       "Ann Lee@A,:1,3,; Ann Lee@B,:2,; "},
      {"organisations differ in case only",
       {person("Ann", "Lee", "Äcme", "1"), person("Ann", "Lee", "äCME", "2")},
       "Ann Lee@Äcme,äCME,:1,2,; "},
      {"the first without organisation takes one, and has it then",
       {person("Ann", "Lee", "", "1"), person("Ann", "Lee", "A", "2"), person("Ann", "Lee", "B", "3")},
       "Ann Lee@A,:1,2,; Ann Lee@B,:3,; "},
      {"what one entry brought, the next does not bring again",
       {person("Ann", "Lee", "", "1"), person("Ann", "Lee", "A", "2"), person("Ann", "Lee", "B", "2"),
        person("Ann", "Lee", "a", "2"), person("Ann", "Lee", "b", "3"), person("Ann", "Lee", "", "3")},
       "Ann Lee@A,a,:1,2,3,; Ann Lee@B,b,:2,3,; "},
      {"case and blanks around the name",
       {person(" ANN", "Lee\n", "", "1"), person("ann", "lee", "", "2")},
       " ANN Lee\n@:1,2,; "},
      {"parts are joined without a separator",
       {person("Ann", "Lee", "", "1"), person("An", "nLee", "", "2")},
       "Ann Lee@:1,2,; "},
      {"businesses share the empty name",
       {person("", "", "A", "1"), person("", "", "B", "2"), person("", "", "a", "1")},
       "- -@A,a,:1,; - -@B,:2,; "},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(listed(PDXContactMerger::mergeIdenticalContactsInArray(c.contacts)), c.expected) << c.fault;
  }
}

TEST(ContactMerger, KeepsWhatDiffersInKindAndNeverReplaces) {
  PDXContactEntry target = person("Ann", "Lee", "", "1");
  target.note = "";
  target.url = "https://target.example";
  target.emailAddresses = {PDXContactEmailAddress("ann@example.com")};
  target.postalAddresses.emplace_back().streetAddress = "1 High St";
  target.nicknames = {PDXContactNickname("Annie")};

  PDXContactEntry source = target;
  source.phoneNumbers[0].isCell = true;
  source.emailAddresses[0].emailType = "internet";
  source.emailAddresses.push_back(source.emailAddresses[0]);
  source.emailAddresses[1].location = 2;
  source.postalAddresses.push_back(source.postalAddresses[0]);
  source.postalAddresses[1].locality = "";
  source.note = "left handed";
  source.role = "Smith";
  source.title = "Director";
  source.url = "https://source.example";
  source.picture = PDXBytes{1, 2};

  PDXContactMerger::mergeContactIntoContact(source, target);
  EXPECT_EQ(target.phoneNumbers.size(), 2U);
  EXPECT_EQ(target.emailAddresses.size(), 2U);
  EXPECT_EQ(target.postalAddresses.size(), 2U);
  EXPECT_EQ(target.nicknames.size(), 1U);
  EXPECT_EQ(target.note, "left handed");
  EXPECT_EQ(target.role, "Smith");
  EXPECT_EQ(target.title, std::nullopt);
  EXPECT_EQ(target.url, "https://target.example");
  EXPECT_EQ(target.picture.bytes(), (PDXBytes{1, 2}));
}
