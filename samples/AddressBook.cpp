#include "samples/AddressBook.h"

#include <algorithm>
#include <map>
#include <set>
#include <span>
#include <string_view>

#include "platform/Images.h"
#include "platform/Text.h"
#include "samples/Device.h"
#include "samples/Pictures.h"
#include "samples/Random.h"
#include "samples/Table.h"
#include "samples_embedded.h"

namespace {

/// A store that did not reach the disk is written again, so nothing waits for the disk.
constexpr const char* kBegin = "PRAGMA synchronous=OFF; BEGIN";

enum Property { phone = 3, email = 4, address = 5, webAddress = 22 };

constexpr std::string_view kStoreColumns = "ROWID, Name, ExternalIdentifier, Type, AccountID, guid";
constexpr std::string_view kPersonColumns =
    "ROWID, First, Last, Middle, Organization, Department, Note, Kind, Birthday, JobTitle, Nickname, Prefix, "
    "Suffix, FirstSort, LastSort, CreationDate, ModificationDate, StoreID, DisplayName, FirstSortSection, "
    "LastSortSection, PersonLink, guid, ImageType";
constexpr std::string_view kSearchColumns =
    "docid, c0First, c1Last, c2Middle, c6Organization, c8Department, c9Note, c11JobTitle, c12Nickname, "
    "c13Prefix, c14Suffix, c16Phone, c17Email, c18Address, c20URL";

/// In the order of their rows, which is what multi-value rows refer to. The last one is in use nowhere.
constexpr std::string_view kLabels[] = {"_$!<Mobile>!$_",  "_$!<Home>!$_", "_$!<Work>!$_",
                                        "_$!<Main>!$_",    "iPhone",       "_$!<HomePage>!$_",
                                        "_$!<WorkFAX>!$_", "Allotment",    "_$!<Other>!$_"};

constexpr std::string_view kAddressKeys[] = {"Street", "City", "State", "ZIP", "Country", "CountryCode"};

/// What the search index keeps of a number: every way in which somebody may look for it.
std::string spellings(const std::string& typed) {
  const std::string network = PDXSamplePeople::networkNumber(typed);
  const std::string national = network.substr(network.starts_with("+44") ? 3 : 2);
  const std::string local = network.starts_with("+44") ? "0" + national + " " : "";
  return network + " " + network.substr(1) + " " + local + national + " ";
}

std::string searchAddress(const PDXSampleAddress& home) {
  return PDXText::replacedAll(home.street, "\n", " ") + " " + home.city + " " + home.zip + " " +
         home.country + " ";
}

template <typename Values, typename Text>
std::string gathered(const Values& values, Text text) {
  std::string all;
  for (const auto& value : values) all += text(value);
  return all;
}

/// One address book while its rows are written.
class Book {
 public:
  Book(const PDXSQLiteDatabase& database, std::uint64_t seed)
      : random_(seed, 2),
        stores_(database, "ABStore", kStoreColumns),
        accounts_(database, "ABAccount", "ROWID, AccountIdentifier, Flags, DefaultSourceID, guid"),
        persons_(database, "ABPerson", kPersonColumns),
        values_(database, "ABMultiValue", "UID, record_id, property, identifier, label, value, guid"),
        labels_(database, "ABMultiValueLabel", "value"),
        entries_(database, "ABMultiValueEntry", "parent_id, key, value"),
        keys_(database, "ABMultiValueEntryKey", "value"),
        groups_(database, "ABGroup", "ROWID, Name, StoreID, guid"),
        members_(database, "ABGroupMembers", "UID, group_id, member_type, member_id"),
        links_(database, "ABPersonLink", "ROWID, PreferredImagePersonID, PreferredNamePersonID, guid"),
        search_(database, "ABPersonFullTextSearch_content", kSearchColumns),
        lastFour_(database, "ABPhoneLastFour", "multivalue_id, value"),
        properties_(database, "_SqliteDatabaseProperties", "key, value") {}

  bool write(const std::vector<PDXSamplePerson>& people) {
    addStores_();
    for (const std::string_view label : kLabels) labels_.add({label});
    for (const std::string_view key : kAddressKeys) keys_.add({key});
    std::int64_t row = 0;
    for (const PDXSamplePerson& person : people) addPerson_(++row, person);
    addGroup_(1, "Family", {1, 4, 5});
    addGroup_(2, "Book club", {1, 2, 3, 9, 10});
    properties_.add({"_ClientVersion", "1100"});
    return !failed_();
  }

