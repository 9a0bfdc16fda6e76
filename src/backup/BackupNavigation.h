#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "backup/BackupFile.h"

/// Content kinds by the number of their main file. The numbers are fixed; 3 and 7 are unassigned.
namespace PDXFeature {
enum : int {
  AddressBook = 0,
  Calendar = 1,
  LegacyNotes = 2,
  NoteStore = 4,
  Messages = 5,
  Voicemail = 6,
  AddressBookImages = 8,
  CallHistoryLegacy = 9,
  SafariBookmarks = 10,
  SafariHistory = 11,
  MessagesPreferences = 12,
  WhatsAppChats = 13,
  WhatsAppContacts = 14,
  CallHistoryStore = 15,
  BlockedNumbers = 16,
  CalendarSecondary = 17,  ///< A second key for the calendar's file.
  WhatsAppContactsV2 = 18,
  ChromeBookmarks = 19,
  ChromeHistory = 20,
};
}  // namespace PDXFeature

/// Answers which files a backup holds and under which identifiers. This base knows the features' main files
/// only, whose identifiers are fixed; one subclass reads each generation of the manifest.
class PDXBackupNavigation {
 public:
  PDXBackupNavigation();
  virtual ~PDXBackupNavigation() = default;
  PDXBackupNavigation(const PDXBackupNavigation&) = delete;
  PDXBackupNavigation& operator=(const PDXBackupNavigation&) = delete;

  /// The feature's main file, its "-wal" and its "-shm"; nothing for a number that is not assigned. The
  /// siblings' identifiers are the SHA-1 of their bare path, without the domain.
  virtual std::optional<std::vector<PDXBackupFile>> GetFilesByFeatureType(int feature);

  /// The file's record, without attributes; nothing when the manifest does not list it.
  virtual std::optional<PDXBackupFile> GetFileByRelativePathInDomain(const std::string& path,
                                                                     const std::string& domain);

  /// The same for any text: names with a quote are found too. May be called from several threads at once.
  virtual std::optional<PDXBackupFile> findFile(const std::string& path, const std::string& domain);

  /// Nothing from all of these when the manifest cannot be read, or the navigator has none.
  virtual std::optional<std::vector<PDXBackupFile>> GetFilesByDomain(const std::string& domain);
  virtual std::optional<std::vector<PDXBackupFile>> GetAllFiles();
  virtual std::optional<std::vector<PDXBackupFile>> regularFiles();

  /// Every regular file that the manifest lists, stored or not, with key and size where it has them.
  virtual std::optional<std::vector<PDXBackupFile>> listedFiles();

  virtual std::optional<std::vector<std::string>> GetAllDomainNames();
  virtual std::optional<std::vector<PDXBackupFile>> GetSubFolderContentInDomain(
      const std::optional<std::string>& folder, const std::string& domain);

  /// A file's wrapped key; empty where the manifest keeps none.
  virtual PDXBytes GetEncryptionKeyForFileId(const std::string& fileId);

 private:
  static PDXBackupFile createSiblingFileFromParentFileWithAppendix_(const PDXBackupFile& parent,
                                                                    const std::string& appendix);

  std::map<int, PDXBackupFile> featureKeyFiles_;
};

/// The fallback for a backup whose "Status.plist" does not tell its generation: only lookups by path and by
/// feature work. It hashes the path followed directly by the domain, unlike the manifests' own rule.
class PDXBackupNavigationFileHash final : public PDXBackupNavigation {
 public:
  std::optional<PDXBackupFile> GetFileByRelativePathInDomain(const std::string& path,
                                                             const std::string& domain) override;
};
