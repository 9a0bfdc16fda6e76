#include "notes/LegacyNoteBody.h"

#include <algorithm>

#include "platform/Text.h"

namespace {

constexpr std::string_view kBlank = "&nbsp;";

/// The end of the markup that begins at `at`; `at` itself when none does. Nothing between the signs is none.
std::size_t tagEnd(std::string_view html, std::size_t at) {
  const std::size_t end = html.find('>', at);
  return end == std::string_view::npos || end == at + 1 ? at : end + 1;
}

}  // namespace

namespace PDXLegacyNoteBody {

std::string plainText(std::string html) {
  constexpr std::string_view kReplaced[][2] = {
      {"<div><br></div>", "\r\n"}, {"<div>", "\r\n"}, {"<br>", "\r\n"}, {"&amp;", "&"}, {kBlank, " "}};
  for (const auto& [from, to] : kReplaced) html = PDXText::replacedAll(std::move(html), from, to);
  return std::string(PDXText::trimmed(withoutTags(html)));
}

std::string withoutTags(std::string_view html, bool alsoBlanks) {
  std::string text;
  std::size_t at = 0;
  // Behind the last ">" nothing ends any more: a body full of "<" is not searched to its end for each.
  const std::size_t lastEnd = html.rfind('>');
  while (at < html.size()) {
    const std::size_t sign = std::min(html.find_first_of("<&", at), html.size());
    text.append(html, at, sign - at);
    at = sign;
    if (at == html.size()) break;
    std::size_t end = at;
    if (html[at] == '<' && lastEnd != std::string_view::npos && at < lastEnd) end = tagEnd(html, at);
    if (alsoBlanks && html.substr(at).starts_with(kBlank)) end = at + kBlank.size();
    if (end == at) text += html[end++];
    at = end;
  }
  return text;
}

bool holdsAttachment(std::string_view html) {
  return html.find("<object") != std::string_view::npos || html.find("<img") != std::string_view::npos;
}

}  // namespace PDXLegacyNoteBody
