#include "platform/Csv.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

bool isSignedNumber(std::string_view text) {
  return text.size() > 1 && (text.front() == '+' || text.front() == '-') &&
         std::all_of(text.begin() + 1, text.end(), [](char c) { return (c >= '0' && c <= '9') || c == ' '; });
}

bool wouldRun(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of('\0'), text.size()));  // Is left out of the cell.
  return !text.empty() && std::string_view("=+-@\t\r\n").find(text.front()) != std::string_view::npos &&
         !isSignedNumber(text);
}

/// What asks for quotes, and what must not stand as it is.
constexpr std::array<bool, 256> kIsSpecial = [] {
  std::array<bool, 256> table{};
  for (const char c : {',', ';', '"', '\r', '\n', '\0'}) table[static_cast<unsigned char>(c)] = true;
  return table;
}();

std::size_t firstSpecial(std::string_view text, std::size_t from) {
  while (from < text.size() && !kIsSpecial[static_cast<unsigned char>(text[from])]) ++from;
  return from;
}

bool hasQuotable(std::string_view text, std::size_t from) {
  while (from < text.size() && text[from] == '\0') from = firstSpecial(text, from + 1);
  return from < text.size();
}

}  // namespace

std::string PDXCsv::withoutFormula(std::string text) {
  if (wouldRun(text)) text.insert(0, 1, '\'');
  return text;
}

void PDXCsv::appendCell(std::string& line, std::string_view text) {
  const std::size_t first = firstSpecial(text, 0);
  const bool quoted = hasQuotable(text, first);
  if (quoted) line += '"';
  if (wouldRun(text)) line += '\'';
  std::size_t copied = 0;
  for (std::size_t i = first; i < text.size(); i = firstSpecial(text, i + 1)) {
    if (text[i] != '"' && text[i] != '\0') continue;
    line.append(text.substr(copied, i - copied));
    if (text[i] == '"') line += "\"\"";
    copied = i + 1;  // U+0000 is left out: readers of tables take it for the end of the file.
  }
  line.append(text.substr(copied));
  if (quoted) line += '"';
}
