#include "bookmarks/InternetBookmarks.h"

#include <utility>

void PDXInternetBookmarks::addReader(Reader reader) {
  if (reader != nullptr) readers_.push_back(std::move(reader));
}

void PDXInternetBookmarks::addReaders(const std::vector<Reader>& readers) {
  for (const Reader& reader : readers) addReader(reader);
}

void PDXInternetBookmarks::removeReader(const Reader& reader) { std::erase(readers_, reader); }

std::vector<const PDXBookmarkItem*> PDXInternetBookmarks::roots() const {
  std::vector<const PDXBookmarkItem*> roots;
  for (const Reader& reader : readers_) {
    if (reader->hasBookmarks()) roots.push_back(&reader->root());
  }
  return roots;
}

std::vector<const PDXBookmarkItem*> PDXInternetBookmarks::childrenForIdentifierOfType(
    std::int64_t identifier, std::int32_t type) const {
  for (const Reader& reader : readers_) {
    if (reader->readerType() == type) return reader->childrenForIdentifier(identifier);
  }
  return {};
}

std::vector<const PDXBookmarkItem*> PDXInternetBookmarks::search(const std::string& text) const {
  std::vector<const PDXBookmarkItem*> found;
  for (const Reader& reader : readers_) {
    const auto ofReader = reader->searchFor(text);
    found.insert(found.end(), ofReader.begin(), ofReader.end());
  }
  return found;
}
