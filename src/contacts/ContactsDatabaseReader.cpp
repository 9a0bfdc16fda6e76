#include "contacts/ContactsDatabaseReader.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "backup/ReachableRows.h"
#include "backup/SQLiteHelper.h"
#include "contacts/ContactMerger.h"
#include "contacts/ContactNameSearch.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Sqlite.h"
#include "platform/Text.h"

namespace {

constexpr const char* kPeople =
    "SELECT ROWID, First, Middle, Last, Prefix, Suffix, Organization, JobTitle, Note FROM ABPerson WHERE 1";
constexpr const char* kPhoneNumbers =
    "SELECT value, label FROM ABMultiValue WHERE record_id=? AND property=3;";
constexpr const char* kEmailAddresses =
    "SELECT value, label FROM ABMultiValue WHERE record_id=? AND property=4;";
constexpr const char* kPostalAddresses =
    "SELECT UID, label FROM ABMultiValue WHERE record_id=? AND property=5;";
constexpr const char* kWebAddresses = "SELECT value FROM ABMultiValue WHERE record_id=? AND property=22;";
constexpr const char* kPostalEntries =
    "SELECT vek.value, ve.value FROM ABMultiValue mv INNER JOIN ABMultiValueEntry ve ON mv.UID = "
    "ve.parent_id "
    "INNER JOIN ABMultiValueEntryKey vek ON ve.key = vek.ROWID  WHERE mv.record_id=? AND mv.UID=?";

std::string textOf(const PDXSQLiteStatement& row, int column) {
  return PDXSQLiteHelper::stringValueForColumnFromStatment(column, row);
}

std::optional<std::string> textUnlessEmpty(const PDXSQLiteStatement& row, int column) {
  std::string text = textOf(row, column);
  if (text.empty()) return std::nullopt;
  return text;
}

int locationOf(const std::string& label) {
  if (label.empty()) return 0;
  return label.find("Work") != std::string::npos ? 2 : 1;
}

PDXContactPhoneNumber phoneNumberOf(const std::string& value, const std::string& label) {
  PDXContactPhoneNumber number(value);
  if (label.empty()) return number;
  number.location = locationOf(label);
  number.isVoice = true;
  number.isCell = label.find("Mobile") != std::string::npos;
  number.isFax = label.find("Fax") != std::string::npos;
  return number;
}

/// Where the part of an address of that name is kept; null for a part that is not. The capitals of the names
/// differ from one system version to the next.
std::optional<std::string>* partNamed(const std::string& name, PDXContactPostalAddress& address) {
  const std::string key = PDXText::uppercased(name);
  if (key == "STREET") return &address.streetAddress;
  if (key == "ZIP") return &address.postCode;
  if (key == "STATE") return &address.region;
  if (key == "COUNTRY") return &address.country;
  if (key == "COUNTRYCODE") return &address.countryCode;
  if (key == "CITY") return &address.locality;
  return nullptr;
}

void setPart(PDXContactPostalAddress& address, const std::string& name, std::string value) {
  std::optional<std::string>* part = value.empty() ? nullptr : partNamed(name, address);
  if (part == nullptr) return;
  const bool isStreet = part == &address.streetAddress;
  *part = isStreet ? PDXText::replacedAll(std::move(value), "\n", ";") : std::move(value);
}

std::optional<std::string> fullNameOf(const PDXContactEntry& contact) {
  std::string name;
  for (const auto* part : {&contact.givenName, &contact.additionalNames, &contact.familyName}) {
    if (part->has_value()) name += (name.empty() ? "" : " ") + **part;
  }
  if (name.empty()) return std::nullopt;
  return name;
}

/// The contact of a row of kPeople.
PDXContactEntry contactOf(const PDXSQLiteStatement& row) {
  PDXContactEntry contact;
  contact.uid = std::to_string(row.int64(0));
  contact.givenName = textUnlessEmpty(row, 1);
  contact.additionalNames = textUnlessEmpty(row, 2);
  contact.familyName = textUnlessEmpty(row, 3);
  contact.honorificPrefixes = textUnlessEmpty(row, 4);
  contact.honorificSuffixes = textUnlessEmpty(row, 5);
  if (const auto organisation = textUnlessEmpty(row, 6)) contact.organisations.push_back(*organisation);
  contact.title = textUnlessEmpty(row, 7);
  contact.note = textUnlessEmpty(row, 8);
  contact.fullName = fullNameOf(contact);
  contact.searchReference = contact.fullName ? contact.fullName : contact.organisation();
  return contact;
}

/// Whether a row makes a contact: it has a name or an organisation.
bool isNamed(const PDXContactEntry& contact) { return contact.searchReference.has_value(); }

bool saysSomething(const PDXContactEntry& contact) {
  return contact.hasPhoneNumbers() || contact.hasEmailAddresses() || contact.hasPostalAddresses() ||
         contact.url || contact.note || contact.title || !contact.picture.empty();
}

/// What somebody without a name is called by: an address that leads there.
std::optional<std::string> addressAsName(const PDXContactEntry& contact) {
  if (contact.hasEmailAddresses()) return contact.emailAddresses.front().address();
  return contact.hasPhoneNumbers() ? contact.phoneNumbers.front().address() : contact.url;
}

std::string tableOfPictures(const PDXSQLiteDatabase& database) {
  return PDXSQLiteHelper::doesDatabaseContainTable(database, "ABImage") ? "ABImage" : "ABThumbnailImage";
}

/// Whether it takes a look at all rows of the table to find those with a value in the column.
bool lacksIndex(const PDXSQLiteDatabase& database, const std::string& table, const std::string& column) {
  auto rows = database.prepare(
      "SELECT 1 FROM sqlite_master WHERE type='table' AND name=?1 COLLATE NOCASE AND NOT EXISTS (SELECT 1 "
      "FROM pragma_index_list(?1) AS list, pragma_index_info(list.name) AS part WHERE list.partial=0 AND "
      "part.seqno=0 AND part.name=?2 COLLATE NOCASE)");
  rows.bind(1, std::string_view(table));
  rows.bind(2, std::string_view(column));
  return rows.step();
}

/// A database of one read, which says once what is wrong with it. One that is missing is nothing to speak of.
class OpenedDatabase {
 public:
  /// @param isKnownDamaged  whether an earlier read said what is wrong with it: then nothing is said again,
  /// and
  ///                        what is looked up is read around the damage beforehand.
  explicit OpenedDatabase(std::string path, bool isKnownDamaged = false)
      : path_(std::move(path)),
        database_(path_),
        isKnownDamaged_(isKnownDamaged),
        hasComplained_(isKnownDamaged) {}