 private:
  void addStores_() {
    stores_.add({0, "local", nullptr, 0, -1, random_.guid()});
    stores_.add({1, "Cloud", "https://contacts.example.com/ann/", 4, 1, random_.guid()});
    stores_.add({2, "Work", "https://mail.example.org/", 1, 2, random_.guid()});
    accounts_.add({1, random_.guid(), 0, 1, random_.guid()});
    accounts_.add({2, random_.guid(), 0, 2, random_.guid()});
  }

  void addPerson_(std::int64_t row, const PDXSamplePerson& person) {
    addCard_(row, person);
    addSearch_(row, person);
    int identifier = 0;
    for (const PDXSampleValue& value : person.phones) addPhone_(row, identifier++, value);
    identifier = 0;
    for (const PDXSampleValue& value : person.emails) addValue_(row, email, identifier++, value);
    identifier = 0;
    for (const PDXSampleAddress& home : person.addresses) addAddress_(row, identifier++, home);
    if (!person.url.empty()) addValue_(row, webAddress, 0, {"_$!<HomePage>!$_", person.url});
  }

  void addCard_(std::int64_t row, const PDXSamplePerson& person) {
    constexpr auto text = PDXSampleTable::textOrNull;
    const bool isOrganisation = person.first.empty() && person.last.empty();
    const std::string firstSort = PDXText::uppercased(isOrganisation ? person.organisation : person.first);
    const std::string lastSort = PDXText::uppercased(person.last.empty() ? firstSort : person.last);
    const std::int64_t created = PDXDates::referenceSeconds(kSampleNow) - 86400 * random_.between(30, 2500);
    persons_.add({row,
                  text(person.first),
                  text(person.last),
                  text(person.middle),
                  text(person.organisation),
                  text(person.department),
                  text(person.note),
                  isOrganisation ? 1 : 0,
                  text(person.birthday),
                  text(person.jobTitle),
                  text(person.nickname),
                  text(person.prefix),
                  text(person.suffix),
                  text(firstSort),
                  text(lastSort),
                  created,
                  created + 86400 * random_.between(0, 29),
                  person.store,
                  isOrganisation ? text(person.organisation) : nullptr,
                  text(sectionOf_(firstSort)),
                  text(sectionOf_(lastSort)),
                  linkOf_(row, person),
                  random_.guid() + ":ABPerson",
                  person.hasPicture ? PDXSampleTable::Value("PHOTO") : PDXSampleTable::Value(nullptr)});
  }

  void addSearch_(std::int64_t row, const PDXSamplePerson& person) {
    constexpr auto text = PDXSampleTable::textOrNull;
    const std::string phones = gathered(person.phones, [](const auto& v) { return spellings(v.value); });
    const std::string emails = gathered(person.emails, [](const auto& v) { return v.value + " "; });
    const std::string homes = gathered(person.addresses, searchAddress);
    search_.add({row, text(person.first), text(person.last), text(person.middle), text(person.organisation),
                 text(person.department), text(person.note), text(person.jobTitle), text(person.nickname),
                 text(person.prefix), text(person.suffix), text(phones), text(emails), text(homes),
                 text(person.url)});
  }

  void addPhone_(std::int64_t row, int identifier, const PDXSampleValue& value) {
    const std::int64_t uid = addValue_(row, phone, identifier, value);
    lastFour_.add({uid, PDXText::lastCharacters(PDXSamplePeople::networkNumber(value.value), 4)});
  }

  void addAddress_(std::int64_t row, int identifier, const PDXSampleAddress& home) {
    const std::int64_t uid = addValue_(row, address, identifier, {home.label, ""});
    const std::string_view parts[] = {home.street, home.city,    home.state,
                                      home.zip,    home.country, home.countryCode};
    std::int64_t key = 0;
    for (const std::string_view part : parts) {
      ++key;
      if (!part.empty()) entries_.add({uid, key, part});
    }
  }

