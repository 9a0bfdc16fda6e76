#include <gtest/gtest.h>

#include "contacts/ContactsDatabase.h"
#include "contacts/PhoneNumberComparison.h"

TEST(PhoneNumberComparison, KnowsTheSpellingsOfOneNumber) {
  const struct {
    const char* fault;
    const char* a;
    const char* b;
    bool expected;
  } cases[] = {
      {"missing numbers", "", "", false},
      {"one is missing", "5550123", "", false},
      {"same text", "5550123", "5550123", true},
      {"formatting", "(555) 0123", "555-0123", true},
      {"U+00A0 and direction marks as the device writes them", "\u202a+44\u00a07700\u00a0900123",
       "+447700900123", true},
      {"one length, one digit off", "07700 900123", "07700 900223", false},
      {"national and international form", "+44 7700 900123", "07700900123", true},
      {"two country codes: one length", "+447700900123", "+497700900123", false},
      {"two country codes, one with a trunk zero", "+447700900123", "+4907700900123", true},
      {"nothing behind the prefix: it stays", "+44", "94", false},
      {"one digit behind the prefix", "+441", "1", true},
      {"country code of one digit loses a digit of the area", "+15551234567", "5551234567", true},
      {"three digits more", "5550123", "1115550123", true},
      {"four digits more", "5550123", "11115550123", false},
      {"short number at the beginning of a longer one", "121", "12111", true},
      {"digits of the shorter one apart in the longer", "121", "12211", false},
      {"last characters as written", "5550123", "5550123 ", false},
      {"last character of more than one byte", "5550123\u202c", "555 0123\u202c", true},
      {"last characters that share their last byte", "5550123\u00e9", "5550123\u0129", false},
      {"no digit at all occurs in any short number", "abc3d", "d", true},
      {"e-mail addresses have no digits and are one", "ann@example.com", "bob@example.com", true},
      {"e-mail addresses with other last letters", "ann@example.com", "ann@example.org", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(PDXContactsDatabase::numberStringIsEqualToNumberString(c.a, c.b), c.expected) << c.fault;
    EXPECT_EQ(PDXContactsDatabase::numberStringIsEqualToNumberString(c.b, c.a), c.expected)
        << c.fault << ", the other way round";
  }
}

TEST(PhoneNumberComparison, TheIndexFindsTheFirstOfSeveral) {
  PDXNumberIndex index;
  for (const char* number : {"", "020 7946 0121", "07700900123", "+497700900123", "+447700900123",
                             "07700900123", "121", "ann@example.com", "+441"})
    index.add(number);
  const std::pair<const char*, std::optional<std::size_t>> cases[] = {
      {"", std::nullopt},
      {"+447700900123", 2},
      {"+4907700900123", 2},
      {"497700900123", 3},
      {"+337700900123", 2},
      {"5550123", std::nullopt},
      {"12111", 6},
      {"99121", 6},
      {"79460121", 1},
      {"bob@example.com", 7},
      {"bob@example.org", std::nullopt},
      {"1", 6},
      {"071", 8},
  };
  for (const auto& [number, place] : cases) EXPECT_EQ(index.firstEqualTo(number), place) << number;
}
