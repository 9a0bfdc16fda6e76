#include "contacts/ContactsDatabaseReader.h"

#include <gtest/gtest.h>

#include "platform/Log.h"
#include "tests/contacts/AddressBookSample.h"
#include "tests/support/TestFolder.h"

namespace {

/// What was reported while it lives.
class Problems {
 public:
  Problems() {
    before_ = PDXLog::listen([this](const PDXProblem& problem) { list_.push_back(problem.where); });
  }
  ~Problems() { PDXLog::listen(before_); }
  Problems(const Problems&) = delete;
  Problems& operator=(const Problems&) = delete;

  const std::vector<std::string>& list() const { return list_; }

 private:
  PDXLog::Listener before_;
  std::vector<std::string> list_;
};

std::string flags(const PDXContactPhoneNumber& number) {
  return std::to_string(number.location) + (number.isVoice ? "v" : "") + (number.isCell ? "c" : "") +
         (number.isFax ? "f" : "");
}

std::string listed(const PDXContactPostalAddress& address) {
  std::string text = "A" + std::to_string(address.location);
  for (const auto* part : {&address.streetAddress, &address.postCode, &address.region, &address.locality,
                           &address.country, &address.countryCode}) {
    text += "/" + part->value_or("-");
  }
  return text;
}

/// "uid|full name|search reference|organisation" with what the contact has behind it; one line each.
std::string listed(const PDXContactEntry& contact) {
  std::string text = contact.uid.value_or("-") + "|" + contact.fullName.value_or("-") + "|" +
                     contact.searchReference.value_or("-") + "|" + contact.organisation().value_or("-");
  for (const auto& number : contact.phoneNumbers) text += " P" + flags(number) + ":" + number.address();
  for (const auto& email : contact.emailAddresses) {
    text += " E" + std::to_string(email.location) + ":" + email.address();
  }
  for (const auto& address : contact.postalAddresses) text += " " + listed(address);
  if (contact.url) text += " U:" + *contact.url;
  if (contact.title) text += " T:" + *contact.title;
  if (!contact.picture.empty()) text += " B" + std::to_string(contact.picture.bytes().front());
  return text + "\n";
}

std::string listed(const std::string& book, const std::string& pictures = "") {
  std::string text;
  for (const auto& contact :
       PDXContactsDatabaseReader::readContactsFromDatabasePicturesDatabasePath(book, pictures)) {
    text += listed(contact);
  }
  return text;
}

PDXSampleDatabase ann() { return addressBook().row("ABPerson", 7, "Ann", nullptr, "Lee"); }

}  // namespace

TEST(ContactsDatabaseReader, ReadsPeople) {
  const struct {
    const char* fault;
    PDXSampleDatabase sample;
    const char* expected;
  } cases[] = {
      {"store of another kind", PDXSampleDatabase().table("song", "title"), ""},
      {"name in parts", addressBook().row("ABPerson", 1, nullptr, "Jo", "Lee"), "1|Jo Lee|Jo Lee|-\n"},
      {"organisation only",
       addressBook().row("ABPerson", 2, "", nullptr, nullptr, nullptr, nullptr, "Acme", "Boss"),
       "2|-|Acme|Acme T:Boss\n"},
      {"a job and a number are no name",
       addressBook()
           .row("ABPerson", 3, "", "", "", "Dr", nullptr, "", "Boss", "note")
           .row("ABMultiValue", 1, 3, 3, 1, "5550123"),
       ""},
      {"one person in two accounts",
       ann()
           .row("ABPerson", 8, "Bob")
           .row("ABPerson", 9, "ann", nullptr, "LEE")
           .row("ABMultiValue", 1, 9, 4, nullptr, "ann@example.com"),
       "7|Ann Lee|Ann Lee|- E0:ann@example.com\n8|Bob|Bob|-\n"},
      {"no table of values", PDXSampleDatabase(ann()).sql("DROP TABLE ABMultiValue"),
       "7|Ann Lee|Ann Lee|-\n"},
      {"no table of labels",
       PDXSampleDatabase(ann())
           .sql("DROP TABLE ABMultiValueLabel")
           .row("ABMultiValue", 1, 7, 3, 1, "5550123"),
       "7|Ann Lee|Ann Lee|- P0:5550123\n"},
  };
  const PDXTestFolder folder;
  for (const auto& c : cases) EXPECT_EQ(listed(c.sample.writeTo(folder / "book")), c.expected) << c.fault;
}

