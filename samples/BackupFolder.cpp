#include "samples/BackupFolder.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/Crypto.h"
#include "platform/Files.h"
#include "samples/DeviceLists.h"
#include "samples/ManifestDatabase.h"

namespace {

constexpr int kProtectedUntilFirstUnlock = 3;
constexpr std::int64_t kFirstInode = 1000;

std::string_view textOf(const PDXBytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The path of the folder that holds `path`; the domain's root is "".
std::string folderAbove(const std::string& path) {
  const auto slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

}  // namespace

PDXSampleBackupFolder::PDXSampleBackupFolder(std::string folder, PDXSampleDevice device)
    : folder_(std::move(folder)), device_(std::move(device)) {
  if (!PDXFiles::makeFolders(folder_)) {
    fail_(folder_ + " cannot be made");
  } else if (!PDXFiles::list(folder_).empty()) {
    fail_(folder_ + " is not empty: choose a new folder");
  } else {
    isOurs_ = true;
  }
}

PDXSampleBackupFolder::~PDXSampleBackupFolder() {
  if (isOurs_ && !isFinished_) discard_();
}

void PDXSampleBackupFolder::addFile(const std::string& domain, const std::string& relativePath,
                                    std::string_view bytes, std::optional<PDXDate> lastModified) {
  PDXSampleEntry* entry = add_(PDXSampleEntryKind::file, domain, relativePath);
  if (entry == nullptr) return;
  entry->size = static_cast<std::int64_t>(bytes.size());
  entry->lastModified = lastModified.value_or(entry->lastModified);
  write_(placeFor_(*entry), bytes);
}

void PDXSampleBackupFolder::addFile(const std::string& domain, const std::string& relativePath,
                                    const PDXBytes& bytes, std::optional<PDXDate> lastModified) {
  addFile(domain, relativePath, textOf(bytes), lastModified);
}

void PDXSampleBackupFolder::addFileFrom(const std::string& domain, const std::string& relativePath,
                                        const std::string& localPath) {
  PDXSampleEntry* entry = add_(PDXSampleEntryKind::file, domain, relativePath);
  if (entry == nullptr) return;
  const auto copied = PDXFiles::copy(localPath, placeFor_(*entry));
  if (!copied) return fail_(localPath + ": " + copied.why);
  entry->size = static_cast<std::int64_t>(PDXFiles::sizeOf(localPath).value_or(0));
}

void PDXSampleBackupFolder::takeFile(const std::string& domain, const std::string& relativePath,
                                     const std::string& localPath) {
  PDXSampleEntry* entry = add_(PDXSampleEntryKind::file, domain, relativePath);
  if (entry == nullptr) return;
  const std::string place = placeFor_(*entry);
  std::error_code error;
  std::filesystem::rename(localPath, place, error);
  if (error) return fail_(localPath + ": " + error.message());
  entry->size = static_cast<std::int64_t>(PDXFiles::sizeOf(place).value_or(0));
}

std::string PDXSampleBackupFolder::workFolder() {
  std::string folder = PDXFiles::joined(folder_, "building");
  if (error_.empty() && !PDXFiles::makeFolders(folder)) fail_(folder + " cannot be made");
  return folder;
}

void PDXSampleBackupFolder::addFolder(const std::string& domain, const std::string& relativePath) {
  add_(PDXSampleEntryKind::folder, domain, relativePath);
}

void PDXSampleBackupFolder::addLink(const std::string& domain, const std::string& relativePath,
                                    const std::string& target) {
  PDXSampleEntry* entry = add_(PDXSampleEntryKind::link, domain, relativePath);
  if (entry != nullptr) entry->target = target;
}

void PDXSampleBackupFolder::addMissingFile(const std::string& domain, const std::string& relativePath,
                                           std::int64_t size) {
  PDXSampleEntry* entry = add_(PDXSampleEntryKind::file, domain, relativePath);
  if (entry != nullptr) entry->size = size;
}

void PDXSampleBackupFolder::addFoldersAbove() {
  const std::size_t count = entries_.size();
  for (std::size_t i = 0; i < count; ++i) {
    const std::string domain = entries_[i].domain;
    std::string path = entries_[i].relativePath;
    while (!path.empty()) {
      path = folderAbove(path);
      if (!paths_.contains({domain, path})) addFolder(domain, path);
    }
  }
}

bool PDXSampleBackupFolder::finish() {
  if (!error_.empty()) return false;
  PDXFiles::removeTree(PDXFiles::joined(folder_, "building"));
  const std::string why =
      PDXSampleManifestDatabase::write(PDXFiles::joined(folder_, "Manifest.db"), entries_);
  if (!why.empty()) fail_("Manifest.db: " + why);
  writeList_("Manifest.plist", PDXSampleDeviceLists::manifest(device_).binary());
  writeList_("Status.plist", PDXSampleDeviceLists::status(device_).binary());
  writeList_("Info.plist", PDXSampleDeviceLists::info(device_).xml());
  isFinished_ = error_.empty();
  return isFinished_;
}

std::string PDXSampleBackupFolder::fileId(const std::string& domain, const std::string& relativePath) {
  return sha_1(domain + "-" + relativePath);
}

std::string PDXSampleBackupFolder::storedPath(const std::string& domain,
                                              const std::string& relativePath) const {
  const std::string id = fileId(domain, relativePath);
  return PDXFiles::joined(folder_, id.substr(0, 2) + "/" + id);
}

PDXSampleEntry* PDXSampleBackupFolder::add_(PDXSampleEntryKind kind, const std::string& domain,
                                            const std::string& relativePath) {
  if (!error_.empty()) return nullptr;
  if (!paths_.emplace(domain, relativePath).second) {
    fail_(domain + "-" + relativePath + " was added twice");
    return nullptr;
  }
  PDXSampleEntry& entry = entries_.emplace_back();
  entry.kind = kind;
  entry.domain = domain;
  entry.relativePath = relativePath;
  entry.lastModified = device_.backupDate - std::chrono::days(1);
  entry.protectionClass = kind == PDXSampleEntryKind::file ? kProtectedUntilFirstUnlock : 0;
  entry.inode = kFirstInode + static_cast<std::int64_t>(entries_.size());
  return &entry;
}

std::string PDXSampleBackupFolder::placeFor_(const PDXSampleEntry& entry) {
  std::string path = storedPath(entry.domain, entry.relativePath);
  const std::string folder = PDXFiles::folderOf(path);
  if (!PDXFiles::makeFolders(folder)) fail_(folder + " cannot be made");
  return path;
}

void PDXSampleBackupFolder::write_(const std::string& path, std::string_view bytes) {
  PDXAtomicFile file(path);
  file.append(bytes);
  if (!file.commit()) fail_(path + ": " + file.error());
}

void PDXSampleBackupFolder::writeList_(const std::string& name, const PDXBytes& bytes) {
  if (error_.empty()) write_(PDXFiles::joined(folder_, name), textOf(bytes));
}

void PDXSampleBackupFolder::fail_(const std::string& why) {
  if (error_.empty()) error_ = why;
}

void PDXSampleBackupFolder::discard_() const {
  for (const std::string& name : PDXFiles::list(folder_)) {
    const std::string path = PDXFiles::joined(folder_, name);
    if (PDXFiles::isFolder(path)) {
      PDXFiles::removeTree(path);
    } else {
      PDXFiles::remove(path);
    }
  }
}