  std::int64_t addValue_(std::int64_t row, Property property, int identifier, const PDXSampleValue& value) {
    const auto* label = std::find(std::begin(kLabels), std::end(kLabels), value.label);
    const std::int64_t number = label - std::begin(kLabels) + 1;
    const auto reference = label == std::end(kLabels) ? PDXSampleTable::Value(nullptr) : number;
    values_.add({++lastValue_, row, static_cast<int>(property), identifier, reference,
                 PDXSampleTable::textOrNull(value.value), random_.guid()});
    return lastValue_;
  }

  /// The first letter, under which a list shows the card.
  static std::string sectionOf_(const std::string& sortName) {
    return sortName.substr(
        0, sortName.size() - PDXText::lastCharacters(sortName, PDXText::length(sortName) - 1).size());
  }

  std::int64_t linkOf_(std::int64_t row, const PDXSamplePerson& person) {
    if (person.link == 0) return -1;
    if (linked_.insert(person.link).second) links_.add({person.link, -1, row, random_.guid()});
    return person.link;
  }

  void addGroup_(std::int64_t group, std::string_view name, std::initializer_list<int> people) {
    groups_.add({group, name, 1, random_.guid()});
    for (const int member : people) members_.add({++lastMember_, group, 0, member});
  }

  bool failed_() const {
    const PDXSampleTable* const tables[] = {&stores_,  &accounts_, &persons_,   &values_,  &labels_,
                                            &entries_, &keys_,     &groups_,    &members_, &links_,
                                            &search_,  &lastFour_, &properties_};
    return std::any_of(std::begin(tables), std::end(tables),
                       [](const auto* table) { return table->failed(); });
  }

  PDXSampleRandom random_;
  PDXSampleTable stores_, accounts_, persons_, values_, labels_, entries_, keys_, groups_, members_, links_,
      search_, lastFour_, properties_;
  std::set<int> linked_;
  std::int64_t lastValue_ = 0;
  std::int64_t lastMember_ = 0;
};

bool addPictures(const PDXSQLiteDatabase& database, const std::vector<PDXSamplePerson>& people,
                 std::uint64_t seed, const std::stop_token& stop) {
  PDXSampleTable full(database, "ABFullSizeImage", "ROWID, record_id, crop_x, crop_y, crop_width, data");
  PDXSampleTable small(database, "ABThumbnailImage", "ROWID, record_id, format, derived_from_format, data");
  std::int64_t row = 0;
  for (std::size_t i = 0; i < people.size(); ++i) {
    if (stop.stop_requested()) return false;
    if (!people[i].hasPicture) continue;
    const auto person = static_cast<std::int64_t>(i) + 1;
    const auto format = ++row % 5 == 0 ? PDXPictureFormat::png : PDXPictureFormat::jpeg;
    const auto large = PDXImages::encoded(PDXSamplePictures::portrait(240, seed + i), PDXPictureFormat::jpeg);
    const auto thumbnail = PDXImages::encoded(PDXSamplePictures::portrait(80, seed + i), format);
    if (!large || !thumbnail) return false;
    full.add({row, person, 0, 0, 240, &*large});
    small.add({row, person, 0, 0, &*thumbnail});
  }
  return !full.failed() && !small.failed();
}

}  // namespace

namespace PDXSampleAddressBook {

std::string write(const std::string& path, const std::vector<PDXSamplePerson>& people, std::uint64_t seed) {
  const PDXSQLiteDatabase database(path, PDXSQLiteAccess::create);
  const bool written = database.run(std::string(PDXSampleStores::addressbook_sql)) && database.run(kBegin) &&
                       Book(database, seed).write(people) && database.run("COMMIT");
  return written ? "" : "address book: " + database.error();
}

std::string writePictures(const std::string& path, const std::vector<PDXSamplePerson>& people,
                          std::uint64_t seed, const std::stop_token& stop) {
  const PDXSQLiteDatabase database(path, PDXSQLiteAccess::create);
  const bool written = database.run(std::string(PDXSampleStores::addressbook_images_sql)) &&
                       database.run(kBegin) && addPictures(database, people, seed, stop) &&
                       database.run("COMMIT");
  return written ? "" : "address book pictures: " + database.error();
}

}  // namespace PDXSampleAddressBook