TEST(ContactsDatabaseReader, TakesTheKindOfAValueFromItsLabel) {
  const struct {
    const char* fault;
    PDXSampleDatabase::Value label;
    const char* expected;
  } cases[] = {
      {"mobile", std::int64_t{1}, "P1vc:5 E1:e A1/-/-/-/-/-/-"},
      {"fax at work", std::int64_t{2}, "P2vf:5 E2:e A2/-/-/-/-/-/-"},
      {"capitals count, so it is no fax", std::int64_t{3}, "P1v:5 E1:e A1/-/-/-/-/-/-"},
      {"the last label is never matched", std::int64_t{4}, "P0:5 E0:e A0/-/-/-/-/-/-"},
      {"label id without row", std::int64_t{9}, "P0:5 E0:e A0/-/-/-/-/-/-"},
      {"negative label id", std::int64_t{-1}, "P0:5 E0:e A0/-/-/-/-/-/-"},
      {"no label", nullptr, "P0:5 E0:e A0/-/-/-/-/-/-"},
      {"a text for an id", std::string("Work"), "P0:5 E0:e A0/-/-/-/-/-/-"},
  };
  const PDXTestFolder folder;
  for (const auto& c : cases) {
    auto sample = ann();
    for (const auto& [property, value] : {std::pair(3, "5"), std::pair(4, "e"), std::pair(5, "")}) {
      sample = std::visit([&, p = property, v = value](
                              const auto& label) { return sample.row("ABMultiValue", p, 7, p, label, v); },
                          c.label);
    }
    EXPECT_EQ(listed(sample.writeTo(folder / "book")),
              "7|Ann Lee|Ann Lee|- " + std::string(c.expected) + "\n")
        << c.fault;
  }
}

TEST(ContactsDatabaseReader, ReadsAddressesInAnyCapitals) {
  auto sample = ann().row("ABMultiValue", 30, 7, 5, 3).row("ABMultiValue", 31, 8, 5, 3);
  const char* keys[] = {"Street", "zip", "STATE", "City", "Country", "countryCode", "SubLocality"};
  const char* values[] = {"1 High St\nFlat 2\n", "N1", "", "London", "UK", "gb", "Islington"};
  for (int i = 0; i < 7; ++i) {
    sample = sample.row("ABMultiValueEntryKey", keys[i]).row("ABMultiValueEntry", 30, i + 1, values[i]);
  }
  sample =
      sample.row("ABMultiValueEntry", 31, 1, "of somebody else").row("ABMultiValueEntry", 30, 99, "no key");
  const PDXTestFolder folder;
  EXPECT_EQ(listed(sample.writeTo(folder / "book")),
            "7|Ann Lee|Ann Lee|- A1/1 High St;Flat 2;/N1/-/London/UK/gb\n");
}

TEST(ContactsDatabaseReader, TakesTheFirstWebAddressAndSkipsEmptyValues) {
  const PDXTestFolder folder;
  const auto sample = ann()
                          .row("ABMultiValue", 1, 7, 22, nullptr, "https://one.example")
                          .row("ABMultiValue", 2, 7, 22, nullptr, "https://two.example")
                          .row("ABMultiValue", 3, 7, 3, 1, nullptr)
                          .row("ABMultiValue", 4, 7, 4, 1, "");
  EXPECT_EQ(listed(sample.writeTo(folder / "book")), "7|Ann Lee|Ann Lee|- U:https://one.example\n");
}

TEST(ContactsDatabaseReader, TakesPicturesFromTheTableThatThereIs) {
  const auto thumbnails = PDXSampleDatabase()
                              .table("ABThumbnailImage", "record_id, format, data")
                              .row("ABThumbnailImage", 8, 0, PDXBytes{8})
                              .row("ABThumbnailImage", 7, 0, PDXBytes{20})
                              .row("ABThumbnailImage", 7, 2, PDXBytes{30});
  const auto both = thumbnails.table("ABImage", "record_id, data").row("ABImage", 7, PDXBytes{10});
  const struct {
    const char* fault;
    PDXSampleDatabase pictures;
    const char* expected;
  } cases[] = {
      {"no picture table", PDXSampleDatabase().table("song", "title"), "7|Ann Lee|Ann Lee|-\n"},
      {"newer table, first row", thumbnails, "7|Ann Lee|Ann Lee|- B20\n"},
      {"older table goes first", both, "7|Ann Lee|Ann Lee|- B10\n"},
  };
  const PDXTestFolder folder;
  const Problems problems;
  const std::string book = ann().writeTo(folder / "book");
  for (const auto& c : cases)
    EXPECT_EQ(listed(book, c.pictures.writeTo(folder / "p")), c.expected) << c.fault;
  ASSERT_EQ(problems.list().size(), 1U);
  EXPECT_EQ(problems.list()[0], "p") << "the first has none of the tables";
}

