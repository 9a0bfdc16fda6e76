#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

/// Keeps what others put into a folder safe from us. While it lives, all that PDXFiles and PDXAtomicFile
/// write below the folder goes through it: only files that are ours are replaced or removed, a link is never
/// gone through, so that nothing lands outside the folder, and missing folders are made. Threads: any number.
class PDXOutputGuard {
 public:
  /// @param root   absolute path of the folder.
  /// @param owned  paths of our files below it, "/" between components.
  /// @param onNew  told of every further file just before it gets its name, one call at a time. When it
  ///               answers an error number other than 0, the file is not written.
  PDXOutputGuard(std::string root, const std::vector<std::string>& owned,
                 std::function<int(const std::string& path)> onNew);
  ~PDXOutputGuard();
  PDXOutputGuard(const PDXOutputGuard&) = delete;
  PDXOutputGuard& operator=(const PDXOutputGuard&) = delete;

  /// The guard of the folder in which `path` lies; null when there is none.
  static PDXOutputGuard* of(std::string_view path);

  /// `path`, which lies below the root, or the next free name: where something that is not ours has one of
  /// the names, in whatever case, " (1)" is appended, before the extension of the last. Folders above the
  /// file may be somebody else's.
  std::string freePath(const std::string& path) { return free_(path, false); }

  /// The same for a folder, which may be somebody else's as well.
  std::string freeFolder(const std::string& path) { return free_(path, true); }

  /// Whether something that is not ours has the path's name in its folder, in whatever case: a file, a link,
  /// or a folder with only others' files in it. It is then said to be in the way.
  bool isTaken(const std::string& path);

  /// Paths below the root of others' files that had a name that ours would have got; sorted.
  std::vector<std::string> inTheWay() const;

  /// Paths below the root of our files, sorted.
  std::vector<std::string> owned() const;

  const std::string& root() const { return root_; }

  // For those who write. Each answers 0 or the system's error number.

  /// Makes a folder and those above it, as far as the root.
  int enter(const std::string& folder);

  /// Gives a file its name, in place of one of ours.
  int put(const std::string& from, const std::string& to);

  /// Removes one of our files, or an empty folder.
  int remove(const std::string& path);

 private:
  /// What is not ours in a folder, by case-folded name.
  struct Foreign {
    std::string name;
    bool isFolder = false;  ///< With others' files in it or not, it can be shared.
    bool isTaken = true;    ///< Not for a folder that has files of ours, or nothing, in it.
  };
  using Listing = std::unordered_map<std::string, Foreign>;

  std::string free_(const std::string& path, bool isFolder);
  std::string relative_(std::string_view path) const;
  const Listing& listing_(const std::string& folder);
  const Foreign* foreign_(const std::string& folder, std::string_view name);
  void own_(const std::string& path);
  int enter_(const std::string& folder);

  const std::string root_;
  const std::function<int(const std::string& path)> onNew_;
  mutable std::mutex lock_;
  std::unordered_set<std::string> owned_;
  std::unordered_set<std::string> ownedFolders_;
  std::unordered_set<std::string> entered_;  ///< Folders that are there and no links.
  std::map<std::string, Listing> listings_;
  std::set<std::string> inTheWay_;
};
