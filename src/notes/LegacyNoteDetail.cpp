#include "notes/LegacyNoteDetail.h"

#include "notes/LegacyNoteBody.h"
#include "platform/Files.h"
#include "platform/Text.h"

std::string PDXLegacyNoteDetail::plainTextRepresentation() const {
  const std::string lines = PDXText::replacedAll(text, "<div>", "\r\n");
  return std::string(PDXText::trimmed(PDXLegacyNoteBody::withoutTags(lines, true)));
}

std::string PDXLegacyNoteDetail::htmlRepresentationWithTitle(
    const std::optional<std::string>& pageTitle) const {
  const std::string name = pageTitle.value_or("").empty() ? "Note" : *pageTitle;
  std::string html = "<!DOCTYPE HTML>\n<html>\n<head>\n\t<title>" + PDXText::escapedForHtml(name) +
                     "</title>\n</head>\n<body>";
  if (!text.empty()) {
    // "&" stays: the text still holds the store's own entities.
    std::string paragraph = PDXText::replacedAll(PDXText::replacedAll(text, "<", "&lt;"), ">", "&gt;");
    html += "\n\t<p>" + PDXText::replacedAll(std::move(paragraph), "\n", "<br/>") + "</p>";
  }
  return html + "\n</body>\n</html>";
}

std::optional<std::string> PDXLegacyNoteDetail::htmlExportToPathTitle(
    const std::string& path, const std::optional<std::string>& pageTitle) const {
  PDXAtomicFile file(path);
  file.append(htmlRepresentationWithTitle(pageTitle));
  return file.commit() ? std::nullopt : std::optional(file.error());
}
