#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "bookmarks/BookmarkItem.h"

/// The bookmarks of one browser, as a tree and to search in.
///
/// Items are answered by pointers into the reader, which must outlive them.
/// Threads: one reader, one thread.
class PDXBookmarkReader {
 public:
  /// Values of `readerType` and of `PDXBookmarkItem::type`.
  static constexpr std::int32_t kSafari = 0;
  static constexpr std::int32_t kChrome = 1;

  virtual ~PDXBookmarkReader();
  PDXBookmarkReader(const PDXBookmarkReader&) = delete;
  PDXBookmarkReader& operator=(const PDXBookmarkReader&) = delete;

  std::int32_t readerType() const { return type_; }

  /// "Safari" or "Chrome", in every language.
  static const char* browserOfType(std::int32_t type) { return type == kChrome ? "Chrome" : "Safari"; }

  /// Whether anything was read, folders included.
  bool hasItems() const { return !places_.empty(); }
  bool hasBookmarks() const { return hasItems(); }

  /// The folder, of identifier 0, that holds everything; its title is in the user's language.
  const PDXBookmarkItem& root() const { return root_; }

  /// By their identifiers.
  std::map<std::int64_t, const PDXBookmarkItem*> items() const;

  /// Null when there is none of that identifier.
  const PDXBookmarkItem* itemWithIdentifier(std::int64_t identifier) const;

  /// What lies in a folder, folders first, then by title.
  std::vector<const PDXBookmarkItem*> childrenForIdentifier(std::int64_t identifier) const;

  /// The items whose title or address holds the text, without regard to case, in the order of the store.
  std::vector<const PDXBookmarkItem*> searchFor(const std::string& text) const;

  /// Everything that the store holds and does not hide, in its order: also what the operations above do not
  /// reach, since its identifier is used twice or the folder that it lies in is damaged.
  const std::vector<PDXBookmarkItem>& storedItems() const { return stored_; }

  /// For each stored item the place among them of what holds it, or one of the two below.
  const std::vector<std::size_t>& holders() const { return holders_; }
  static constexpr std::size_t kRoot = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t kLost = kRoot - 1;  ///< The store does not hold what holds it.

  /// What messages about the store name.
  const std::string& storePath() const { return storePath_; }

  /// Entries of the store, counted apart from what reads them.
  struct RowCounts {
    std::optional<std::size_t> rows = 0;  ///< Nothing when they cannot be counted.
    std::size_t hidden = 0;
    std::size_t roots = 0;          ///< Entries for the store's own root.
    std::size_t ofUnknownType = 0;  ///< Neither bookmark nor folder, with what they hold.
  };
  virtual RowCounts rowCounts() const { return counts_; }

  /// Whether `a` stands before `b` in a folder: folders first, then by title.
  static bool standsBefore(const PDXBookmarkItem& a, const PDXBookmarkItem& b);

 protected:
  PDXBookmarkReader(std::int32_t type, std::string title);

  void clear_(const std::string& storePath);
  void reserve_(std::size_t count);

  /// @param isListed  whether it is to be found by its identifier.
  void add_(PDXBookmarkItem item, std::size_t holder, bool isListed);

  std::vector<PDXBookmarkItem> stored_;
  std::vector<std::size_t> holders_;
  std::unordered_map<std::int64_t, std::size_t> places_;  ///< By the identifiers of those that are listed.
  RowCounts counts_;
  std::string storePath_;

 private:
  std::int32_t type_;
  PDXBookmarkItem root_;
  mutable std::unordered_map<std::int64_t, std::vector<const PDXBookmarkItem*>> children_;
};
