#include "bookmarks/BookmarkReader.h"

#include <algorithm>
#include <utility>

#include "platform/Text.h"

PDXBookmarkReader::PDXBookmarkReader(std::int32_t type, std::string title) : type_(type) {
  root_.title = std::move(title);
  root_.isFolder = true;
  root_.type = type;
}

PDXBookmarkReader::~PDXBookmarkReader() = default;

void PDXBookmarkReader::clear_(const std::string& storePath) {
  stored_.clear();
  holders_.clear();
  places_.clear();
  children_.clear();
  counts_ = {};
  storePath_ = storePath;
}

void PDXBookmarkReader::reserve_(std::size_t count) {
  stored_.reserve(count);
  holders_.reserve(count);
  places_.reserve(count);
}

void PDXBookmarkReader::add_(PDXBookmarkItem item, std::size_t holder, bool isListed) {
  if (isListed) places_[item.identifier] = stored_.size();
  stored_.push_back(std::move(item));
  holders_.push_back(holder);
}

std::map<std::int64_t, const PDXBookmarkItem*> PDXBookmarkReader::items() const {
  std::map<std::int64_t, const PDXBookmarkItem*> items;
  for (const auto& [identifier, place] : places_) items[identifier] = &stored_[place];
  return items;
}

const PDXBookmarkItem* PDXBookmarkReader::itemWithIdentifier(std::int64_t identifier) const {
  const auto found = places_.find(identifier);
  return found == places_.end() ? nullptr : &stored_[found->second];
}

bool PDXBookmarkReader::standsBefore(const PDXBookmarkItem& a, const PDXBookmarkItem& b) {
  return a.isFolder != b.isFolder ? a.isFolder : a.title < b.title;
}

std::vector<const PDXBookmarkItem*> PDXBookmarkReader::childrenForIdentifier(std::int64_t identifier) const {
  if (children_.empty()) {
    for (const auto& [ofItem, item] : items()) children_[item->parent].push_back(item);
    for (auto& [folder, children] : children_) {
      std::stable_sort(children.begin(), children.end(),
                       [](const auto* a, const auto* b) { return standsBefore(*a, *b); });
    }
  }
  const auto found = children_.find(identifier);
  return found == children_.end() ? std::vector<const PDXBookmarkItem*>() : found->second;
}

std::vector<const PDXBookmarkItem*> PDXBookmarkReader::searchFor(const std::string& text) const {
  std::vector<const PDXBookmarkItem*> found;
  for (std::size_t i = 0; i < stored_.size(); ++i) {
    const PDXBookmarkItem& item = stored_[i];
    if (itemWithIdentifier(item.identifier) != &item) continue;
    if (PDXText::containsIgnoringCase(item.title, text) || PDXText::containsIgnoringCase(item.url, text))
      found.push_back(&item);
  }
  return found;
}
