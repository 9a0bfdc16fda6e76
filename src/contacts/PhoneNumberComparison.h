#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

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
  friend class PDXNumberIndex;

  std::string lastCharacter_;
  std::string cleaned_;
  std::string withoutPrefix_;
};

/// Numbers in an order, of which the first that equals another is found without a look at each: a group or an
/// address book can have tens of thousands, and be asked for as many.
class PDXNumberIndex {
 public:
  /// Appends a number, which `firstEqualTo` then knows by its place, counted from 0.
  void add(std::string_view number);

  /// The place of the first number that is equal; nothing when none is.
  std::optional<std::size_t> firstEqualTo(std::string_view number) const;

  void clear();

 private:
  using Places = std::unordered_map<std::size_t, std::vector<std::size_t>>;

  std::vector<PDXComparableNumber> numbers_;
  Places bySpelling_;
  Places byWhole_;
  Places byPart_;
};
