#include "calllogs/CallLogHTMLGenerator.h"

#include <fmt/format.h>

#include <algorithm>

#include "platform/Text.h"

namespace {

constexpr const char* kStyle =
    "body{font-family:system-ui,-apple-system,'Segoe UI',Roboto,sans-serif;margin:0;background:#f4f5f7;"
    "color:#1c1e21}header{background:#075698;color:#fff;padding:28px 24px}h1{margin:0 0 4px;font-size:26px}"
    "header p{margin:0;opacity:.85}main{max-width:900px;margin:24px auto;padding:0 16px}"
    "section{background:#fff;border-radius:10px;box-shadow:0 1px 3px rgba(0,0,0,.12);padding:16px 20px;"
    "margin-bottom:20px}h2{margin:0 0 4px;font-size:18px;overflow-wrap:anywhere}"
    ".note{color:#606770;font-size:14px;margin:4px 0;overflow-wrap:anywhere}"
    "table{width:100%;border-collapse:collapse;margin-top:10px;font-size:14px;table-layout:fixed}"
    "td{padding:5px 6px;border-top:1px solid #e4e6eb;vertical-align:top;overflow-wrap:anywhere}"
    "td.n{text-align:right;white-space:nowrap;width:4.5em}td.d{white-space:nowrap;width:9em}.missed{color:#"
    "b3261e}"
    "@media print{body,header{background:#fff;color:#000}header{padding:0 0 "
    "12px}main{max-width:none;margin:0;"
    "padding:0}section{box-shadow:none;border-radius:0;padding:8px 0}h2{break-after:avoid}"
    "tr{break-inside:avoid}.missed{color:#000;font-style:italic}}";

/// "1:02:03", or "2:03" below an hour.
std::string durationText(double seconds) {
  const auto whole = static_cast<std::int64_t>(seconds);
  const std::int64_t hours = whole / 3600;
  const char* zero = whole % 60 < 10 ? "0" : "";
  if (hours == 0) return std::to_string(whole / 60) + ":" + zero + std::to_string(whole % 60);
  return fmt::format("{}:{:02}:{:02}", hours, whole / 60 % 60, whole % 60);
}

struct Totals {
  std::size_t calls = 0;
  std::size_t outgoing = 0;
  std::size_t missed = 0;
  double duration = 0;

  void add(const PDXCallLog& log) {
    calls += log.entries.size();
    for (const PDXCallLogEntry& entry : log.entries) {
      if (entry.isCallMade()) ++outgoing;
      if (entry.isMissed()) ++missed;
      duration += entry.duration;
    }
  }

  std::string text() const {
    return fmt::format("{} {}: {} outgoing, {} incoming, {} of them missed; {} in all", calls,
                       calls == 1 ? "call" : "calls", outgoing, calls - outgoing, missed,
                       durationText(duration));
  }
};

const char* directionText(const PDXCallLogEntry& entry) {
  if (entry.isCallMade()) return "outgoing";
  return entry.isMissed() ? "missed" : "incoming";
}

/// "2024-03-09 18:05", out of the same with zone and seconds.
std::string shortDate(const PDXCallLogEntry& entry, PDXLocalTimes& times) {
  if (!entry.date) return "no date";
  std::string text = times.text(*entry.date).substr(0, sizeof "2024-03-09T18:05" - 1);
  text[text.find('T')] = ' ';
  return text;
}

void appendRow(std::string& html, const PDXCallLogEntry& entry, PDXLocalTimes& times) {
  html += entry.isMissed() ? "<tr class=\"missed\"><td class=\"d\">" : "<tr><td class=\"d\">";
  html += shortDate(entry, times);
  html += "</td><td>";
  html += directionText(entry);
  if (entry.isLastEntryBeforeBlock) html += ", before the block";
  const std::string kind = entry.kindText();
  const std::string location = entry.locationText();
  for (const std::string* cell : {&kind, &entry.address, &location}) {
    html += "</td><td>";
    html += PDXText::escapedForHtml(*cell);
  }
  html += "</td><td class=\"n\">";
  if (entry.duration > 0) html += durationText(entry.duration);
  html += "</td></tr>\n";
}

}  // namespace

namespace PDXCallLogHTMLGenerator {

std::string beginning(const std::vector<const PDXCallLog*>& logs) {
  Totals totals;
  for (const PDXCallLog* log : logs) totals.add(*log);
  return std::string(
             "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
             "<meta name=\"viewport\" content=\"width=device-width, "
             "initial-scale=1\">\n<title>Calls</title>\n<style>") +
         kStyle + "</style></head><body>\n<header><h1>Calls</h1><p>" + totals.text() +
         "</p></header>\n<main>\n";
}

std::string section(const PDXCallLog& log, PDXLocalTimes& times) {
  Totals totals;
  totals.add(log);
  std::string html =
      "<section><h2>" + PDXText::escapedForHtml(log.title()) + "</h2>\n<p class=\"note\">" + totals.text();
  if (log.participantGroup.isBlocked()) html += "; blocked by the device";
  html += "</p>\n<table>\n";
  for (auto entry = log.entries.rbegin(); entry != log.entries.rend(); ++entry)
    appendRow(html, *entry, times);
  return html + "</table></section>\n";
}

std::string end() { return "</main></body></html>\n"; }

}  // namespace PDXCallLogHTMLGenerator
