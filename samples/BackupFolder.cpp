#include "samples/BackupFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

#include "platform/Crypto.h"
#include "platform/Files.h"
#include "samples/ExtendedAttributes.h"
#include "samples/LegacyManifest.h"
#include "samples/ManifestDatabase.h"

namespace {

constexpr std::size_t kSaltSize = 20;
constexpr std::int64_t kMostRounds = 90'000'000;  // With the second stage's still below what is opened.
constexpr std::int64_t kFirstInode = 1000;

int modeOf(PDXSampleEntryKind kind) {
  switch (kind) {
    case PDXSampleEntryKind::folder:
      return 0040755;
    case PDXSampleEntryKind::link:
      return 0120755;
    case PDXSampleEntryKind::file:
      break;
  }
  return 0100644;
}

std::string_view textOf(const PDXBytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The path of the folder that holds `path`; the domain's root is "".
std::string folderAbove(const std::string& path) {
  const auto slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

/// Most files can be read once the device was unlocked; a few have each of the other classes.
int protectionClassFor(const std::string& fileId) {
  switch (fileId.front()) {
    case '0':
      return PDXSampleProtection::kComplete;
    case '1':
      return PDXSampleProtection::kCompleteUnlessOpen;
    case '2':
    case '3':
    case '4':
      return PDXSampleProtection::kNone;
    default:
      return PDXSampleProtection::kUntilFirstUnlock;
  }
}

/// The encoder of one format promises no bytes, and a second run must give the same manifest.
void tellDigest(PDXSampleEntry& entry, PDXBytes digest) {
  if (!entry.relativePath.ends_with(".HEIC")) entry.digest = std::move(digest);
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char each) { return static_cast<signed char>(each) > 0; });
}

/// What cannot be done; "" when all can.
std::string mistakeIn(const PDXSampleOptions& options) {
  if (options.rounds < 1 || options.rounds > kMostRounds) {
    return "the number of rounds is not between 1 and ninety million";
  }
  if (options.password && options.password->empty()) return "the password of the backup is empty";
  if (options.enciphersAttributes && !(options.password && isAscii(*options.password))) {
    return "metadata is enciphered with a password of ASCII characters only";
  }
  if (options.enciphersAttributes && options.generation == PDXSampleOptions::Generation::legacy) {
    return "the manifest of a legacy backup has no enciphered metadata";
  }
  return "";
}

}  // namespace

PDXSampleBackupFolder::PDXSampleBackupFolder(std::string folder, PDXSampleDevice device)
    : PDXSampleBackupFolder(PDXSampleOptions{.folder = std::move(folder)}, std::move(device)) {}

PDXSampleBackupFolder::PDXSampleBackupFolder(const PDXSampleOptions& options)
    : PDXSampleBackupFolder(options, PDXSampleDevice::of(options.generation)) {}

