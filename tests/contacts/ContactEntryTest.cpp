#include "contacts/ContactEntry.h"

#include <gtest/gtest.h>

namespace {

using Text = std::optional<std::string>;

constexpr std::nullopt_t none = std::nullopt;

Text sortName(const PDXContactEntry& contact, PDXContactSortNameOrder order) {
  PDXContactEntry::setSortNameOrder(order);
  Text name = contact.sortName();
  PDXContactEntry::setSortNameOrder(PDXContactSortNameOrder::familyNameFirst);
  return name;
}

}  // namespace

TEST(ContactEntry, SortsUnderWhatThereIsOfTheName) {
  const struct {
    const char* fault;
    Text given, additional, family;
    const char* organisation;
    Text expected;
  } cases[] = {
      {"all parts", "Ann", "Jo", "Lee", "Acme", "Lee, Ann Jo"},
      {"family and given", "Ann", none, "Lee", "Acme", "Lee, Ann"},
      {"given name only", "Ann", none, none, "Acme", "Ann"},
      {"empty family name", "Ann", "Jo", "", "Acme", "Ann Jo"},
      {"family name only", none, none, "Lee", "Acme", "Lee"},
      {"missing given name before additional names", none, "Jo", "Lee", "Acme", "Lee, (null)"},
      {"empty given name before additional names", "", "Jo", "Lee", "Acme", "Lee, "},
      {"additional names only", none, "Jo", none, "Acme", none},
      {"additional names and an empty given name", "", "Jo", "", "Acme", ""},
      {"organisation", none, none, none, "Acme", "Acme"},
      {"nothing at all", none, none, none, nullptr, "Unkown Contact"},
  };
  for (const auto& c : cases) {
    PDXContactEntry contact;
    contact.givenName = c.given;
    contact.additionalNames = c.additional;
    contact.familyName = c.family;
    if (c.organisation != nullptr) contact.organisations = {c.organisation};
    EXPECT_EQ(sortName(contact, PDXContactSortNameOrder::familyNameFirst), c.expected) << c.fault;
  }
}

TEST(ContactEntry, SortsUnderTheDisplayNameWhenThatComesFirst) {
  PDXContactEntry contact;
  contact.givenName = "Ann";
  EXPECT_EQ(sortName(contact, PDXContactSortNameOrder::displayNameFirst), "Unknown Contact");
  contact.organisations = {"Acme", "Other"};
  EXPECT_EQ(sortName(contact, PDXContactSortNameOrder::displayNameFirst), "Acme");
  contact.fullName = "Ann Lee";
  EXPECT_EQ(sortName(contact, PDXContactSortNameOrder::displayNameFirst), "Ann Lee");
}
