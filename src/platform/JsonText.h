#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Date.h"

/// JSON for lists so long that building them in memory first would take most of the time.
namespace PDXJsonText {

/// Appends a text in quotes, escaped as JSON has it.
/// @param text  valid UTF-8.
/// Line separators, characters that change the direction of writing and the like are escaped too: a terminal
/// that shows the document would act on them.
void append(std::string& json, std::string_view text);

/// JSON of another writer, with those characters escaped as well.
std::string withoutHidden(std::string json);

}  // namespace PDXJsonText

/// One JSON object as text, open while it lives.
class PDXJsonObjectText {
 public:
  /// @param json  receives the object at its end.
  explicit PDXJsonObjectText(std::string& json) : json_(json) { json_ += '{'; }
  ~PDXJsonObjectText() { json_ += '}'; }
  PDXJsonObjectText(const PDXJsonObjectText&) = delete;
  PDXJsonObjectText& operator=(const PDXJsonObjectText&) = delete;

  /// Keys need no escapes. A value that is missing is null, a date ISO 8601 in UTC.
  void text(std::string_view key, std::string_view value);
  void text(std::string_view key, const std::optional<std::string>& value);
  void number(std::string_view key, std::int64_t value);
  void flag(std::string_view key, bool value);
  void date(std::string_view key, const std::optional<PDXDate>& value);

  /// For a value that the caller appends to the text.
  void value(std::string_view key) { key_(key); }

 private:
  void key_(std::string_view key);

  std::string& json_;
  bool isEmpty_ = true;
};
