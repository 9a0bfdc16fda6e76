#include "contacts/PhoneNumberComparison.h"

#include <algorithm>
#include <functional>
#include <iterator>

#include "platform/Text.h"

namespace {

/// A "+" and a country code of two digits.
constexpr std::size_t kPrefixLength = 3;

/// From this many digits more on, a longer number is another number.
constexpr std::size_t kTooDifferent = 4;

bool isDialled(char c) { return (c >= '0' && c <= '9') || c == '+'; }

std::string cleaned(std::string_view number) {
  std::string result;
  std::copy_if(number.begin(), number.end(), std::back_inserter(result), isDialled);
  return result;
}

/// Where to look for a number, or a part of one, that ends in that character.
std::size_t keyOf(std::string_view digits, std::string_view lastCharacter) {
  constexpr std::size_t kSpread = 31;
  const std::hash<std::string_view> hash;
  return hash(digits) * kSpread + hash(lastCharacter);
}

/// The parts that are as long as a number may be that is equal to `digits`, itself among them.
template <typename Use>
void forEachPart(std::string_view digits, Use use) {
  for (std::size_t shorter = 0; shorter < kTooDifferent && shorter <= digits.size(); ++shorter) {
    for (std::size_t at = 0; at <= shorter; ++at) use(digits.substr(at, digits.size() - shorter));
  }
}

std::string withoutPrefix(const std::string& number) {
  const bool hasPrefix = number.size() > kPrefixLength && number.front() == '+';
  return hasPrefix ? number.substr(kPrefixLength) : number;
}

}  // namespace

PDXComparableNumber::PDXComparableNumber(std::string_view number)
    : lastCharacter_(PDXText::lastCharacters(number, 1)),
      cleaned_(cleaned(number)),
      withoutPrefix_(withoutPrefix(cleaned_)) {}

bool PDXComparableNumber::isEqualTo(const PDXComparableNumber& other) const {
  if (isEmpty() || lastCharacter_ != other.lastCharacter_) return false;
  if (cleaned_.size() == other.cleaned_.size()) return cleaned_ == other.cleaned_;
  const bool isLonger = withoutPrefix_.size() > other.withoutPrefix_.size();
  const std::string& longer = isLonger ? withoutPrefix_ : other.withoutPrefix_;
  const std::string& shorter = isLonger ? other.withoutPrefix_ : withoutPrefix_;
  return longer.size() - shorter.size() < kTooDifferent && longer.find(shorter) != std::string::npos;
}

void PDXNumberIndex::add(std::string_view number) {
  const std::size_t place = numbers_.size();
  const PDXComparableNumber& added = numbers_.emplace_back(number);
  if (added.isEmpty()) return;
  // What is spelled like one before can never be the first.
  auto& alike = bySpelling_[keyOf(added.cleaned_, added.lastCharacter_)];
  const bool isKnown = std::any_of(alike.begin(), alike.end(), [&](std::size_t other) {
    return numbers_[other].lastCharacter_ == added.lastCharacter_ &&
           numbers_[other].cleaned_ == added.cleaned_;
  });
  if (isKnown) return;
  alike.push_back(place);
  byWhole_[keyOf(added.withoutPrefix_, added.lastCharacter_)].push_back(place);
  forEachPart(added.withoutPrefix_, [&](std::string_view part) {
    auto& places = byPart_[keyOf(part, added.lastCharacter_)];
    if (places.empty() || places.back() != place) places.push_back(place);
  });
}

std::optional<std::size_t> PDXNumberIndex::firstEqualTo(std::string_view number) const {
  const PDXComparableNumber wanted(number);
  if (wanted.isEmpty()) return std::nullopt;
  std::optional<std::size_t> first;
  const auto look = [&](const Places& all, std::string_view digits) {
    const auto places = all.find(keyOf(digits, wanted.lastCharacter_));
    if (places == all.end()) return;
    for (const std::size_t place : places->second) {
      if (first && place >= *first) return;
      if (numbers_[place].isEqualTo(wanted)) first = place;
    }
  };
  look(bySpelling_, wanted.cleaned_);
  look(byPart_, wanted.withoutPrefix_);
  forEachPart(wanted.withoutPrefix_, [&](std::string_view part) { look(byWhole_, part); });
  return first;
}

void PDXNumberIndex::clear() { *this = PDXNumberIndex(); }
