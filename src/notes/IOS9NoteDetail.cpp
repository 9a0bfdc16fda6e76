#include "notes/IOS9NoteDetail.h"

#include <string_view>

#include "platform/Files.h"
#include "platform/Text.h"

namespace {

/// How the pieces of a page are put together.
struct Joints {
  std::string_view line;   ///< Between two pieces of one paragraph.
  std::string_view first;  ///< In front of the first piece of a paragraph.
};

// The head is never closed, and its first line ends differently from the others: pages have always been so.
std::string beginning(const std::optional<std::string>& title) {
  return "<!DOCTYPE HTML>\r\n<html>\n<head>\r\n\t<title>" + PDXText::escapedForHtml(title.value_or("")) +
         "</title>\r\n\t<style>\r\n\t\timg{max-width:100%;margin-top:10px;}\r\n\t</style>\r\n<body>";
}

bool isPlace(const PDXNoteContent& piece) {
  return std::visit([](const auto& of) { return of.contentFormat == PDXNoteContentFormat::Place; }, piece);
}

/// @param htmlOf  the HTML of one piece.
template <typename HtmlOf>
std::string page(const std::vector<PDXNoteContent>& content, const std::optional<std::string>& title,
                 const Joints& joints, HtmlOf htmlOf) {
  std::string html = beginning(title);
  std::string_view pending;
  for (const PDXNoteContent& piece : content) {
    if (isPlace(piece)) {
      html += pending;
      pending = "";
    } else if (pending.empty()) {
      html.append(joints.first).append(htmlOf(piece));
      pending = "</p>";
    } else {
      html.append(joints.line).append(htmlOf(piece));
    }
  }
  return html.append(pending) + "\r\n</body>\r\n</html>";
}

}  // namespace

std::string PDXIOS9NoteDetail::plainTextRepresentation() const {
  std::string text;
  for (const PDXNoteContent& piece : content) {
    if (const auto* line = std::get_if<PDXTextNoteContent>(&piece)) text += line->plainTextRepresentation();
    text += "\n";
  }
  return std::string(PDXText::trimmed(text));
}

std::string PDXIOS9NoteDetail::htmlRepresentationWithTitle(
    const std::optional<std::string>& pageTitle) const {
  return page(content, pageTitle, {.line = "\r\n\t<br/>\r\n\t", .first = "\r\n\t<p>"},
              [](const PDXNoteContent& piece) {
                return std::visit([](const auto& of) { return of.htmlRepresentation(); }, piece);
              });
}

std::string PDXIOS9NoteDetail::pageForPathTitle(const std::string& path,
                                                const std::optional<std::string>& pageTitle, std::string* why,
                                                const std::stop_token& stop) const {
  return page(content, pageTitle, {.line = "<br/>\r\n\t", .first = "\r\n\t<p>"},
              [&](const PDXNoteContent& piece) {
                if (const auto* line = std::get_if<PDXTextNoteContent>(&piece))
                  return line->htmlRepresentation();
                return std::get<PDXMediaNoteContent>(piece).htmlExportAtPath(path, why, stop);
              });
}

std::optional<std::string> PDXIOS9NoteDetail::htmlExportToPathTitle(
    const std::string& path, const std::optional<std::string>& pageTitle, const std::stop_token& stop) const {
  std::string why;
  PDXAtomicFile file(path);
  file.append(pageForPathTitle(path, pageTitle, &why, stop));
  if (stop.stop_requested()) return "stopped";
  if (!file.commit()) return file.error();
  return why.empty() ? std::nullopt : std::optional(why);
}