  const PDXSQLiteDatabase& handle() const { return database_; }

  /// Calls `use` for each row that is left, and makes `rows` ready for the next question.
  template <typename Use>
  void forEachRow(PDXSQLiteStatement& rows, Use use) {
    while (rows.step()) use();
    finish(rows);
  }

  /// The same for the first row alone.
  template <typename Use>
  void forFirstRow(PDXSQLiteStatement& rows, Use use) {
    if (rows.step()) use();
    finish(rows);
  }

  /// Makes the rows of an owner quick to find. Where the table has no index for that, a copy in memory takes
  /// its place in all statements prepared later: with the same rows in the same order, and with an index. So
  /// it does in a damaged store, where a question ends at the first row that cannot be read.
  void findQuickly(const std::string& table, const std::string& owner, const std::string& columns = "*") {
    if (!isKnownDamaged_ && !lacksIndex(database_, table, owner)) return;
    const std::string copied = "SELECT " + columns + " FROM main." + table;
    database_.run("PRAGMA temp_store=MEMORY; BEGIN");
    if (database_.run("CREATE TEMP TABLE " + table + " AS " + copied + " LIMIT 0")) {
      copyRows(table, copied);
      database_.run("CREATE INDEX temp.owner_of_" + table + " ON " + table + " (" + owner + ")");
    }
    database_.run("COMMIT");
  }

  bool isDamaged() const { return hasComplained_; }

  void complainUnlessReadable() {
    if (!database_.prepare("SELECT name FROM sqlite_master").isValid()) complain();
  }

  void complain(const std::string& why = "") {
    if (hasComplained_ || !PDXFiles::exists(path_)) return;
    hasComplained_ = true;
    PDXLog::report({.what = "contacts",
                    .where = std::string(PDXText::lastPathComponent(path_)),
                    .why = why.empty() ? database_.error() : why});
  }

 private:
  /// Row by row, so that a damaged page costs its own rows and not those behind it.
  void copyRows(const std::string& table, const std::string& copied) {
    auto copy = database_.prepare("INSERT INTO temp." + table + " " + copied + " WHERE _rowid_=?");
    const auto outcome =
        PDXReachableRows::forEach(database_,
                                  {.table = "main." + table,
                                   .select = "SELECT _rowid_ FROM main." + table + " NOT INDEXED WHERE 1",
                                   .number = "_rowid_"},
                                  [&](const PDXSQLiteStatement& row) {
                                    copy.bind(1, row.int64(0));
                                    while (copy.step()) continue;
                                    finish(copy);
                                  });
    if (!outcome.isWhole() && !outcome.isInterrupted) complain(outcome.why);
  }

