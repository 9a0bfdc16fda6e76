#include "platform/Csv.h"

namespace {

bool isSignedNumber(std::string_view text) {
  return text.size() > 1 && (text.front() == '+' || text.front() == '-') &&
         text.find_first_not_of("0123456789 ", 1) == std::string_view::npos;
}

bool wouldRun(std::string_view text) {
  return !text.empty() && std::string_view("=+-@\t\r\n").find(text.front()) != std::string_view::npos &&
         !isSignedNumber(text);
}

}  // namespace

void PDXCsv::appendCell(std::string& line, std::string_view text) {
  const bool quoted = text.find_first_of(",;\"\r\n") != std::string_view::npos;
  if (quoted) line += '"';
  if (wouldRun(text)) line += '\'';
  for (const char c : text) {
    if (c == '"') line += '"';
    if (c != '\0') line += c;  // Which readers of tables take for the end of the file.
  }
  if (quoted) line += '"';
}
