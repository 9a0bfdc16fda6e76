#include "contacts/BlockedNumberReader.h"

#include <gtest/gtest.h>

#include "platform/PropertyList.h"
#include "tests/contacts/AddressBookSample.h"
#include "tests/support/TestFolder.h"

namespace {

using Array = PDXPropertyList::Array;
using Dictionary = PDXPropertyList::Dictionary;

PDXPropertyList item(const PDXPropertyList& number) {
  return Dictionary{{"__kCMFItemTypeKey", 0}, {"__kCMFItemPhoneNumberUnformattedKey", number}};
}

PDXPropertyList blockList(const PDXPropertyList& items) {
  return Dictionary{{"__kCMFBlockListStoreTopLevelKey", Dictionary{{"__kCMFBlockListStoreArrayKey", items}}}};
}

std::string text(const PDXBytes& bytes) { return {bytes.begin(), bytes.end()}; }

/// "number|contact name|known variations" and "; " for each.
std::string listed(const std::string& plist, const std::string& book = "") {
  std::string result;
  for (const auto& blocked :
       PDXBlockedNumberReader::getBlockedNumbersFromPListContactsDatabase(plist, book)) {
    result += blocked.number + "|" + blocked.contactName.value_or("-") + "|" +
              blocked.knownVariations.value_or("-") + "; ";
  }
  return result;
}

}  // namespace

TEST(BlockedNumberReader, ReadsListsOfBothForms) {
  const PDXPropertyList email = Dictionary{{"__kCMFItemEmailUnformattedKey", "spam@example.com"}};
  const struct {
    const char* fault;
    PDXPropertyList list;
    const char* expected;
  } cases[] = {
      {"two numbers, an e-mail address and an empty number between them",
       blockList(Array{item("+447700900123"), email, item(""), item("5550123")}),
       "+447700900123|-|-; 5550123|-|-; "},
      {"no items", blockList(Array{}), ""},
      {"number of another kind", blockList(Array{item(5550123), item(Array{"1"}), item("2")}), "2|-|-; "},
      {"items of another kind", blockList(Array{"5550123", Array{item("1")}, item("2")}), "2|-|-; "},
      {"one item in place of the array", blockList(item("5550123")), ""},
      {"array in place of the store", Dictionary{{"__kCMFBlockListStoreTopLevelKey", Array{item("5550123")}}},
       ""},
      {"array in place of the root", Array{item("5550123")}, ""},
  };
  const PDXTestFolder folder;
  for (const auto& c : cases) {
    EXPECT_EQ(listed(folder.write("list", text(c.list.xml()))), c.expected) << c.fault << ", XML";
    EXPECT_EQ(listed(folder.write("list", text(c.list.binary()))), c.expected) << c.fault << ", binary";
  }
  EXPECT_EQ(listed(folder.write("list", "bplist00 cut off")), "");
  EXPECT_EQ(listed(folder / "none"), "");
}

TEST(BlockedNumberReader, NamesTheOwnersOfNumbers) {
  const auto list = blockList(Array{item("7700900123"), item("5550123"), item("55'50"), item("5550200")});
  const auto newer =
      searchTexts(PDXSampleDatabase(), true)
          .row("ABPersonFullTextSearch_content", "Ann", "Lee", "Jo", "", "+447700900123 07700900123")
          .row("ABPersonFullTextSearch_content", "Other", "Lee", "", "", "07700900123")
          .row("ABPersonFullTextSearch_content", "", " Ray", nullptr, "Acme", "5550200");
  const auto older = searchTexts(PDXSampleDatabase(), false)
                         .row("ABPersonFullTextSearch_content", "Bob", "", "", "", "555012300");
  const PDXTestFolder folder;
  const std::string path = folder.write("list", text(list.binary()));
  EXPECT_EQ(listed(path, newer.writeTo(folder / "book")),
            "7700900123|Ann Jo Lee|+447700900123 07700900123; 5550123|-|-; 55'50|-|-; 5550200|Ray|5550200; ");
  EXPECT_EQ(listed(path, older.writeTo(folder / "book")),
            "7700900123|-|-; 5550123|Bob|555012300; 55'50|-|-; 5550200|-|-; ");
  EXPECT_EQ(listed(path, addressBook().writeTo(folder / "book")),
            "7700900123|-|-; 5550123|-|-; 55'50|-|-; 5550200|-|-; ");
}