  void finish(PDXSQLiteStatement& rows) {
    if (rows.failed()) complain(rows.error());
    rows.reset();
  }

  std::string path_;
  PDXSQLiteDatabase database_;
  bool isKnownDamaged_;
  bool hasComplained_;
};

/// The address books of all systems have these tables. A statement for one that is gone does not compile and
/// costs its field only, so this says it.
void reportMissingTables(const std::string& path, const std::string& picturesPath) {
  const auto nameOf = [](const std::string& of) { return std::string(PDXText::lastPathComponent(of)); };
  if (PDXFiles::exists(path)) {
    PDXSQLiteHelper::reportMissingTables(
        PDXSQLiteDatabase(path),
        {"ABMultiValue", "ABMultiValueLabel", "ABMultiValueEntry", "ABMultiValueEntryKey"}, "contacts",
        nameOf(path));
  }
  if (!PDXFiles::exists(picturesPath)) return;
  const PDXSQLiteDatabase pictures(picturesPath);
  if (!PDXSQLiteHelper::doesDatabaseContainTable(pictures, "ABImage"))
    PDXSQLiteHelper::reportMissingTables(pictures, {"ABThumbnailImage"}, "contacts", nameOf(picturesPath));
}

/// One read of the two databases, with the statements that are asked again for every person. One that does
/// not compile, in a store without that table, costs its field only.
class AddressBook {
 public:
  /// @param known  the same in an earlier read, null without one: where that met damage, this one reads
  /// around it.
  AddressBook(const std::string& path, const std::string& picturesPath, const AddressBook* known = nullptr)
      : book_(openedBook(path, known != nullptr && known->book_.isDamaged())),
        pictures_(openedPictures(picturesPath, known != nullptr && known->pictures_.isDamaged())) {
    // One lock for the whole read: hundreds of thousands of questions would each take their own.
    for (const OpenedDatabase* database : {&book_, &pictures_}) database->handle().run("BEGIN");
    pictureStore_ = std::make_shared<PDXContactPictureStore>(
        picturesPath, "SELECT data FROM " + picturesTable_ + " WHERE rowid=?;");
  }

  bool metDamage() const { return book_.isDamaged() || pictures_.isDamaged(); }

  std::vector<PDXContactEntry> people() {
    std::vector<PDXContactEntry> contacts;
    forEachPerson([&](PDXContactEntry contact, std::int64_t person) {
      if (!isNamed(contact)) return;
      fill(contact, person);
      contacts.push_back(std::move(contact));
    });
    return contacts;
  }

  PDXNamelessContacts nameless() {
    PDXNamelessContacts result;
    forEachPerson([&](PDXContactEntry contact, std::int64_t person) {
      if (isNamed(contact)) {
        ++result.namedRows;
        return;
      }
      fill(contact, person);
      contact.fullName = contact.searchReference = addressAsName(contact);
      if (saysSomething(contact)) {
        result.contacts.push_back(std::move(contact));
      } else {
        ++result.emptyRows;
      }
    });
    return result;
  }

 private:
  static OpenedDatabase openedBook(const std::string& path, bool isKnownDamaged) {
    OpenedDatabase book(path, isKnownDamaged);
    book.findQuickly("ABMultiValue", "record_id");
    book.findQuickly("ABMultiValueEntry", "parent_id");
    return book;
  }

  /// Only whether there is a picture counts here, so none is copied.
  static OpenedDatabase openedPictures(const std::string& path, bool isKnownDamaged) {
    OpenedDatabase pictures(path, isKnownDamaged);
    pictures.findQuickly(tableOfPictures(pictures.handle()), "record_id",
                         "rowid, record_id, CASE WHEN length(data) > 0 THEN x'00' END AS data");
    return pictures;
  }

  template <typename Use>
  void forEachPerson(Use use) {
    readLabels();
    pictures_.complainUnlessReadable();
    const auto outcome =
        PDXReachableRows::forEach(book_.handle(), {.table = "ABPerson", .select = kPeople, .number = "ROWID"},
                                  [&](const PDXSQLiteStatement& row) { use(contactOf(row), row.int64(0)); });
    if (!outcome.isWhole()) book_.complain(outcome.why);
  }

  void readLabels() {
    auto rows = book_.handle().prepare("SELECT * FROM ABMultiValueLabel;");
    book_.forEachRow(rows, [&] { labels_.push_back(textOf(rows, 0)); });
  }

