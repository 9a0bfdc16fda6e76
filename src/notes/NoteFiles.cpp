#include "notes/NoteFiles.h"

#include <algorithm>
#include <utility>

#include "backup/DeviceData.h"

namespace {

constexpr std::size_t kIdentifierBytes = 36;

const std::vector<std::string> kNoPaths;

/// Files `path` under what follows `folder` in it.
template <typename Index, typename KeyLength>
void add(Index& index, const std::string& path, std::string_view folder, KeyLength keyLength) {
  for (std::size_t at = path.find(folder); at != std::string::npos; at = path.find(folder, at + 1)) {
    const std::size_t begin = at + folder.size();
    const std::size_t length = keyLength(std::string_view(path).substr(begin));
    if (length > 0) index[path.substr(begin, length)].push_back(path);
  }
}

/// An identifier may have anything behind it: a size, an extension, a folder.
std::size_t identifierLength(std::string_view rest) {
  return rest.size() >= kIdentifierBytes ? kIdentifierBytes : 0;
}

/// A folder's name ends at the next slash.
std::size_t folderLength(std::string_view rest) {
  const std::size_t slash = rest.find('/');
  return slash == std::string_view::npos ? 0 : slash;
}

template <typename Index>
const std::vector<std::string>& in(const Index& index, std::string_view key) {
  const auto found = index.find(std::string(key));
  return found == index.end() ? kNoPaths : found->second;
}

}  // namespace

PDXNoteFiles::PDXNoteFiles(std::vector<std::string> paths) {
  std::sort(paths.begin(), paths.end());
  for (std::string& path : paths) {
    add(fallbackImages_, path, "FallbackImages/", identifierLength);
    add(previews_, path, "Previews/", identifierLength);
    add(media_, path, "Media/", folderLength);
    paths_.insert(std::move(path));
  }
}

PDXNoteFiles PDXNoteFiles::of(PDXDeviceData& deviceData) {
  std::vector<std::string> paths;
  const auto listed = deviceData.GetSubFolderContentInDomain(std::nullopt, kDomain);
  const auto files = listed ? listed : deviceData.regularFiles();
  for (const PDXBackupFile& file : files.value_or(std::vector<PDXBackupFile>())) {
    if (!file.relativePath.empty() && file.domain == kDomain) paths.push_back(file.relativePath);
  }
  return PDXNoteFiles(std::move(paths));
}

const std::vector<std::string>& PDXNoteFiles::fallbackImages(std::string_view identifier) const {
  return in(fallbackImages_, identifier);
}

const std::vector<std::string>& PDXNoteFiles::previews(std::string_view identifier) const {
  return in(previews_, identifier);
}

const std::vector<std::string>& PDXNoteFiles::media(std::string_view identifier) const {
  return in(media_, identifier);
}
