#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "notes/IOS9NoteDetail.h"
#include "notes/NoteStoreColumns.h"
#include "notes/NoteStoreKeyData.h"
#include "platform/Bytes.h"
#include "platform/Sqlite.h"

class PDXDeviceData;
class PDXNoteFiles;
class PDXNoteMediaExtraction;

/// Reads the newer note store, and the notes of other accounts that stayed in the older one.
///
/// Source: local copies of "NoteStore.sqlite" and, when there is one, of "Library/Notes/notes.sqlite".
/// Errors: none leave the reader. A store that is missing or is none gives no notes, a body that cannot be
/// read a note without text; the log says so, once for each.
/// Threads: one reader, one thread; see `forAnotherThread`.
class PDXIOS9NoteDatabaseReader {
 public:
  /// @param notesDbPath  the newer store; need not exist.
  /// @param legacyPath   the older store; may be empty.
  PDXIOS9NoteDatabaseReader(std::string notesDbPath, std::string legacyPath);
  ~PDXIOS9NoteDatabaseReader();
  PDXIOS9NoteDatabaseReader(const PDXIOS9NoteDatabaseReader&) = delete;
  PDXIOS9NoteDatabaseReader& operator=(const PDXIOS9NoteDatabaseReader&) = delete;

  /// Where attachments are looked for. It must outlive the reader.
  void setDeviceBackup(PDXDeviceData* deviceBackup) { deviceBackup_ = deviceBackup; }

  /// Ends the copying of attachments, and with it the work on a note.
  void setStop(std::stop_token stop) { stop_ = std::move(stop); }

  /// Every note that is not locked, marked for deletion or without a title, with its text as summary: by the
  /// row of the account (0 without one), then by the name of the folder, then by title. Other accounts' notes
  /// of the older store are among them.
  std::vector<PDXIOS9NoteDetail> getAllNotes();

  /// The same, unsorted: the newer store's rows, then the older's.
  std::vector<PDXIOS9NoteDetail> getNotesArray();

  /// How many notes of the newer store the last list had.
  std::size_t newerNoteCount() const { return newerNoteCount_; }

  /// Fills in the note's pieces and copies its attachments out of the backup.
  void extractMediaForNote(PDXIOS9NoteDetail& note);

  /// A reader of the same stores that shares the list of the backup's files, so that it is read once. It must
  /// not be asked for notes.
  /// @param attachmentFolder  where it copies attachments to.
  std::unique_ptr<PDXIOS9NoteDatabaseReader> forAnotherThread(const std::string& attachmentFolder) const;

  /// Lists the files of the notes' domain now rather than with the first attachment, for `forAnotherThread`.
  void getFilesInNotesDomain();

  /// @param seconds  whole seconds since 2001-01-01 00:00:00 UTC; may be negative.
  static PDXDate dateFromDatabaseLong(std::int64_t seconds);

 private:
  using Accounts = std::unordered_map<std::int64_t, PDXNoteAccountDetail>;
  using Folders = std::unordered_map<std::int64_t, PDXNoteFolderDetail>;

  bool connectToDataSource_();
  void connectToFiles_();
  void addMissingIndex_(const char* table, const char* column) const;
  void readObjects_(const std::string& columns, const std::string& condition, const std::string& what,
                    const std::function<void(const PDXSQLiteStatement&)>& use) const;
  Accounts getDictionaryOfAccounts_() const;
  std::vector<PDXIOS9NoteDetail> loadNotesAndLinkWithAccounts_(const Accounts& accounts) const;
  Folders getDictionaryOfFolders_() const;
  void linkNotesWithFolders_(std::vector<PDXIOS9NoteDetail>& notes, const Folders& folders) const;
  void loadNoteSummaries_(std::vector<PDXIOS9NoteDetail>& notes);
  std::optional<PDXBytes> getBlobDataForNote_(std::int64_t noteId);
  std::vector<PDXIOS9NoteDetail> getNonAppleAccountNotes_() const;

  std::string notesDbPath_;
  std::string legacyPath_;
  std::string attachmentFolder_;
  std::stop_token stop_;
  PDXDeviceData* deviceBackup_ = nullptr;
  std::shared_ptr<const PDXNoteFiles> files_;
  std::size_t newerNoteCount_ = 0;
  bool isForAnotherThread_ = false;  ///< Then what is wrong with the store was said already.

  std::optional<PDXSQLiteDatabase> store_;  ///< Nothing until it was connected.
  PDXNoteStoreKeyData keys_;
  std::optional<PDXNoteStoreColumns> columns_;
  std::optional<PDXSQLiteStatement> blobs_;
  bool wasInterrupted_ = false;  ///< Whether a stop request ended the reading of the last body.
  std::unique_ptr<PDXNoteMediaExtraction> extraction_;
};
