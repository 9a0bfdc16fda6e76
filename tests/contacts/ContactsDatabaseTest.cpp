#include "contacts/ContactsDatabase.h"

#include <gtest/gtest.h>

#include "backup/DeviceData.h"
#include "tests/contacts/AddressBookSample.h"
#include "tests/support/TestFolder.h"

namespace {

constexpr const char* kAddressBookId = "31bb7ba8914766d4ba40d6dfb6113c8b614be442";
constexpr const char* kBlockListId = "87e0d90ff42cd4c7453134571403103fb97af437";

PDXSampleDatabase annAndBob() {
  return searchTexts(addressBook(), true)
      .row("ABPerson", 1, "Zoe", nullptr, "Ann")
      .row("ABPerson", 2, "Bob")
      .row("ABPerson", 3, nullptr, nullptr, nullptr, nullptr, nullptr, "Acme")
      .row("ABMultiValue", 1, 1, 3, 1, "+44 7700 900123")
      .row("ABMultiValue", 2, 1, 4, 1, "ann@example.com")
      .row("ABMultiValue", 3, 2, 3, 1, "07700900123")
      .row("ABMultiValue", 4, 2, 4, 1, "ann@example.com")
      .row("ABMultiValue", 5, 2, 3, 1, "555 0199")
      .row("ABMultiValue", 6, 3, 3, 1, "5550300")
      .row("ABPersonFullTextSearch_content", "Bob", nullptr, nullptr, nullptr,
           "07700900123 5550199 555 0199");
}

std::string blockList(const std::string& number) {
  return "<plist><dict><key>__kCMFBlockListStoreTopLevelKey</key><dict><key>__kCMFBlockListStoreArrayKey</"
         "key>"
         "<array><dict><key>__kCMFItemPhoneNumberUnformattedKey</key><string>" +
         number + "</string></dict></array></dict></dict></plist>";
}

/// Backups so bare that files are found by feature only, without a manifest.
class ContactsDatabase : public testing::Test {
 protected:
  ContactsDatabase() { PDXDeviceData::setCustomBackupPath(folder_.path()); }
  ~ContactsDatabase() override {
    PDXContactsDatabase::loadContactsFromFolderPath(folder_ / "none");
    PDXDeviceData::setCustomBackupPath(std::nullopt);
  }

  void loadBackup(const std::string& blockedNumber) {
    PDXFiles::makeFolders(folder_ / "device");
    annAndBob().writeTo(folder_ / "device" + "/" + kAddressBookId);
    folder_.write(std::string("device/") + kBlockListId, blockList(blockedNumber));
    PDXDeviceData device("device");
    PDXContactsDatabase::loadContactsFromDeviceData(device);
  }

  PDXTestFolder folder_;
};

}  // namespace

TEST_F(ContactsDatabase, FindsTheFirstContactWithAnAddress) {
  loadBackup("5550000");
  const struct {
    const char* fault;
    const char* address;
    std::optional<std::string> expected;
  } cases[] = {
      {"nothing asked", "", std::nullopt},
      {"another spelling of two people's number", "07700 900123", "Zoe Ann"},
      {"number of the second", "5550199", "Bob"},
      {"an organisation has no full name", "5550300", std::nullopt},
      {"e-mail address of two people", "ann@example.com", "Zoe Ann"},
      {"e-mail addresses agree to the letter", "Ann@example.com", std::nullopt},
      {"e-mail addresses are not numbers", "x@y.com", std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(PDXContactsDatabase::getFullNameOfConactWithAddress(c.address), c.expected) << c.fault;
  }
  ASSERT_NE(PDXContactsDatabase::getContactWithAddress("5550300"), nullptr);
  EXPECT_EQ(PDXContactsDatabase::getContactWithAddress("5550300")->organisation(), "Acme");
}

TEST_F(ContactsDatabase, BlocksEverySpellingOfANumberAndItsOwnersOthers) {
  loadBackup("07700900123");
  const struct {
    const char* fault;
    const char* number;
    bool expected;
  } cases[] = {
      {"no number", "", false},
      {"as stored", "07700900123", true},
      {"international form", "+447700900123", true},
      {"the owner's other number, as written", "555 0199", true},
      {"a part of the owner's other number", "0199", true},
      {"the owner's other number, written otherwise", "(555) 0199", false},
      {"somebody else's", "5550300", false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(PDXContactsDatabase::isNumberBlocked(c.number), c.expected) << c.fault;
  std::string blocked;
  for (const auto& contact : PDXContactsDatabase::contacts()) blocked += contact.isBlocked ? "1" : "0";
  EXPECT_EQ(blocked, "110");
}

TEST_F(ContactsDatabase, KeepsBlockedNumbersWhenClearedAndForgetsThemWithTheirBackup) {
  loadBackup("07700900123");
  PDXContactsDatabase::clear();
  EXPECT_FALSE(PDXContactsDatabase::isLoaded());
  EXPECT_EQ(PDXContactsDatabase::getContactWithAddress("ann@example.com"), nullptr);
  EXPECT_TRUE(PDXContactsDatabase::isNumberBlocked("07700900123"));

  loadBackup("07700900123");
  ASSERT_TRUE(PDXContactsDatabase::isLoaded());
  const PDXDeviceData another("another");
  EXPECT_FALSE(PDXContactsDatabase::isLoaded());
  EXPECT_FALSE(PDXContactsDatabase::isNumberBlocked("07700900123"));
}

TEST_F(ContactsDatabase, LoadsAFolderWithoutTheBlockedNumbersOfABackup) {
  loadBackup("07700900123");
  annAndBob().writeTo(folder_ / "AddressBook.sqlitedb");
  PDXContactsDatabase::loadContactsFromFolderPath(folder_.path());
  EXPECT_EQ(PDXContactsDatabase::contacts().size(), 3U);
  EXPECT_FALSE(PDXContactsDatabase::isContactBlocked(PDXContactsDatabase::contacts()[1]));
}
