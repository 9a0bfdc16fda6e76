#include "platform/JsonText.h"

#include <cstddef>

namespace {

bool isPlain(char character) {
  return static_cast<unsigned char>(character) >= ' ' && character != '"' && character != '\\';
}

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
