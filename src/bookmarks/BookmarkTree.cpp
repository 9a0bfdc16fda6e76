#include "bookmarks/BookmarkTree.h"

#include <algorithm>
#include <utility>

#include "platform/Log.h"
#include "platform/Text.h"

namespace {

constexpr std::size_t kRoot = PDXBookmarkReader::kRoot;

/// For each stored item what holds it, mended so that every way up ends in the root.
class Holders {
 public:
  explicit Holders(const PDXBookmarkReader& reader)
      : items_(reader.storedItems()), holders_(reader.holders()), lost_("bookmark", reader.storePath()) {}

  std::vector<std::size_t> mended() {
    for (std::size_t i = 0; i < items_.size(); ++i) {
      const std::size_t holder = holders_[i];
      if (holder == PDXBookmarkReader::kLost) {
        toRoot(i, "the folder that it lies in, record " + std::to_string(items_[i].parent) +
                      ", is not in the store");
      } else if (holder != kRoot && !items_[holder].isFolder) {
        toRoot(i, "what it lies in, record " + std::to_string(items_[i].parent) + ", is no folder");
      }
    }
    openCircles();
    return std::move(holders_);
  }

 private:
  void toRoot(std::size_t i, const std::string& why) {
    holders_[i] = kRoot;
    lost_.add("\"" + items_[i].title + "\", record " + std::to_string(items_[i].identifier), why);
  }

  /// Goes up from each item to what was seen before. Every item is passed once.
  void openCircles() {
    enum class State : char { unseen, onWay, done };
    std::vector<State> states(items_.size(), State::unseen);
    std::vector<std::size_t> way;
    for (std::size_t start = 0; start < items_.size(); ++start) {
      std::size_t at = start;
      for (way.clear(); at != kRoot && states[at] == State::unseen; at = holders_[at]) {
        states[at] = State::onWay;
        way.push_back(at);
      }
      if (at != kRoot && states[at] == State::onWay) toRoot(at, "the folder lies in itself");
      for (const std::size_t passed : way) states[passed] = State::done;
    }
  }

  const std::vector<PDXBookmarkItem>& items_;
  std::vector<std::size_t> holders_;
  PDXProblemSeries lost_;
};

/// The items of each folder, one folder's behind another's.
struct Children {
  explicit Children(const std::vector<std::size_t>& holders)
      : first(holders.size() + 2), items(holders.size()) {
    for (const std::size_t holder : holders) ++first[slot(holder) + 1];
    for (std::size_t i = 1; i < first.size(); ++i) first[i] += first[i - 1];
    auto next = first;
    for (std::size_t i = 0; i < holders.size(); ++i) items[next[slot(holders[i])]++] = i;
  }

  /// The root's stand in front.
  static std::size_t slot(std::size_t holder) { return holder == kRoot ? 0 : holder + 1; }

  template <typename Before>
  void sort(const Before& before) {
    for (std::size_t i = 0; i + 1 < first.size(); ++i) {
      const auto begin = items.begin() + static_cast<std::ptrdiff_t>(first[i]);
      const auto end = items.begin() + static_cast<std::ptrdiff_t>(first[i + 1]);
      if (!std::is_sorted(begin, end, before)) std::stable_sort(begin, end, before);
    }
  }

  std::vector<std::size_t> first;
  std::vector<std::size_t> items;
};

/// A number that is smaller for what stands before: folders, then by the first seven bytes of the title.
std::uint64_t beginningOf(const PDXBookmarkItem& item) {
  constexpr std::size_t kBytes = 7;
  std::uint64_t key = item.isFolder ? 0 : 1;
  for (std::size_t i = 0; i < kBytes; ++i)
    key = key << 8U | (i < item.title.size() ? static_cast<unsigned char>(item.title[i]) : 0U);
  return key;
}

}  // namespace

PDXBookmarkTree::PDXBookmarkTree(const PDXBookmarkReader& reader, Order order) : root_(reader.root()) {
  const auto& items = reader.storedItems();
  Children children(Holders(reader).mended());
  if (order == Order::listed) {
    // Most pairs differ in their first bytes, which stand together in memory.
    std::vector<std::uint64_t> keys(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) keys[i] = beginningOf(items[i]);
    children.sort([&](auto a, auto b) {
      return keys[a] != keys[b] ? keys[a] < keys[b] : PDXBookmarkReader::standsBefore(items[a], items[b]);
    });
  } else {
    children.sort([&](auto a, auto b) { return items[a].index < items[b].index; });
  }
  struct Open {
    std::size_t next;
    std::size_t end;
    std::size_t entry;
  };
  std::vector<Open> open = {{children.first[0], children.first[1], kRoot}};
  entries_.reserve(items.size());
  while (!open.empty()) {
    Open& folder = open.back();
    if (folder.next == folder.end) {
      open.pop_back();
      continue;
    }
    const std::size_t item = children.items[folder.next++];
    entries_.push_back({&items[item], open.size() - 1, folder.entry});
    if (items[item].isFolder)
      open.push_back({children.first[item + 1], children.first[item + 2], entries_.size() - 1});
  }
}

void PDXBookmarkTree::keepMatching(const std::string& text) {
  if (text.empty()) return;
  std::vector<bool> isKept(entries_.size());
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const Entry& entry = entries_[i];
    isKept[i] = (entry.holder != kRoot && isKept[entry.holder]) ||
                PDXText::containsIgnoringCase(entry.item->title, text) ||
                PDXText::containsIgnoringCase(entry.item->url, text);
  }
  for (std::size_t i = entries_.size(); i-- > 0;) {
    if (isKept[i] && entries_[i].holder != kRoot) isKept[entries_[i].holder] = true;
  }
  std::vector<std::size_t> places(entries_.size());
  std::size_t kept = 0;
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (!isKept[i]) continue;
    Entry entry = entries_[i];
    if (entry.holder != kRoot) entry.holder = places[entry.holder];
    places[i] = kept;
    entries_[kept++] = entry;
  }
  entries_.resize(kept);
}