TEST(ContactsDatabaseReader, KeepsWhatADamagedBookStillHoldsAndSaysSoOnce) {
  auto sample = addressBook().sql("BEGIN");
  for (int i = 1; i <= 2000; ++i) {
    sample = std::move(sample)
                 .row("ABPerson", i, "Person " + std::to_string(i), nullptr, "Longname")
                 .row("ABMultiValue", i, i, 3, 1, "5550123");
  }
  sample = std::move(sample).sql("COMMIT").sql("CREATE INDEX byPerson ON ABMultiValue (record_id)");
  const PDXTestFolder folder;
  std::string bytes = fileText(sample.writeTo(folder / "book"));
  bytes.replace(bytes.size() / 2, bytes.size() / 4, bytes.size() / 4, 'x');
  folder.write("book", bytes);

  const Problems problems;
  const auto contacts = PDXContactsDatabaseReader(folder / "book", "").readContacts();
  EXPECT_GT(contacts.size(), 0U);
  EXPECT_LT(contacts.size(), 2000U);
  EXPECT_EQ(problems.list(), std::vector<std::string>{"book"});
}

TEST(ContactsDatabaseReader, IsQuietAboutAMissingBookOnly) {
  const PDXTestFolder folder;
  const Problems problems;
  EXPECT_EQ(listed(folder / "none", folder / "none either"), "");
  EXPECT_EQ(problems.list().size(), 0U);

  const std::string book = folder.write("book", "no database, and long enough to look at");
  EXPECT_EQ(listed(book, book), "");
  EXPECT_EQ(problems.list(), (std::vector<std::string>{"book", "book"}));

  const std::string whole = fileText(ann().writeTo(folder / "cut off"));
  const std::string cutOff = folder.write("cut off", whole.substr(0, whole.size() / 2));
  EXPECT_EQ(listed(cutOff), "");
  EXPECT_EQ(problems.list().back(), "cut off");
}

TEST(ContactsDatabaseReader, ReadsTheSameWithAndWithoutIndexes) {
  const auto bare = ann()
                        .row("ABPerson", 8, "Bob")
                        .row("ABMultiValueEntryKey", "City")
                        .row("ABMultiValueEntryKey", "ZIP")
                        .row("ABMultiValue", 1, 8, 3, 1, "2")
                        .row("ABMultiValue", 2, 7, 3, 1, "1")
                        .row("ABMultiValue", 3, 8, 3, 1, "1")
                        .row("ABMultiValue", 4, 8, 5)
                        .row("ABMultiValue", 5, "8", 3, 1, "a text is no owner")
                        .row("ABMultiValueEntry", 4, 2, "W1")
                        .row("ABMultiValueEntry", 4, 1, "York");
  const auto indexed = bare.sql("CREATE INDEX a ON ABMultiValue (record_id)")
                           .sql("CREATE INDEX b ON ABMultiValueEntry (parent_id)");
  const PDXTestFolder folder;
  for (const auto& sample : {bare, indexed}) {
    EXPECT_EQ(listed(sample.writeTo(folder / "book")),
              "7|Ann Lee|Ann Lee|- P1vc:1\n8|Bob|Bob|- P1vc:2 P1vc:1 A0/-/W1/-/York/-/-\n");
  }
}

TEST(ContactsDatabaseReader, ReadsAPictureWhenItIsAskedFor) {
  const PDXTestFolder folder;
  const std::string pictures = PDXSampleDatabase()
                                   .table("ABThumbnailImage", "ROWID INTEGER PRIMARY KEY, record_id, data")
                                   .row("ABThumbnailImage", 20, 7, PDXBytes{1, 2})
                                   .row("ABThumbnailImage", 30, 8, PDXBytes{})
                                   .writeTo(folder / "pictures");
  const auto contacts = PDXContactsDatabaseReader::readContactsFromDatabasePicturesDatabasePath(
      ann().row("ABPerson", 8, "Bob").writeTo(folder / "book"), pictures);
  ASSERT_EQ(contacts.size(), 2U);
  EXPECT_TRUE(contacts[1].picture.empty());
  EXPECT_EQ(contacts[0].picture.bytes(), (PDXBytes{1, 2}));
  folder.write("pictures", "gone");
  EXPECT_FALSE(contacts[0].picture.empty());
  EXPECT_EQ(contacts[0].picture.bytes(), PDXBytes());
}

