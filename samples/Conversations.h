#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "samples/People.h"

/// The conversations that scripted messages belong to, in the order of their place in the list.
enum class PDXSampleRole {
  ann,           ///< One to one, with a person who also has the next one.
  annBySms,      ///< The same number over the other service.
  mum,           ///< One to one.
  bookClub,      ///< A named group of five.
  weekend,       ///< A group of three without a name.
  family,        ///< A named group of eight.
  stranger,      ///< A number that is in no address book.
  mailFriend,    ///< A contact who writes from an e-mail address.
  mailStranger,  ///< An e-mail address of nobody known.
  shortCode,     ///< A service's short number.
  strangers,     ///< A group of unknown numbers.
  smsGroup,      ///< A group over the older service.
  siobhan,       ///< One to one.
  empty,         ///< A conversation that lost its participants.
  others         ///< The first of the others.
};

/// One conversation of a sample.
struct PDXSampleConversation {
  std::vector<std::string> addresses;  ///< As the network writes them.
  bool isGroup = false;
  bool isSms = false;
  std::string name;  ///< Of a group that has one.
  PDXSampleTexts::Language language = PDXSampleTexts::Language::english;
};

namespace PDXSampleConversations {

/// At least those that have a role. The language speakers among the people come next, then others.
/// @param count  how many conversations there are to be in all.
std::vector<PDXSampleConversation> all(const std::vector<PDXSamplePerson>& people, std::size_t count,
                                       std::uint64_t seed);

}  // namespace PDXSampleConversations
