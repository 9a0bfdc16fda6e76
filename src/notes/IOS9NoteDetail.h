#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "notes/NoteContent.h"
#include "platform/Date.h"
#include "platform/Log.h"

/// An account that keeps notes.
struct PDXNoteAccountDetail {
  std::int64_t accountId = 0;  ///< The store's row.
  std::string name;            ///< E.g. "On My iPhone".
  std::string identifier;      ///< The folder of its files, e.g. "LocalAccount"; "" in the older store.
};

/// A folder of an account.
struct PDXNoteFolderDetail {
  std::int64_t folderId = 0;  ///< The store's row; 0 in the older store.
  std::string name;
  std::string identifier;
};

/// What became of a note's body.
enum class PDXNoteBody {
  read,
  absent,     ///< The store holds none: it was never downloaded to the device.
  unreadable  ///< It is damaged; the log says how.
};

/// A file that belongs to a note and has no place on its page.
struct PDXNoteExtraFile {
  std::string path;  ///< Local copy.
  std::string name;  ///< As the owner knows it, e.g. "bitcoin.pdf"; from the store, so not yet a safe name.
};

/// One note of the newer store, or one of another account's in the older.
struct PDXIOS9NoteDetail {
  /// The store's row. Source: Z_PK, in the older store ZBODY.
  std::int64_t noteId = 0;

  std::string title;    ///< Source: ZTITLE1, in the older store ZTITLE.
  std::string summary;  ///< The text, a line for each piece; "" when there is no body.

  /// Missing when the store does not say. The fraction of the second is dropped.
  std::optional<PDXDate> creationDate;
  std::optional<PDXDate> lastModified;

  std::optional<PDXNoteAccountDetail> accountDetail;
  std::optional<PDXNoteFolderDetail> folderDetail;

  /// Empty until `extractMediaForNote`; there from the start for notes of the older store.
  std::vector<PDXNoteContent> content;

  /// Whether the attachments were copied out.
  bool isOfOlderStore = false;  ///< Whether another account's note stayed there.
  bool mediaExtracted = false;

  PDXNoteBody body = PDXNoteBody::absent;

  // What `extractMediaForNote` found besides, for a report.
  std::vector<PDXNoteExtraFile> extraFiles;
  std::vector<PDXProblem> missing;     ///< Attachments that the backup does not hold.
  std::vector<PDXProblem> unreadable;  ///< Attachments that it holds and that could not be read.
  std::vector<PDXProblem> notTurned;   ///< Pictures that were copied as they lay.
  std::vector<PDXProblem> unreached;   ///< Parts of the note that its page does not show.

  /// Every piece's text with "\n" behind it, without white space at both ends of the whole.
  std::string plainTextRepresentation() const;

  /// The note as a page that shows the local files.
  std::string htmlRepresentationWithTitle(const std::optional<std::string>& pageTitle) const;

  /// The text of the page that `htmlExportToPathTitle` writes, which copies the attachments beside it.
  /// @param why  receives the reason when one cannot be copied; may be null.
  std::string pageForPathTitle(const std::string& path, const std::optional<std::string>& pageTitle,
                               std::string* why = nullptr, const std::stop_token& stop = {}) const;

  /// The note as a page in a file, with its attachments in a folder beside it.
  /// @param path  ends in the page's extension; its folder must exist.
  /// @return nothing on success, else why the page or an attachment could not be written. A page is not
  ///         written when `stop` came in between.
  std::optional<std::string> htmlExportToPathTitle(const std::string& path,
                                                   const std::optional<std::string>& pageTitle,
                                                   const std::stop_token& stop = {}) const;
};