TEST(ContactsDatabaseReader, FindsANameByAddress) {
  const auto older = searchTexts(PDXSampleDatabase(), false)
                         .row("ABPersonFullTextSearch_content", "Ann", "Lee", "Jo", "Acme",
                              "+447700900123 07700900123", "ann@example.com")
                         .row("ABPersonFullTextSearch_content", nullptr, "Ray", nullptr, "Acme", "5550100")
                         .row("ABPersonFullTextSearch_content", "Bob", "", nullptr, "Acme", "5550200")
                         .row("ABPersonFullTextSearch_content", "", "", nullptr, "Acme", "5550300")
                         .row("ABPersonFullTextSearch_content", "Cy", "", nullptr, "", "7700900123");
  const auto newer = searchTexts(PDXSampleDatabase(), true)
                         .row("ABPersonFullTextSearch_content", "Old", "Column", nullptr, nullptr, "x", "y",
                              "07700900123", "ann@example.com")
                         .row("ABPersonFullTextSearch_content", "Ann", "Lee", nullptr, nullptr, "07700900123",
                              "ann@example.com");
  const struct {
    const char* fault;
    PDXSampleDatabase sample;
    std::string_view address;
    const char* expected;
  } cases[] = {
      {"no search texts", ann(), "5550123", ""},
      {"a part of two people's numbers: the first", older, "7700900123", "Ann Lee"},
      {"e-mail address", older, "ann@example.com", "Ann Lee"},
      {"no first name", older, "5550100", "Ray"},
      {"no last name", older, "5550200", "Bob"},
      {"no name", older, "5550300", "Acme"},
      {"nobody's", older, "5559999", ""},
      {"a quote breaks the statement", older, "ann'@example.com", ""},
      {"the end of one row and the beginning of the next", older, "007700900123 0", ""},
      {"case, as the database ignores it", older, "ANN@Example.com", "Ann Lee"},
      {"a sign for any character", older, "55502_0", "Bob"},
      {"cut by a zero byte", older, std::string_view("5550100\0", 8), ""},
      {"nothing, which everybody has", older, "", "Ann Lee"},
      {"newer phone column", newer, "07700900123", "Ann Lee"},
      {"newer e-mail column", newer, "ann@example.com", "Ann Lee"},
  };
  const PDXTestFolder folder;
  for (const auto& c : cases) {
    const std::string path = c.sample.writeTo(folder / "book");
    EXPECT_EQ(PDXContactsDatabaseReader::searchForContactNameWithAddressInDatabase(c.address, path),
              c.expected)
        << c.fault;
  }
}

TEST(ContactsDatabaseReader, KeepsPeopleWithoutNameApart) {
  const PDXTestFolder folder;
  const std::string path = addressBook()
                               .row("ABPerson", 1, "Ann")
                               .row("ABPerson", 2)
                               .row("ABPerson", 3, "", nullptr, "")
                               .row("ABPerson", 4)
                               .row("ABPerson", 5, nullptr, nullptr, nullptr, "Dr.")
                               .row("ABMultiValue", 1, 2, 3, 1, "5550199")
                               .row("ABMultiValue", 2, 2, 4, 1, "x@y.z")
                               .row("ABMultiValue", 3, 3, 3, 1, "5550300")
                               .writeTo(folder / "AddressBook.sqlitedb");
  const PDXNamelessContacts found = PDXContactsDatabaseReader(path, "").readContactsWithoutName();
  ASSERT_EQ(found.contacts.size(), 2U);
  EXPECT_EQ(found.contacts[0].fullName, "x@y.z");
  EXPECT_EQ(found.contacts[0].phoneNumbers.size(), 1U);
  EXPECT_EQ(found.contacts[1].fullName, "5550300");
  EXPECT_EQ(found.namedRows, 1U);
  EXPECT_EQ(found.emptyRows, 2U);
  EXPECT_EQ(PDXContactsDatabaseReader(path, "").readContacts().size(), 1U);
}
