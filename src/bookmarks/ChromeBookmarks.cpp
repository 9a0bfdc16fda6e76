#include "bookmarks/ChromeBookmarks.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "platform/Files.h"
#include "platform/Localisation.h"
#include "platform/Log.h"
#include "platform/Text.h"

namespace {

using Json = nlohmann::json;

using Node = PDXChromeNode;

}  // namespace

/// An object of the document that stands where a bookmark or a folder does.
struct PDXChromeNode {
  PDXBookmarkItem item;
  std::size_t holder = PDXBookmarkReader::kRoot;
  std::string type;
  bool hasChildren = false;
  bool hasName = false;
  bool hasIdentifier = false;
  std::string dateAdded;
  std::string dateModified;
};

namespace {

/// Takes the nodes out of the document as the parser comes by, without a stack of calls and without keeping
/// what else there is: a document can nest as deep as its bytes allow.
class Nodes {
 public:
  std::vector<Node> take() { return std::move(nodes_); }
  const std::string& error() const { return error_; }
  bool hasRoots() const { return hasRoots_; }

  bool null() { return value(); }
  bool boolean(bool) { return value(); }
  bool number_integer(Json::number_integer_t number) { return identifier(number); }
  bool number_unsigned(Json::number_unsigned_t number) {
    return identifier(static_cast<std::int64_t>(number));
  }
  bool number_float(Json::number_float_t number, const std::string&) {
    constexpr double kMost = 9e15;
    return identifier(static_cast<std::int64_t>(std::clamp(number, -kMost, kMost)));
  }
  bool binary(Json::binary_t&) { return value(); }

  bool string(std::string& text) {
    if (Node* node = openNode()) {
      setText(*node, text);
      return true;
    }
    return value();
  }

  bool start_object(std::size_t) {
    if (ignored_ > 0 || places_.empty()) return ignoredOr(Place::document);
    Place& above = places_.back();
    if (above.kind == Place::document && above.key == "roots") {
      hasRoots_ = true;
      return push(Place::roots, 0);
    }
    if (above.kind != Place::roots && above.kind != Place::children) return ignore();
    Node& node = nodes_.emplace_back();
    node.holder = above.kind == Place::roots ? PDXBookmarkReader::kRoot : above.of;
    node.item.index = above.next++;
    return push(Place::node, nodes_.size() - 1);
  }

  bool start_array(std::size_t) {
    if (Node* node = openNode(); node != nullptr && places_.back().key == "children") {
      node->hasChildren = true;
      return push(Place::children, places_.back().of);
    }
    value();
    return ignore();
  }

  bool end_object() { return end(); }
  bool end_array() { return end(); }

  bool key(std::string& key) {
    if (ignored_ == 0 && !places_.empty()) places_.back().key.swap(key);
    return true;
  }

  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) {
    error_ = "it is no longer JSON at byte " + std::to_string(position) + ": what stands before is kept";
    return false;
  }

 private:
  /// What the parser is inside of.
  struct Place {
    enum Kind { document, roots, node, children } kind;
    std::size_t of;  ///< Among the nodes.
    std::int64_t next = 0;
    std::string key = {};
  };

  bool push(Place::Kind kind, std::size_t node) {
    places_.push_back({kind, node});
    return true;
  }

  bool ignore() {
    ++ignored_;
    return true;
  }

  bool ignoredOr(Place::Kind kind) { return ignored_ > 0 || hasEnded_ ? ignore() : push(kind, 0); }

  bool end() {
    if (ignored_ > 0) {
      --ignored_;
      return true;
    }
    places_.pop_back();
    hasEnded_ = places_.empty();
    return true;
  }

  /// A value that is no node takes a place among the children too.
  bool value() {
    if (ignored_ == 0 && !places_.empty() && places_.back().kind == Place::children) ++places_.back().next;
    return true;
  }

  Node* openNode() {
    const bool isOpen = ignored_ == 0 && !places_.empty() && places_.back().kind == Place::node;
    return isOpen ? &nodes_[places_.back().of] : nullptr;
  }

  bool identifier(std::int64_t number) {
    Node* node = openNode();
    if (node == nullptr) return value();
    if (places_.back().key == "id") {
      node->item.identifier = number;
      node->hasIdentifier = true;
    }
    return true;
  }

  void setText(Node& node, std::string& text) {
    const std::string& key = places_.back().key;
    if (key == "type") node.type.swap(text);
    if (key == "url") node.item.url.swap(text);
    if (key == "date_added") node.dateAdded.swap(text);
    if (key == "date_modified") node.dateModified.swap(text);
    if (key == "name") {
      node.item.title.swap(text);
      node.hasName = true;
    } else if (key == "id") {
      std::from_chars(text.data(), text.data() + text.size(), node.item.identifier);
      node.hasIdentifier = true;
    }
  }

  std::vector<Node> nodes_;
  std::vector<Place> places_;
  std::size_t ignored_ = 0;
  bool hasEnded_ = false;
  bool hasRoots_ = false;
  std::string error_;
};

