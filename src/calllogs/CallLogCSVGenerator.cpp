#include "calllogs/CallLogCSVGenerator.h"

#include <fmt/format.h>

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
  fmt::format_to(std::back_inserter(text), "{:.15g}", entry.duration);
  for (const std::string& cell : {name, entry.address, entry.provider, entry.locationText()}) {
    text += ',';
    PDXCsv::appendCell(text, cell);
  }
  text += "\r\n";
}

}  // namespace PDXCallLogCSVGenerator
