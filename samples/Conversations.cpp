#include "samples/Conversations.h"

#include <utility>

#include "samples/Random.h"

namespace {

using Addresses = std::vector<std::string>;

/// Reserved numbers that no contact of a sample has.
std::string unknownNumber(std::size_t index) {
  static constexpr const char* kAreas[] = {"+1303555", "+1404555", "+1503555", "+1605555", "+1702555"};
  if (index < 200) return "+447700900" + std::to_string(600 + index);
  return kAreas[index / 90 % 5] + std::string("0") + std::to_string(110 + index % 90);
}

std::string mobileOf(const PDXSamplePerson& person) {
  return person.phones.empty() ? "" : PDXSamplePeople::networkNumber(person.phones.front().value);
}

PDXSampleConversation oneToOne(const std::string& address, bool isSms = false) {
  return {.addresses = {address}, .isSms = isSms, .name = ""};
}

PDXSampleConversation group(Addresses addresses, const char* name, bool isSms = false) {
  return {.addresses = std::move(addresses), .isGroup = true, .isSms = isSms, .name = name};
}

/// In the order of PDXSampleRole.
std::vector<PDXSampleConversation> withRoles(const std::vector<PDXSamplePerson>& people) {
  const auto mobile = [&](std::size_t row) { return mobileOf(people[row]); };
  const Addresses eight = {mobile(0),  mobile(3),  mobile(4),  mobile(25),
                           mobile(26), mobile(27), mobile(28), mobile(29)};
  return {oneToOne(mobile(0)),
          oneToOne(mobile(0), true),
          oneToOne(mobile(4)),
          group({mobile(0), mobile(1), mobile(2), mobile(30), mobile(31)}, "Book club 📚"),
          group({mobile(3), mobile(32), mobile(33)}, ""),
          group(eight, "Family & Friends"),
          oneToOne("+447700900871"),
          oneToOne("tobias.gruenwald@example.com"),
          oneToOne("parcels@example.net"),
          oneToOne("60123", true),
          group({"+447700900872", "+447700900873", "+13035550174"}, ""),
          group({mobile(34), mobile(35), "+447700900874", mobile(36)}, "", true),
          oneToOne(mobile(3)),
          group({}, "Summer 2019")};
}

/// People who write in a language of their own, then others of the address book.
std::vector<PDXSampleConversation> withPeople(const std::vector<PDXSamplePerson>& people) {
  std::vector<PDXSampleConversation> conversations;
  for (const PDXSamplePerson& person : people) {
    if (person.language == PDXSampleTexts::Language::english || mobileOf(person).empty()) continue;
    conversations.push_back(oneToOne(mobileOf(person)));
    conversations.back().language = person.language;
  }
  for (std::size_t row = 40; row < people.size() && people[row].store == 1; ++row) {
    conversations.push_back(oneToOne(mobileOf(people[row]), row % 4 == 0));
  }
  return conversations;
}

}  // namespace

namespace PDXSampleConversations {

std::vector<PDXSampleConversation> all(const std::vector<PDXSamplePerson>& people, std::size_t count,
                                       std::uint64_t seed) {
  PDXSampleRandom random(seed, 3);
  std::vector<PDXSampleConversation> conversations = withRoles(people);
  conversations[static_cast<std::size_t>(PDXSampleRole::mailFriend)].language =
      PDXSampleTexts::Language::german;
  std::vector<PDXSampleConversation> others = withPeople(people);
  for (std::size_t i = 0; conversations.size() < count; ++i) {
    if (i < others.size()) {
      conversations.push_back(others[i]);
    } else {
      conversations.push_back(oneToOne(unknownNumber(i), random.isOneIn(3)));
    }
  }
  return conversations;
}

}  // namespace PDXSampleConversations
