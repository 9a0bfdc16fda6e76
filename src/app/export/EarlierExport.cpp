#include "app/export/EarlierExport.h"

#include <algorithm>
#include <set>

#include "app/export/ContentKinds.h"
#include "platform/Text.h"

namespace {

using Json = nlohmann::ordered_json;

/// A report comes from a file that anybody may have changed: what is not of the form expected is passed over.
const Json& member(const Json& object, const char* key) {
  static const Json nothing;
  return object.is_object() && object.contains(key) ? object[key] : nothing;
}

std::string textIn(const Json& object, const char* key) {
  const Json& value = member(object, key);
  return value.is_string() ? value.get<std::string>() : "";
}

bool isEarlier(const Json& object) { return member(object, "earlier") == true; }

/// What a kind lists its files under.
const char* listKey(const Json& item) { return item.contains("pages") ? "pages" : "files"; }

std::set<std::string> pathsOf(const Json& item) {
  std::set<std::string> paths;
  for (const Json& page : member(item, listKey(item))) paths.insert(textIn(page, "path"));
  return paths;
}

/// The pages of `item` that are still there and that `written` does not name, marked.
Json stayingPages(const Json& item, const std::set<std::string>& written,
                  const std::vector<std::string>& files) {
  Json pages = Json::array();
  for (const Json& page : member(item, listKey(item))) {
    const std::string path = textIn(page, "path");
    if (written.contains(path) || !std::binary_search(files.begin(), files.end(), path)) continue;
    pages.push_back(page);
    pages.back()["earlier"] = true;
  }
  return pages;
}

std::size_t orderOf(const Json& item) {
  const auto& all = PDXContentKinds::all();
  const auto found = std::find_if(
      all.begin(), all.end(), [kind = textIn(item, "kind")](const auto& each) { return each.name == kind; });
  return static_cast<std::size_t>(found - all.begin());
}

std::string pageRows(const Json& item, bool isOnlyEarlier) {
  std::string rows;
  for (const Json& page : member(item, listKey(item))) {
    if (isOnlyEarlier && !isEarlier(page)) continue;
    rows += "<tr><td><a href=\"" + PDXText::pathForHtmlLink(textIn(page, "path")) + "\">" +
            PDXText::escapedForHtml(textIn(page, "title")) + "</a></td></tr>\n";
  }
  return rows;
}

/// "20 conversations, 1 message" of a kind's figures.
std::string countsOf(const Json& item) {
  std::string text;
  for (const auto& [what, count] : member(item, "written").items()) {
    if (!count.is_number_unsigned()) continue;
    const std::string one = what.substr(0, what.size() - (what.ends_with('s') ? 1 : 0));
    text += (text.empty() ? "" : ", ") + count.dump() + " " + (count == 1 ? one : what);
  }
  return text;
}

}  // namespace

namespace PDXEarlierExport {

void addTo(Json& report, const Json& earlier, const std::vector<std::string>& files) {
  bool hasAdded = false;
  for (const Json& item : member(earlier, "items")) {
    Json& items = report["items"];
    const std::string kind = textIn(item, "kind");
    const auto same = std::find_if(items.begin(), items.end(),
                                   [&](const Json& each) { return textIn(each, "kind") == kind; });
    const bool isWritten = same != items.end();
    const Json staying = stayingPages(item, isWritten ? pathsOf(*same) : std::set<std::string>(), files);
    if (staying.empty()) continue;
    hasAdded = true;
    if (isWritten) {
      Json& pages = (*same)[listKey(*same)];
      pages.insert(pages.end(), staying.begin(), staying.end());
    } else {
      items.push_back(item);
      items.back()["earlier"] = true;
      items.back()[listKey(item)] = staying;
    }
  }
  if (!hasAdded) return;
  Json& items = report["items"];
  std::stable_sort(items.begin(), items.end(),
                   [](const Json& one, const Json& other) { return orderOf(one) < orderOf(other); });
  Json& problems = report["problems"];
  for (Json problem : member(earlier, "problems")) {
    if (!problem.is_object()) continue;
    Json known = problem;
    known.erase("earlier");
    if (std::find(problems.begin(), problems.end(), known) != problems.end()) continue;
    problem["earlier"] = true;
    problems.push_back(std::move(problem));
  }
}

std::string pagesOf(const Json& report, const std::string& kind) {
  for (const Json& item : member(report, "items")) {
    if (textIn(item, "kind") != kind || isEarlier(item)) continue;
    const std::string rows = pageRows(item, true);
    return rows.empty() ? ""
                        : "<p class=\"note\">From an earlier export:</p>\n<table>\n" + rows + "</table>\n";
  }
  return "";
}

std::string sectionsOf(const Json& report) {
  std::string html;
  for (const Json& item : member(report, "items")) {
    if (!isEarlier(item)) continue;
    const std::string kind = textIn(item, "kind");
    const PDXContentKind* known = PDXContentKinds::named(kind);
    const std::string counts = countsOf(item);
    html += "<section id=\"" + PDXText::escapedForHtml(kind) + "\"><h2>" +
            PDXText::escapedForHtml(known == nullptr ? kind : known->title) +
            "</h2>\n<p class=\"note\">From an earlier export" +
            PDXText::escapedForHtml(counts.empty() ? "" : ": " + counts) + "</p>\n<table>\n" +
            pageRows(item, false) + "</table></section>\n";
  }
  return html;
}

}  // namespace PDXEarlierExport
