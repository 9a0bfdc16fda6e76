#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Date.h"

/// A property list, or one value inside it.
class PDXPropertyList {
 public:
  using Array = std::vector<PDXPropertyList>;
  /// Entries in the file's order.
  using Dictionary = std::vector<std::pair<std::string, PDXPropertyList>>;

  /// A reference to an object of a keyed archive: an index into its "$objects".
  struct Uid {
    std::uint64_t index = 0;
  };

  /// No value.
  PDXPropertyList() = default;
  PDXPropertyList(bool value) : value_(value) {}
  PDXPropertyList(int value) : value_(std::int64_t{value}) {}
  PDXPropertyList(std::int64_t value) : value_(value) {}
  PDXPropertyList(double value) : value_(value) {}
  PDXPropertyList(const char* value) : value_(std::string(value)) {}
  PDXPropertyList(std::string value) : value_(std::move(value)) {}
  PDXPropertyList(PDXDate value) : value_(value) {}
  PDXPropertyList(PDXBytes value) : value_(std::move(value)) {}
  PDXPropertyList(Uid value) : value_(value) {}
  PDXPropertyList(Array value) : value_(std::move(value)) {}
  PDXPropertyList(Dictionary value) : value_(std::move(value)) {}

  /// Parses a binary or XML property list; what a cipher left behind its end is ignored.
  /// Nothing when the bytes are no property list, nest more than 256 levels, refer to themselves, or stand
  /// for far more than they hold (see PDXPropertyListMeasure::isSafe).
  static std::optional<PDXPropertyList> parse(const PDXBytes& bytes);

  /// The same for a file of at most 256 MB; nothing when it cannot be read or is a link.
  static std::optional<PDXPropertyList> parseFile(const std::string& path);

  /// The bytes of a file that holds this value. Dictionaries keep their order.
  PDXBytes binary() const;
  PDXBytes xml() const;

  /// The entry of a dictionary, or null: also when this is no dictionary.
  const PDXPropertyList* find(std::string_view key) const;

  /// The element of an array, or null: also when this is no array.
  const PDXPropertyList* at(std::size_t index) const;

  /// Null unless this is a value of that kind.
  const Array* array() const { return std::get_if<Array>(&value_); }
  const Dictionary* dictionary() const { return std::get_if<Dictionary>(&value_); }
  const std::string* string() const { return std::get_if<std::string>(&value_); }
  const PDXBytes* data() const { return std::get_if<PDXBytes>(&value_); }
  const PDXDate* date() const { return std::get_if<PDXDate>(&value_); }
  const Uid* uid() const { return std::get_if<Uid>(&value_); }
  const std::int64_t* integer() const { return std::get_if<std::int64_t>(&value_); }
  const double* real() const { return std::get_if<double>(&value_); }
  const bool* boolean() const { return std::get_if<bool>(&value_); }

  /// The entry's text; "" when there is none or it is no text.
  std::string text(std::string_view key) const;

  /// Whether the entry is true, or a number other than 0.
  bool flag(std::string_view key) const;

 private:
  std::variant<std::monostate, bool, std::int64_t, double, std::string, PDXDate, PDXBytes, Uid, Array,
               Dictionary>
      value_;
};
