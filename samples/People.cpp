#include "samples/People.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "platform/Text.h"
#include "samples/Random.h"

namespace {

constexpr std::size_t kTwins = 25;
constexpr std::size_t kGenerated = 155;
constexpr std::size_t kPictures = 30;

/// Number `index` of those that are reserved for fiction, as people type them.
std::string mobileNumber(std::size_t index) {
  static constexpr std::array<std::string_view, 5> kAreas = {"212", "312", "415", "617", "202"};
  const std::string digits = std::to_string(900200 + index);
  switch (index % 4) {
    case 0:
      return "+44 7700 " + digits;
    case 1:
      return "07700 " + digits;
    case 2:
      return "(" + std::string(kAreas[index / 4 % kAreas.size()]) + ") 555-01" +
             std::to_string(10 + index / 4 % 90);
    default:
      return "+447700" + digits;
  }
}

std::string landlineNumber(std::size_t index) { return "020 7946 0" + std::to_string(200 + index); }

/// The letters of a name that an e-mail address takes.
std::string plain(const std::string& name) {
  static constexpr std::array<std::array<std::string_view, 2>, 5> kPlain = {
      {{"ä", "ae"}, {"ö", "oe"}, {"ü", "ue"}, {"é", "e"}, {"ë", "e"}}};
  std::string lowered = PDXText::lowercased(name);
  for (const auto& [accented, bare] : kPlain)
    lowered = PDXText::replacedAll(std::move(lowered), accented, bare);
  std::string letters;
  for (const char c : lowered) {
    if (c >= 'a' && c <= 'z') letters += c;
  }
  return letters;
}

/// Noon of a day between 1946 and 2005.
std::string birthday(PDXSampleRandom& random) {
  const std::int64_t days = random.between(-20000, 1700);
  return std::to_string(days * 86400 + 43200) + ".000000";
}

PDXSampleAddress address(PDXSampleRandom& random) {
  std::string street = std::to_string(random.between(1, 140)) + " ";
  street += random.pick(PDXSampleTexts::streets());
  if (random.isOneIn(3)) street = "Flat " + std::to_string(random.between(1, 12)) + "\n" + street;
  return {
      .label = "_$!<Home>!$_",
      .street = street,
      .city = std::string(random.pick(PDXSampleTexts::cities())),
      .state = "",
      .zip = "ZZ" + std::to_string(random.between(1, 20)) + " " + std::to_string(random.between(1, 9)) + "AA",
      .country = "United Kingdom",
      .countryCode = "gb"};
}

void addWork(PDXSamplePerson& person, PDXSampleRandom& random) {
  const std::size_t at = random.below(PDXSampleTexts::organisations().size());
  person.organisation = PDXSampleTexts::organisations()[at];
  person.jobTitle = PDXSampleTexts::jobTitles()[at];
}

void addDetails(PDXSamplePerson& person, std::size_t index, PDXSampleRandom& random) {
  const std::string mailbox = plain(person.first) + "." + plain(person.last);
  if (!random.isOneIn(3)) person.emails.push_back({"_$!<Home>!$_", mailbox + "@example.com"});
  if (random.isOneIn(4)) person.phones.push_back({"_$!<Work>!$_", landlineNumber(index)});
  if (random.isOneIn(3)) addWork(person, random);
  if (random.isOneIn(3)) person.addresses.push_back(address(random));
  if (random.isOneIn(4)) person.birthday = birthday(random);
  if (random.isOneIn(6)) person.note = random.pick(PDXSampleTexts::notes());
  if (random.isOneIn(12)) person.middle = random.pick(PDXSampleTexts::givenNames());
  if (random.isOneIn(15)) person.url = "https://" + plain(person.last) + ".example.net/";
}

/// A second card, as another account would have it: the same name, and little else the same.
PDXSamplePerson twinOf(const PDXSamplePerson& person, std::size_t number, PDXSampleRandom& random) {
  PDXSamplePerson twin;
  twin.first = person.first;
  twin.last = person.last;
  twin.middle = person.middle;
  twin.store = 2;
  twin.link = static_cast<int>(number) + 1;
  twin.phones.push_back({"_$!<Work>!$_", landlineNumber(400 + number)});
  if (number % 3 == 0) twin.phones.push_back(person.phones.front());
  if (number % 2 == 0) twin.emails.push_back({"_$!<Work>!$_", plain(person.last) + "@example.org"});
  if (number % 3 == 1) addWork(twin, random);
  return twin;
}

std::vector<PDXSamplePerson> generated(PDXSampleRandom& random) {
  const auto given = random.shuffled(PDXSampleTexts::givenNames());
  const auto family = random.shuffled(PDXSampleTexts::familyNames());
  std::vector<PDXSamplePerson> people(kGenerated);
  for (std::size_t i = 0; i < people.size(); ++i) {
    people[i].first = given[i % given.size()];
    people[i].last = family[(i + i / family.size() * 7) % family.size()];
    people[i].phones.push_back({"_$!<Mobile>!$_", mobileNumber(i)});
    people[i].hasPicture = i % (kGenerated / kPictures + 1) == 0;
    addDetails(people[i], i, random);
  }
  return people;
}

}  // namespace

namespace PDXSamplePeople {

std::vector<PDXSamplePerson> all(std::uint64_t seed) {
  PDXSampleRandom random(seed, 1);
  std::vector<PDXSamplePerson> people = handWritten();
  std::vector<PDXSamplePerson> others = generated(random);
  std::vector<PDXSamplePerson> twins;
  for (std::size_t i = 0; i < kTwins; ++i) {
    PDXSamplePerson& person = others[i * 5];
    twins.push_back(twinOf(person, i, random));
    person.link = twins.back().link;
  }
  people.insert(people.end(), others.begin(), others.end());
  people.insert(people.end(), twins.begin(), twins.end());
  return people;
}

std::string networkNumber(const std::string& typed) {
  std::string digits;
  std::copy_if(typed.begin(), typed.end(), std::back_inserter(digits),
               [](char c) { return (c >= '0' && c <= '9') || c == '+'; });
  if (digits.starts_with('+')) return digits;
  return digits.starts_with('0') ? "+44" + digits.substr(1) : "+1" + digits;
}

}  // namespace PDXSamplePeople
