#include "bookmarks/BookmarkHTMLGenerator.h"

#include <algorithm>

#include "platform/Text.h"

namespace {

/// Deeper folders stand no further to the right: a chain of folders must not make a file of blanks.
constexpr std::size_t kDeepestIndent = 16;

void indent(std::string& html, std::size_t depth) { html.append(4 * std::min(depth, kDeepestIndent), ' '); }

/// Whole seconds since 1970, as the format has them.
void appendDate(std::string& html, const char* attribute, const std::optional<PDXDate>& date) {
  if (!date) return;
  const auto seconds = std::chrono::floor<std::chrono::seconds>(*date).time_since_epoch().count();
  html += ' ';
  html += attribute;
  html += "=\"" + std::to_string(seconds) + "\"";
}

void appendDates(std::string& html, const PDXBookmarkItem& item) {
  appendDate(html, "ADD_DATE", item.dateAdded);
  appendDate(html, "LAST_MODIFIED", item.lastModified);
}

}  // namespace

namespace PDXBookmarkHTMLGenerator {

std::string beginning() {
  return "<!DOCTYPE NETSCAPE-Bookmark-file-1>\n"
         "<META HTTP-EQUIV=\"Content-Type\" CONTENT=\"text/html; charset=UTF-8\">\n"
         "<TITLE>Bookmarks</TITLE>\n<H1>Bookmarks</H1>\n<DL><p>\n";
}

std::string end() { return "</DL><p>\n"; }

void openFolder(std::string& html, const PDXBookmarkItem& folder, std::size_t depth) {
  indent(html, depth);
  html += "<DT><H3";
  appendDates(html, folder);
  html += '>';
  html += PDXText::escapedForHtml(folder.title);
  html += "</H3>\n";
  indent(html, depth);
  html += "<DL><p>\n";
}

void closeFolder(std::string& html, std::size_t depth) {
  indent(html, depth);
  html += "</DL><p>\n";
}

void appendBookmark(std::string& html, const PDXBookmarkItem& bookmark, std::size_t depth) {
  indent(html, depth);
  html += "<DT><A HREF=\"";
  html += PDXText::escapedForHtmlAttribute(bookmark.url);
  html += '"';
  appendDates(html, bookmark);
  html += '>';
  html += PDXText::escapedForHtml(bookmark.title);
  html += "</A>\n";
}

}  // namespace PDXBookmarkHTMLGenerator