  /// The label that a row refers to by its place in the label table, from 1; "" without one. The last label
  /// is never matched: what refers to it stays without type, in everything that is exported.
  std::string labelOf(const PDXSQLiteStatement& row, int column) const {
    const std::int64_t place = row.int64(column);
    const bool isKnown = place > 0 && place < static_cast<std::int64_t>(labels_.size());
    return isKnown ? labels_[static_cast<std::size_t>(place - 1)] : "";
  }

  void fill(PDXContactEntry& contact, std::int64_t person) {
    for (auto* question : {&phones_, &emails_, &addresses_, &urls_, &picture_}) question->bind(1, person);
    book_.forEachRow(phones_, [&] { addPhoneNumber(contact); });
    book_.forEachRow(addresses_, [&] { addPostalAddress(contact, person); });
    book_.forEachRow(emails_, [&] { addEmailAddress(contact); });
    book_.forFirstRow(urls_, [&] { contact.url = textUnlessEmpty(urls_, 0); });
    pictures_.forFirstRow(picture_, [&] {
      if (picture_.int64(1) > 0) contact.picture = PDXContactPicture(pictureStore_, picture_.int64(0));
    });
  }

  void addPhoneNumber(PDXContactEntry& contact) {
    const std::string value = textOf(phones_, 0);
    if (!value.empty()) contact.phoneNumbers.push_back(phoneNumberOf(value, labelOf(phones_, 1)));
  }

  void addPostalAddress(PDXContactEntry& contact, std::int64_t person) {
    PDXContactPostalAddress& address = contact.postalAddresses.emplace_back();
    entries_.bind(1, person);
    entries_.bind(2, addresses_.int64(0));
    book_.forEachRow(entries_, [&] { setPart(address, textOf(entries_, 0), textOf(entries_, 1)); });
    address.location = locationOf(labelOf(addresses_, 1));
  }

  void addEmailAddress(PDXContactEntry& contact) {
    const std::string value = textOf(emails_, 0);
    if (value.empty()) return;
    contact.emailAddresses.emplace_back(value).location = locationOf(labelOf(emails_, 1));
  }

  OpenedDatabase book_;
  OpenedDatabase pictures_;
  PDXSQLiteStatement phones_ = book_.handle().prepare(kPhoneNumbers);
  PDXSQLiteStatement addresses_ = book_.handle().prepare(kPostalAddresses);
  PDXSQLiteStatement entries_ = book_.handle().prepare(kPostalEntries);
  PDXSQLiteStatement emails_ = book_.handle().prepare(kEmailAddresses);
  PDXSQLiteStatement urls_ = book_.handle().prepare(kWebAddresses);
  std::string picturesTable_ = tableOfPictures(pictures_.handle());
  PDXSQLiteStatement picture_ =
      pictures_.handle().prepare("SELECT rowid, length(data) FROM " + picturesTable_ + " WHERE record_id=?;");
  std::shared_ptr<PDXContactPictureStore> pictureStore_;
  std::vector<std::string> labels_;
};

}  // namespace

PDXContactsDatabaseReader::PDXContactsDatabaseReader(std::string databasePath,
                                                     std::string picturesDatabasePath)
    : databasePath_(std::move(databasePath)), picturesDatabasePath_(std::move(picturesDatabasePath)) {}

std::vector<PDXContactEntry> PDXContactsDatabaseReader::readContacts() {
  AddressBook book(databasePath_, picturesDatabasePath_);
  reportMissingTables(databasePath_, picturesDatabasePath_);
  auto people = book.people();
  if (book.metDamage()) people = AddressBook(databasePath_, picturesDatabasePath_, &book).people();
  return PDXContactMerger::mergeIdenticalContactsInArray(std::move(people));
}

PDXNamelessContacts PDXContactsDatabaseReader::readContactsWithoutName() {
  AddressBook book(databasePath_, picturesDatabasePath_);
  auto nameless = book.nameless();
  return book.metDamage() ? AddressBook(databasePath_, picturesDatabasePath_, &book).nameless() : nameless;
}

std::string PDXContactsDatabaseReader::searchForContactNameWithAddress(std::string_view address) const {
  return PDXContactNameSearch(databasePath_).nameOf(address);
}

std::vector<PDXContactEntry> PDXContactsDatabaseReader::readContactsFromDatabasePicturesDatabasePath(
    const std::string& databasePath, const std::string& picturesDatabasePath) {
  return PDXContactsDatabaseReader(databasePath, picturesDatabasePath).readContacts();
}

std::string PDXContactsDatabaseReader::searchForContactNameWithAddressInDatabase(
    std::string_view address, const std::string& databasePath) {
  return PDXContactsDatabaseReader(databasePath, "").searchForContactNameWithAddress(address);
}
