#include "contacts/PhoneNumberComparison.h"

#include <algorithm>
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
