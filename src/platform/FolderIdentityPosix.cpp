#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <utility>

#include "platform/Files.h"
#include "platform/FolderIdentity.h"

namespace fs = std::filesystem;

namespace {

using Identity = std::pair<dev_t, ino_t>;

std::optional<Identity> identityOf(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return std::nullopt;
  return Identity(info.st_dev, info.st_ino);
}

}  // namespace

namespace PDXFolderIdentity {

std::vector<std::string> foldersAround(const std::string& path) {
  std::vector<std::string> folders;
  for (std::string at = PDXFiles::absolute(path); true; at = PDXFiles::folderOf(at)) {
    if (PDXFiles::isFolder(at)) folders.push_back(at);
    if (at == PDXFiles::folderOf(at) || at == ".") return folders;
  }
}

bool isWithin(const std::string& path, const std::string& folder) {
  const auto wanted = identityOf(folder);
  const auto around = wanted ? foldersAround(path) : std::vector<std::string>();
  return std::any_of(around.begin(), around.end(),
                     [&](const std::string& each) { return identityOf(each) == wanted; });
}

std::string detourTo(const std::string& folder, const std::string& other) {
  std::vector<Identity> around;
  for (const std::string& each : foldersAround(other)) {
    if (const auto identity = identityOf(each)) around.push_back(*identity);
  }
  std::error_code failed;
  fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, failed);
  for (const fs::recursive_directory_iterator end; !failed && entry != end; entry.increment(failed)) {
    std::error_code unknown;
    const bool isLink = entry->is_symlink(unknown);
    if (!isLink && !entry->is_directory(unknown)) continue;
    std::string path = entry->path().string();
    const auto identity = identityOf(path);
    if (!identity) continue;
    if (std::find(around.begin(), around.end(), *identity) != around.end()) return path;
    if (isLink && isWithin(path, other)) return path;
  }
  return "";
}

}  // namespace PDXFolderIdentity
