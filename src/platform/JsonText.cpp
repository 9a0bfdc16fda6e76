#include "platform/JsonText.h"

#include <array>
#include <charconv>
#include <cstddef>

namespace {

constexpr std::array<bool, 256> kIsPlain = [] {
  std::array<bool, 256> table{};
  for (std::size_t c = ' '; c < table.size(); ++c) table[c] = c != '"' && c != '\\';
  return table;
}();

bool isPlain(char character) { return kIsPlain[static_cast<unsigned char>(character)]; }

void appendEscaped(std::string& json, char character) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  switch (character) {
    case '"':
      json += "\\\"";
      return;
    case '\\':
      json += "\\\\";
      return;
    case '\n':
      json += "\\n";
      return;
    case '\r':
      json += "\\r";
      return;
    case '\t':
      json += "\\t";
      return;
    default:
      break;
  }
  const auto code = static_cast<unsigned char>(character);
  json += "\\u00";
  json += kDigits[code / 16];
  json += kDigits[code % 16];
}

}  // namespace

namespace PDXJsonText {

void append(std::string& json, std::string_view text) {
  json += '"';
  std::size_t copied = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isPlain(text[i])) continue;
    json.append(text.substr(copied, i - copied));
    appendEscaped(json, text[i]);
    copied = i + 1;
  }
  json.append(text.substr(copied));
  json += '"';
}

}  // namespace PDXJsonText

void PDXJsonObjectText::key_(std::string_view key) {
  if (!isEmpty_) json_ += ',';
  json_ += '"';
  json_ += key;
  json_ += "\":";
  isEmpty_ = false;
}

void PDXJsonObjectText::text(std::string_view key, std::string_view value) {
  key_(key);
  PDXJsonText::append(json_, value);
}

void PDXJsonObjectText::text(std::string_view key, const std::optional<std::string>& value) {
  if (value) return text(key, std::string_view(*value));
  key_(key);
  json_ += "null";
}

void PDXJsonObjectText::number(std::string_view key, std::int64_t value) {
  key_(key);
  std::array<char, 20> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  json_.append(digits.data(), end);
}

void PDXJsonObjectText::flag(std::string_view key, bool value) {
  key_(key);
  json_ += value ? "true" : "false";
}

void PDXJsonObjectText::date(std::string_view key, const std::optional<PDXDate>& value) {
  if (value) return text(key, std::string_view(PDXDates::isoText(*value)));
  key_(key);
  json_ += "null";
}
