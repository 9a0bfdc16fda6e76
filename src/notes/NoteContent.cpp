#include "notes/NoteContent.h"

#include <fmt/format.h>

#include <cmath>
#include <utility>

#include "platform/FileName.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace {

constexpr const char* kNoFile = "<br/>";

/// Whole points, as texts show them. A store may hold any number.
std::string points(double length) { return std::isfinite(length) ? fmt::format("{:.0f}", length) : "0"; }

}  // namespace

std::string PDXTextNoteContent::htmlRepresentation() const {
  if (textData.empty()) return kNoFile;
  if (textData.find_first_of("<>") == std::string::npos) return textData;
  return PDXText::replacedAll(PDXText::replacedAll(textData, "<", "&lt;"), ">", "&gt;");
}

std::string PDXMediaNoteContent::htmlRepresentation() const {
  if (!hasFile()) return kNoFile;
  const std::string file = PDXText::pathForHtmlLink(fileName);
  if (contentFormat != PDXNoteContentFormat::Video || !mediaData) return "<img src=\"" + file + "\" />";
  return "<video controls=\"controls\" width=\"" + points(mediaData->width) + "\" height=\"" +
         points(mediaData->height) + "\" src=\"" + file + "\"><img src=\"" +
         PDXText::pathForHtmlLink(previewPath) + "\" /><br />(Video not supported in this browser).</video>";
}

std::string PDXMediaNoteContent::attachmentFolderForPage(const std::string& pagePath) {
  const std::string_view extension = PDXText::pathExtension(pagePath);
  const std::size_t suffix = extension.empty() ? 0 : extension.size() + 1;
  return pagePath.substr(0, pagePath.size() - suffix) + " - Attachments";
}

std::string PDXMediaNoteContent::exportPathForPage(const std::string& pagePath) const {
  return PDXFiles::freePath(PDXFiles::joined(attachmentFolderForPage(pagePath),
                                             PDXFileName::safeWithExtension(exportName + "." + fileType)));
}

PDXFiles::CopyResult PDXMediaNoteContent::copyBesidePage(const std::string& pagePath,
                                                         const std::stop_token& stop) const {
  if (!hasFile()) return {};
  const std::string target = exportPathForPage(pagePath);
  PDXFiles::makeFolders(PDXFiles::folderOf(target));
  return PDXFiles::exists(target) ? PDXFiles::CopyResult() : PDXFiles::copy(fileName, target, stop);
}

std::string PDXMediaNoteContent::htmlExportAtPath(const std::string& pagePath, std::string* why,
                                                  const std::stop_token& stop) const {
  if (!hasFile()) return kNoFile;
  if (const auto copied = copyBesidePage(pagePath, stop); !copied) {
    if (why != nullptr) *why = copied.why;
    return kNoFile;
  }
  const std::string target = exportPathForPage(pagePath);
  const std::string folder = PDXFiles::folderOf(target);
  const std::string link = PDXText::pathForHtmlLink(std::string(PDXText::lastPathComponent(folder)) + "/" +
                                                    std::string(PDXText::lastPathComponent(target)));
  if (contentFormat != PDXNoteContentFormat::Video) return "<img src=\"" + link + "\" />";
  const PDXNoteMediaData size = mediaData.value_or(PDXNoteMediaData());
  return "<video controls=\"controls\" width=\"" + points(size.width) + "\" height=\"" + points(size.height) +
         "\" src=\"" + link + "\"></video>";
}
