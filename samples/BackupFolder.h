#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Bytes.h"
#include "samples/BackupEntry.h"
#include "samples/Device.h"
#include "samples/DeviceLists.h"
#include "samples/KeyBag.h"
#include "samples/SampleOptions.h"

/// Lays down a backup, plain or encrypted: "Info.plist", "Status.plist", "Manifest.plist", the manifest, and
/// the stored files: beside them in the legacy form, else in sub-folders named by the first two characters of
/// their identifier.
///
/// Content is added one file at a time; `finish` writes what makes a backup of the folder. Until then it has
/// no property lists, and a folder that is never finished is emptied again.
/// Errors: the first one is kept (`error`), and everything after it does nothing.
class PDXSampleBackupFolder {
 public:
  /// @param folder  the backup itself, e.g. ".../Backup/00008120-…"; made when missing. It must be empty.
  explicit PDXSampleBackupFolder(std::string folder, PDXSampleDevice device = {});

  /// @param options  those that say nothing of the content.
  /// @param device   one whose versions are those of the generation.
  PDXSampleBackupFolder(const PDXSampleOptions& options, PDXSampleDevice device);

  /// The same with a device of that generation.
  explicit PDXSampleBackupFolder(const PDXSampleOptions& options);
  ~PDXSampleBackupFolder();
  PDXSampleBackupFolder(const PDXSampleBackupFolder&) = delete;
  PDXSampleBackupFolder& operator=(const PDXSampleBackupFolder&) = delete;

  /// Stores a file; the legacy form leaves empty ones out. A domain and path that was added before is an
  /// error.
  /// @param domain        e.g. "HomeDomain".
  /// @param relativePath  UTF-8, below the domain's root, e.g. "Library/SMS/sms.db".
  /// @param lastModified  nothing: a day before the backup.
  void addFile(const std::string& domain, const std::string& relativePath, std::string_view bytes,
               std::optional<PDXDate> lastModified = {});
  void addFile(const std::string& domain, const std::string& relativePath, const PDXBytes& bytes,
               std::optional<PDXDate> lastModified = {});

  /// Stores a copy of a file on the disk.
  void addFileFrom(const std::string& domain, const std::string& relativePath, const std::string& localPath);

  /// Stores a file that was built in `workFolder`; it is gone from there afterwards. The cheap way for a
  /// large one.
  void takeFile(const std::string& domain, const std::string& relativePath, const std::string& localPath);

  /// A folder on the disk, beside the stored files, in which to build what `takeFile` then stores. Made by
  /// this call, and removed by `finish`.
  std::string workFolder();

  /// Entries that have no stored file. The path of a domain's root is "".
  void addFolder(const std::string& domain, const std::string& relativePath);
  void addLink(const std::string& domain, const std::string& relativePath, const std::string& target);

  /// A file that the manifest lists and the folder does not hold.
  /// @param size  what the manifest says of its size, in bytes.
  void addMissingFile(const std::string& domain, const std::string& relativePath, std::int64_t size = 0);

  /// Adds the folders above everything added so far, as a device lists them, where they are not there yet.
  void addFoldersAbove();

  /// Writes the manifest and the property lists. False when anything has failed.
  [[nodiscard]] bool finish();

  /// One line that says what failed first; empty when all went well so far.
  const std::string& error() const { return error_; }

  /// The identifier under which a backup keeps a file: 40 lower-case hexadecimal characters.
  static std::string fileId(const std::string& domain, const std::string& relativePath);

  /// Where the folder keeps a file, stored or not.
  std::string storedPath(const std::string& domain, const std::string& relativePath) const;

 private:
  PDXSampleEntry* add_(PDXSampleEntryKind kind, const std::string& domain, const std::string& relativePath);
  PDXSampleEntry* addLocal_(const std::string& domain, const std::string& relativePath,
                            const std::string& localPath);
  std::string placeFor_(const PDXSampleEntry& entry);
  void write_(const std::string& path, std::string_view bytes);
  PDXBytes encipher_(std::istream& plain, const PDXSampleKey& key, const std::string& path);
  PDXBytes encipherFile_(const std::string& localPath, const PDXSampleKey& key, const std::string& path);
  void writeManifest_();
  PDXSampleLock newLock_();
  std::string writeManifestTo_(const std::string& path);
  bool isLegacy_() const { return options_.generation == PDXSampleOptions::Generation::legacy; }
  bool enciphersManifest_() const { return keyBag_ && !options_.plainManifest && !isLegacy_(); }
  bool leavesOut_(const PDXSampleEntry& entry) const { return isLegacy_() && entry.size == 0; }
  void writeList_(const std::string& name, const PDXBytes& bytes);
  void fail_(const std::string& why);
  void discard_() const;

  PDXSampleOptions options_;
  PDXSampleDevice device_;
  std::optional<PDXSampleKeyBag> keyBag_;  ///< Of an encrypted backup.
  PDXSampleKey manifestKey_ = {};
  std::vector<PDXSampleEntry> entries_;
  std::set<std::pair<std::string, std::string>> paths_;
  std::string error_;
  bool isOurs_ = false;
  bool isFinished_ = false;
};
