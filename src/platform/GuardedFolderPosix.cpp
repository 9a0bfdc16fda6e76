#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <utility>

#include "platform/FileOpening.h"
#include "platform/GuardedFolder.h"

PDXGuardedFolder::PDXGuardedFolder(std::string path)
    : path_(std::move(path)), descriptor_(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

PDXGuardedFolder::~PDXGuardedFolder() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

PDXGuardedFolder::What PDXGuardedFolder::whatIs(const std::string& name) const {
  if (descriptor_ < 0) return What::nothing;
  const std::size_t slash = name.rfind('/');
  int parent = descriptor_;
  if (slash != std::string::npos) {
    parent = PDXFileOpening::beneath(descriptor_, name.substr(0, slash), O_RDONLY | O_DIRECTORY);
    if (parent < 0) return errno == ELOOP ? What::link : What::nothing;
  }
  struct stat info {};
  const std::string last = slash == std::string::npos ? name : name.substr(slash + 1);
  const bool isThere = ::fstatat(parent, last.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
  if (parent != descriptor_) ::close(parent);
  if (!isThere) return What::nothing;
  if (S_ISREG(info.st_mode)) return What::file;
  if (S_ISDIR(info.st_mode)) return What::folder;
  return S_ISLNK(info.st_mode) ? What::link : What::other;
}

PDXFileReader PDXGuardedFolder::open(const std::string& name) const {
  if (descriptor_ < 0) return PDXFileReader::failed(ENOENT);
  const int file = PDXFileOpening::beneath(descriptor_, name, O_RDONLY);
  return file < 0 ? PDXFileReader::failed(errno) : PDXFileReader(file);
}

std::vector<std::string> PDXGuardedFolder::list(const std::string& name) const {
  const int folder = descriptor_ < 0 ? -1
                                     : PDXFileOpening::beneath(descriptor_, name.empty() ? "." : name,
                                                               O_RDONLY | O_DIRECTORY);
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(folder < 0 ? nullptr : ::fdopendir(folder), ::closedir);
  if (entries == nullptr && folder >= 0) ::close(folder);
  std::vector<std::string> names;
  while (const dirent* entry = entries == nullptr ? nullptr : ::readdir(entries.get())) {
    const std::string_view each = entry->d_name;
    if (each != "." && each != "..") names.emplace_back(each);
  }
  std::sort(names.begin(), names.end());
  return names;
}