PDXSampleBackupFolder::PDXSampleBackupFolder(const PDXSampleOptions& options, PDXSampleDevice device)
    : options_(options), device_(std::move(device)) {
  if (options.password) keyBag_.emplace(options.seed);
  if (keyBag_) manifestKey_ = keyBag_->newKey();
  if (const std::string mistake = mistakeIn(options); !mistake.empty()) {
    fail_(mistake);
  } else if (!PDXFiles::makeFolders(options_.folder)) {
    fail_(options_.folder + " cannot be made a folder: choose another");
  } else if (!PDXFiles::list(options_.folder).empty()) {
    fail_(options_.folder + " is not empty: choose a new folder");
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
  if (leavesOut_(*entry)) return;
  if (!keyBag_) return write_(placeFor_(*entry), bytes);
  std::istringstream plain{std::string(bytes)};
  tellDigest(*entry, encipher_(plain, entry->key, placeFor_(*entry)));
}

void PDXSampleBackupFolder::addFile(const std::string& domain, const std::string& relativePath,
                                    const PDXBytes& bytes, std::optional<PDXDate> lastModified) {
  addFile(domain, relativePath, textOf(bytes), lastModified);
}

void PDXSampleBackupFolder::addFileFrom(const std::string& domain, const std::string& relativePath,
                                        const std::string& localPath) {
  PDXSampleEntry* entry = addLocal_(domain, relativePath, localPath);
  if (entry == nullptr || leavesOut_(*entry)) return;
  if (keyBag_) return tellDigest(*entry, encipherFile_(localPath, entry->key, placeFor_(*entry)));
  const auto copied = PDXFiles::copy(localPath, placeFor_(*entry));
  if (!copied) fail_(localPath + ": " + copied.why);
}

void PDXSampleBackupFolder::takeFile(const std::string& domain, const std::string& relativePath,
                                     const std::string& localPath) {
  if (keyBag_) {
    addFileFrom(domain, relativePath, localPath);
    PDXFiles::remove(localPath);
    return;
  }
  PDXSampleEntry* entry = addLocal_(domain, relativePath, localPath);
  if (entry == nullptr || leavesOut_(*entry)) return;
  std::error_code error;
  std::filesystem::rename(localPath, placeFor_(*entry), error);
  if (error) fail_(localPath + ": " + error.message());
}

std::string PDXSampleBackupFolder::workFolder() {
  std::string folder = PDXFiles::joined(options_.folder, "building");
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
  writeManifest_();
  PDXFiles::removeTree(PDXFiles::joined(options_.folder, "building"));
  if (!error_.empty()) return false;
  writeList_("Manifest.plist", PDXSampleDeviceLists::manifest(device_, newLock_()).binary());
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
  return PDXFiles::joined(options_.folder, isLegacy_() ? id : id.substr(0, 2) + "/" + id);
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
  entry.mode = modeOf(kind);
  entry.inode = kFirstInode + static_cast<std::int64_t>(entries_.size());
  entry.attributes = PDXSampleExtendedAttributes::of(entry);
  if (kind != PDXSampleEntryKind::file) return &entry;
  entry.protectionClass = protectionClassFor(fileId(domain, relativePath));
  if (keyBag_) {
    entry.key = keyBag_->newKey();
    entry.encryptionKey = keyBag_->record(entry.protectionClass, entry.key);
  }
  return &entry;
}

PDXSampleEntry* PDXSampleBackupFolder::addLocal_(const std::string& domain, const std::string& relativePath,
                                                 const std::string& localPath) {
  const auto size = PDXFiles::sizeOf(localPath);
  if (!size) {
    fail_(localPath + " cannot be read");
    return nullptr;
  }
  PDXSampleEntry* entry = add_(PDXSampleEntryKind::file, domain, relativePath);
  if (entry != nullptr) entry->size = static_cast<std::int64_t>(*size);
  return entry;
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

PDXBytes PDXSampleBackupFolder::encipher_(std::istream& plain, const PDXSampleKey& key,
                                          const std::string& path) {
  PDXAtomicFile file(path);
  PDXBytes digest = PDXSampleCipher::encipher(plain, key, file);
  if (!file.commit()) fail_(path + ": " + file.error());
  return digest;
}

PDXBytes PDXSampleBackupFolder::encipherFile_(const std::string& localPath, const PDXSampleKey& key,
                                              const std::string& path) {
  std::ifstream plain(localPath, std::ios::binary);
  PDXBytes digest = encipher_(plain, key, path);
  if (!plain.is_open() || plain.bad()) fail_(localPath + " cannot be read");
  return digest;
}

void PDXSampleBackupFolder::writeManifest_() {
  const std::string name = isLegacy_() ? "Manifest.mbdb" : "Manifest.db";
  const std::string place = PDXFiles::joined(options_.folder, name);
  const std::string path = enciphersManifest_() ? PDXFiles::joined(workFolder(), name) : place;
  const std::string why = writeManifestTo_(path);
  if (!why.empty()) return fail_(name + ": " + why);
  if (enciphersManifest_()) encipherFile_(path, manifestKey_, place);
}

std::string PDXSampleBackupFolder::writeManifestTo_(const std::string& path) {
  if (isLegacy_()) return PDXSampleLegacyManifest::write(path, entries_);
  if (!options_.enciphersAttributes) return PDXSampleManifestDatabase::write(path, entries_);
  return PDXSampleManifestDatabase::write(
      path, entries_, PDXSampleManifestDatabase::Secret{*options_.password, keyBag_->newBytes(kSaltSize)});
}

PDXSampleLock PDXSampleBackupFolder::newLock_() {
  if (!keyBag_) return {.isEncrypted = false, .keyBag = PDXSampleKeyBag::header(device_.identifier)};
  const bool hasOneStage = options_.singleStage || isLegacy_();
  const auto firstRounds = hasOneStage ? 0 : static_cast<std::uint32_t>(options_.rounds);
  PDXSampleLock lock = {.isEncrypted = true, .keyBag = keyBag_->lockedWith(*options_.password, firstRounds)};
  if (enciphersManifest_()) {
    lock.manifestKey = keyBag_->record(PDXSampleProtection::kNone, manifestKey_);
  }
  return lock;
}

void PDXSampleBackupFolder::writeList_(const std::string& name, const PDXBytes& bytes) {
  if (error_.empty()) write_(PDXFiles::joined(options_.folder, name), textOf(bytes));
}

void PDXSampleBackupFolder::fail_(const std::string& why) {
  if (error_.empty()) error_ = why;
}

void PDXSampleBackupFolder::discard_() const {
  for (const std::string& name : PDXFiles::list(options_.folder)) {
    const std::string path = PDXFiles::joined(options_.folder, name);
    if (PDXFiles::isFolder(path)) {
      PDXFiles::removeTree(path);
    } else {
      PDXFiles::remove(path);
    }
  }
}
