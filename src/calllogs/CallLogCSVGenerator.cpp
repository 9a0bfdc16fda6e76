#include "calllogs/CallLogCSVGenerator.h"

#include <array>
#include <charconv>

#include "platform/Csv.h"

namespace PDXCallLogCSVGenerator {

std::string header() {
  return "Date,Direction,Answered,Kind,Duration in seconds,Name,Address,Provider,Location\r\n";
}

void appendRow(std::string& text, const PDXCallLogEntry& entry, const std::string& name,
               PDXLocalTimes& times) {
  if (entry.date) text += times.text(*entry.date);
  text += entry.isCallMade() ? ",outgoing," : ",incoming,";
  if (entry.isAnswered) text += *entry.isAnswered ? "yes" : "no";
  text += ',';
  PDXCsv::appendCell(text, entry.kindText());
  text += ',';
  // Most calls last whole seconds, which are much quicker to write. None lasts longer than a number holds.
  const auto whole = static_cast<std::int64_t>(entry.duration);
  if (static_cast<double>(whole) == entry.duration) {
    text += std::to_string(whole);
  } else {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), entry.duration,
                                   std::chars_format::general, 15);
    text.append(digits.data(), end.ptr);
  }
  const std::string location = entry.locationText();
  for (const std::string* cell : {&name, &entry.address, &entry.provider, &location}) {
    text += ',';
    PDXCsv::appendCell(text, *cell);
  }
  text += "\r\n";
}

}  // namespace PDXCallLogCSVGenerator
