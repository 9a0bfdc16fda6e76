#include "platform/JsonText.h"

#include <array>
#include <charconv>
#include <cstddef>

#include "platform/Characters.h"

namespace {

/// Whether a byte stands for itself. Of characters outside ASCII the first bytes of those that may be hidden
/// do not: 0xC2 of U+0080 to U+009F, 0xD8 of U+061C, 0xE2 of the rest.
constexpr std::array<bool, 256> kIsPlain = [] {
  std::array<bool, 256> table{};
  for (std::size_t c = ' '; c < table.size(); ++c)
    table[c] = c != '"' && c != '\\' && c != 0x7F && c != 0xC2 && c != 0xD8 && c != 0xE2;
  return table;
}();

bool isPlain(char character) { return kIsPlain[static_cast<unsigned char>(character)]; }

void appendCode(std::string& json, unsigned code) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  json += "\\u";
  for (const unsigned shift : {12U, 8U, 4U, 0U}) json += kDigits[code >> shift & 15U];
}

void appendEscaped(std::string& json, char character) {
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
  appendCode(json, static_cast<unsigned char>(character));
}

/// The length of a character at `position` that shows nothing, but ends lines or changes the direction of
/// writing; it is appended as an escape. 0 where there is none.
std::size_t appendHidden(std::string& json, std::string_view text, std::size_t position) {
  std::size_t behind = position;
  const UChar32 character = PDXCharacters::nextOrError(text, behind);
  if (character < 0x7F || !(PDXCharacters::endsLine(character) || PDXCharacters::changesDirection(character)))
    return 0;
  appendCode(json, static_cast<unsigned>(character));
  return behind - position;
}

}  // namespace

namespace PDXJsonText {

void append(std::string& json, std::string_view text) {
  json += '"';
  std::size_t copied = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isPlain(text[i])) continue;
    json.append(text.substr(copied, i - copied));
    copied = i;
    if (static_cast<unsigned char>(text[i]) < 0x7F) {
      appendEscaped(json, text[i]);
      copied = i + 1;
    } else if (const std::size_t length = appendHidden(json, text, i); length > 0) {
      copied = i + length;
      i = copied - 1;
    }
  }
  json.append(text.substr(copied));
  json += '"';
}

std::string withoutHidden(std::string json) {
  std::string result;
  std::size_t copied = 0;
  for (std::size_t i = 0; i < json.size(); ++i) {
    if (static_cast<unsigned char>(json[i]) < 0x7F || isPlain(json[i])) continue;
    const std::size_t before = result.size();
    result.append(json, copied, i - copied);
    const std::size_t length = appendHidden(result, json, i);
    if (length == 0) {
      result.resize(before);
      continue;
    }
    copied = i + length;
    i = copied - 1;
  }
  if (copied == 0) return json;
  return result.append(json, copied);
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
