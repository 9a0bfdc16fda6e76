#include "platform/OutputGuard.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <shared_mutex>
#include <utility>

#include "platform/FileCopy.h"
#include "platform/FileName.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace {

std::shared_mutex registryLock;

std::vector<PDXOutputGuard*>& registry() {
  static std::vector<PDXOutputGuard*> guards;
  return guards;
}

std::string parentOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

/// Files that a run of ours is writing, and its lock.
bool isOfARun(std::string_view name) { return name.starts_with(".pocketdex-") || name == ".pocketdex.lock"; }

}  // namespace

PDXOutputGuard::PDXOutputGuard(std::string root, const std::vector<std::string>& owned,
                               std::function<int(const std::string& path)> onNew)
    : root_(std::move(root)), onNew_(std::move(onNew)) {
  for (const std::string& path : owned) own_(path);
  const std::unique_lock guard(registryLock);
  registry().push_back(this);
}

PDXOutputGuard::~PDXOutputGuard() {
  const std::unique_lock guard(registryLock);
  std::erase(registry(), this);
}

PDXOutputGuard* PDXOutputGuard::of(std::string_view path) {
  const std::shared_lock guard(registryLock);
  for (PDXOutputGuard* each : registry()) {
    const std::string& root = each->root_;
    if (path.starts_with(root) && (path.size() == root.size() || path[root.size()] == '/')) return each;
  }
  return nullptr;
}

std::string PDXOutputGuard::free_(const std::string& path, bool isFolder) {
  const std::lock_guard guard(lock_);
  const std::string wanted = relative_(path);
  std::string result;
  for (std::size_t begin = 0; begin <= wanted.size();) {
    const std::size_t end = std::min(wanted.find('/', begin), wanted.size());
    const bool isFile = !isFolder && end == wanted.size();
    const std::string name = wanted.substr(begin, end - begin);
    std::string candidate = name;
    for (unsigned counter = 1;; ++counter) {
      const Foreign* foreign = foreign_(result, candidate);
      if (foreign == nullptr || (foreign->isFolder && !isFile)) break;
      inTheWay_.insert(PDXFiles::joined(result, foreign->name));
      candidate = PDXFileName::counted(name, counter, isFile);
    }
    result = PDXFiles::joined(result, candidate);
    begin = end + 1;
  }
  return PDXFiles::joined(root_, result);
}

bool PDXOutputGuard::isTaken(const std::string& path) {
  const std::lock_guard guard(lock_);
  const std::string relative = relative_(path);
  const std::string folder = parentOf(relative);
  const Foreign* foreign = foreign_(folder, PDXText::lastPathComponent(relative));
  if (foreign == nullptr || !foreign->isTaken) return false;
  inTheWay_.insert(PDXFiles::joined(folder, foreign->name));
  return true;
}

std::vector<std::string> PDXOutputGuard::inTheWay() const {
  const std::lock_guard guard(lock_);
  return {inTheWay_.begin(), inTheWay_.end()};
}

std::vector<std::string> PDXOutputGuard::owned() const {
  const std::lock_guard guard(lock_);
  std::vector<std::string> paths(owned_.begin(), owned_.end());
  std::sort(paths.begin(), paths.end());
  return paths;
}

int PDXOutputGuard::enter(const std::string& folder) {
  const std::lock_guard guard(lock_);
  return enter_(relative_(folder));
}

int PDXOutputGuard::put(const std::string& from, const std::string& to) {
  const std::lock_guard guard(lock_);
  const std::string path = relative_(to);
  if (const int code = enter_(parentOf(path)); code != 0) return code;
  if (owned_.contains(path)) return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
  // Looked at before it is written down as ours: from then on a later run may replace it.
  if (!PDXFiles::isMissing(to)) return EEXIST;
  if (const int code = onNew_(path); code != 0) return code;
  const int code = PDXFileCopy::renameToNew(from, to);
  if (code == 0) own_(path);
  return code;
}

int PDXOutputGuard::remove(const std::string& path) {
  const std::lock_guard guard(lock_);
  const std::string relative = relative_(path);
  if (const int code = enter_(parentOf(relative)); code != 0) return code;
  if (::rmdir(path.c_str()) == 0) {
    entered_.erase(relative);
    return 0;
  }
  if (errno != ENOTDIR) return errno == ENOENT ? 0 : errno;
  if (!owned_.contains(relative) && !isOfARun(PDXText::lastPathComponent(path))) return EPERM;
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) return errno;
  owned_.erase(relative);
  return 0;
}

/// The path below the root; "" for the root itself.
std::string PDXOutputGuard::relative_(std::string_view path) const {
  path.remove_prefix(std::min(path.size(), root_.size()));
  while (path.starts_with('/')) path.remove_prefix(1);
  return std::string(path);
}

/// Read once: what we write afterwards is ours.
const PDXOutputGuard::Listing& PDXOutputGuard::listing_(const std::string& folder) {
  const auto [known, isNew] = listings_.try_emplace(folder);
  if (!isNew) return known->second;
  const std::string path = PDXFiles::joined(root_, folder);
  for (const std::string& name : PDXFiles::list(path)) {
    const std::string relative = PDXFiles::joined(folder, name);
    if (isOfARun(name)) continue;
    struct stat info {};
    if (::lstat(PDXFiles::joined(path, name).c_str(), &info) != 0) continue;
    if (S_ISREG(info.st_mode) && owned_.contains(relative)) continue;
    Foreign foreign{.name = name, .isFolder = S_ISDIR(info.st_mode), .isTaken = true};
    if (foreign.isFolder) {
      const auto inside = PDXFiles::list(PDXFiles::joined(path, name));
      const bool isEmpty = std::all_of(inside.begin(), inside.end(), isOfARun);
      foreign.isTaken = !isEmpty && !ownedFolders_.contains(relative);
    }
    // Names that differ in case only: the one that is in the way counts.
    const auto [same, isFirst] = known->second.try_emplace(PDXText::caseFolded(name), foreign);
    if (!isFirst && same->second.isFolder && !foreign.isFolder) same->second = foreign;
  }
  return known->second;
}

const PDXOutputGuard::Foreign* PDXOutputGuard::foreign_(const std::string& folder, std::string_view name) {
  const Listing& listing = listing_(folder);
  if (listing.empty()) return nullptr;
  const auto found = listing.find(PDXText::caseFolded(name));
  return found == listing.end() ? nullptr : &found->second;
}

void PDXOutputGuard::own_(const std::string& path) {
  if (!owned_.insert(path).second) return;
  for (std::string folder = parentOf(path); !folder.empty(); folder = parentOf(folder)) {
    if (!ownedFolders_.insert(folder).second) break;
  }
}

int PDXOutputGuard::enter_(const std::string& folder) {
  if (entered_.contains(folder)) return 0;
  const std::string path = PDXFiles::joined(root_, folder);
  if (!folder.empty()) {
    if (const int code = enter_(parentOf(folder)); code != 0) return code;
    if (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) return errno;
  }
  // The root itself may be a link, since somebody named it; what is below it may not.
  struct stat info {};
  const int looked = folder.empty() ? ::stat(path.c_str(), &info) : ::lstat(path.c_str(), &info);
  if (looked != 0) return errno;
  if (!S_ISDIR(info.st_mode)) return S_ISLNK(info.st_mode) ? ELOOP : ENOTDIR;
  entered_.insert(folder);
  return 0;
}
