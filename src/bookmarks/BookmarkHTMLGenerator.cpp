#include "bookmarks/BookmarkHTMLGenerator.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/Localisation.h"
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

/// The folders that the built-in browser makes itself have names of the store's, which no browser shows.
constexpr std::pair<std::string_view, const char*> kOwnFolders[] = {
    {"BookmarksBar", "Favourites"},
    {"BookmarksMenu", "Bookmarks Menu"},
    {"com.apple.ReadingList", "Reading List"}};

/// As people know the folder.
std::string titleOfFolder(const PDXBookmarkItem& folder) {
  if (folder.type == PDXBookmarkReader::kSafari && folder.parent == 0) {
    for (const auto& [stored, shown] : kOwnFolders) {
      if (folder.title == stored) return PDXLocalised(shown);
    }
  }
  return PDXText::trimmed(folder.title).empty() ? PDXLocalised("Untitled") : folder.title;
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
  html += PDXText::escapedForHtml(titleOfFolder(folder));
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
  // A link without text cannot be seen, and importers take it for no bookmark.
  html += PDXText::escapedForHtml(PDXText::trimmed(bookmark.title).empty() ? bookmark.url : bookmark.title);
  html += "</A>\n";
}

}  // namespace PDXBookmarkHTMLGenerator