/// Microseconds since 1601 as text; "0" and "" are no date.
std::optional<PDXDate> dateOf(const std::string& text, bool& isBad) {
  constexpr double kReference = 12622780800;  // 2001 in seconds since 1601.
  std::int64_t value = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool isNumber = failure == std::errc() && end == text.data() + text.size();
  if (text.empty() || (isNumber && value == 0)) return std::nullopt;
  const auto date = isNumber ? PDXDates::fromReferenceFraction(static_cast<double>(value) / 1e6 - kReference)
                             : std::optional<PDXDate>();
  isBad = isBad || !date;
  return date;
}

bool isPadding(char character) { return static_cast<unsigned char>(character) <= ' '; }

/// The document without what stands around it: blanks, and what a cipher fills its last block with.
std::string trimmed(std::string text) {
  std::erase(text, '\t');
  while (!text.empty() && isPadding(text.back())) text.pop_back();
  text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), isPadding));
  return text;
}

/// Why a browser does not show the node; "" when it does.
std::string faultOf(const Node& node) {
  if (!node.item.isFolder)
    return node.holder == PDXBookmarkReader::kRoot ? "it stands where only folders do" : "";
  if (!node.hasName) return "it has no name";
  return node.hasIdentifier ? "" : "it has no identifier";
}

std::string placeOf(const PDXBookmarkItem& item) {
  return "\"" + item.title + "\", record " + std::to_string(item.identifier);
}

/// Sets the type of a node whose end is not there; the type would have stood behind what it holds.
void guessType(Node& node) {
  if (!node.type.empty()) return;
  if (node.hasChildren) node.type = "folder";
  if (!node.item.url.empty()) node.type = "url";
}

void setDates(Node& node, PDXProblemSeries& dates) {
  bool isBad = false;
  node.item.dateAdded = dateOf(node.dateAdded, isBad);
  node.item.lastModified = dateOf(node.dateModified, isBad);
  if (isBad)
    dates.add(placeOf(node.item), "no date is stored as " + node.dateAdded + " " + node.dateModified);
}

}  // namespace

PDXChromeBookmarks::PDXChromeBookmarks() : PDXBookmarkReader(kChrome, PDXLocalised("Chrome Bookmarks")) {}

bool PDXChromeBookmarks::loadBookmarksFromJsonFile(const std::string& path) {
  clear_(path);
  if (path.empty() || !PDXFiles::exists(path)) return false;
  const auto bytes = PDXFiles::read(path);
  if (!bytes) {
    PDXLog::report({.what = "bookmarks", .where = path, .why = "it cannot be read, or is too large"});
    return false;
  }
  return load_(std::string(bytes->begin(), bytes->end()));
}

bool PDXChromeBookmarks::loadBookmarksFromJsonData(const PDXBytes& data) {
  clear_("");
  return load_(std::string(data.begin(), data.end()));
}

bool PDXChromeBookmarks::loadBookmarksFromJsonString(const std::string& text) {
  clear_("");
  return load_(text);
}

bool PDXChromeBookmarks::load_(const std::string& document) {
  std::string text = trimmed(document);
  if (!PDXText::isValid(text)) {
    PDXLog::report({.what = "bookmarks", .where = storePath_, .why = "some of its text is not UTF-8"});
    text = PDXText::valid(std::move(text));
  }
  Nodes parser;
  const bool isWhole = Json::sax_parse(text, &parser);
  if (!isWhole) PDXLog::report({.what = "bookmarks", .where = storePath_, .why = parser.error()});
  if (isWhole && !parser.hasRoots())
    PDXLog::report({.what = "bookmarks", .where = storePath_, .why = "it has no \"roots\""});
  auto nodes = parser.take();
  take_(nodes, isWhole);
  return hasItems();
}

/// What holds a node stands before it.
void PDXChromeBookmarks::take_(std::vector<PDXChromeNode>& nodes, bool isWhole) {
  PDXProblemSeries damaged("bookmark", storePath_);
  PDXProblemSeries dates("date of a bookmark", storePath_);
  PDXProblemSeries twice("identifier of a bookmark", storePath_);
  std::vector<std::size_t> places(nodes.size());  // Among the stored items; kLost for what is left out.
  std::vector<std::int64_t> identifiers(nodes.size());
  std::vector<bool> isListed(nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    Node& node = nodes[i];
    PDXBookmarkItem& item = node.item;
    const bool isInRoot = node.holder == kRoot;
    if (!isWhole) guessType(node);
    const bool isKnown = node.type == "folder" || node.type == "url";
    ++*counts_.rows;
    places[i] = isKnown && (isInRoot || places[node.holder] != kLost) ? stored_.size() : kLost;
    if (places[i] == kLost) {
      counts_.ofUnknownType++;
      continue;
    }
    item.type = kChrome;
    item.isFolder = node.type == "folder";
    item.parent = isInRoot ? 0 : identifiers[node.holder];
    const std::string fault = faultOf(node);
    if (!fault.empty()) damaged.add(placeOf(item), fault);
    setDates(node, dates);
    isListed[i] = isWhole && fault.empty() && (isInRoot || isListed[node.holder]);
    if (isListed[i] && itemWithIdentifier(item.identifier) != nullptr)
      twice.add(placeOf(item), "another one has it too");
    identifiers[i] = item.identifier;
    add_(std::move(item), isInRoot ? kRoot : places[node.holder], isListed[i]);
  }
}
