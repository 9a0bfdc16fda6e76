#pragma once

#include <string>
#include <string_view>

/// A phone number prepared for comparison, so that a look through thousands of them is quick.
///
/// The rule is PDXContactsDatabase::numberStringIsEqualToNumberString; docs/contacts.md has the why.
class PDXComparableNumber {
 public:
  /// @param number  as written; empty for a missing one, which equals nothing.
  explicit PDXComparableNumber(std::string_view number);

  bool isEmpty() const { return lastCharacter_.empty(); }
  bool isEqualTo(const PDXComparableNumber& other) const;

 private:
  std::string lastCharacter_;
  std::string cleaned_;
  std::string withoutPrefix_;
};
