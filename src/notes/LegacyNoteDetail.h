#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "notes/IOS9NoteDetail.h"
#include "platform/Date.h"

/// A note of the older store, its body already plain text.
struct PDXLegacyNoteDetail {
  /// 0 in the oldest layout. Source: ZNOTE.ZINTEGERID.
  std::int64_t noteId = 0;

  std::string title;    ///< "" when it has none. Source: ZNOTE.ZTITLE or Note.title.
  std::string summary;  ///< The beginning of the text, as the device keeps it; "" in the oldest layout.

  /// No markup; lines end in "\r\n". Source: ZNOTEBODY.ZCONTENT or note_bodies.data, as HTML.
  std::string text;

  /// Missing in the oldest layout, of which no dates are read, and when the store does not say.
  /// Source: ZNOTE, seconds since 2001 in UTC; the fraction is dropped.
  std::optional<PDXDate> creationDate;
  std::optional<PDXDate> lastModified;

  // Never filled: the store does not tell them apart for the device's own notes.
  std::optional<PDXNoteAccountDetail> accountDetail;
  std::optional<PDXNoteFolderDetail> folderDetail;

  /// Parts of the note that its text does not show, for a report.
  std::vector<PDXProblem> unreached;

  /// The text without what is left of markup, and without white space at both ends.
  std::string plainTextRepresentation() const;

  /// The note as a page; without a title it is called "Note".
  std::string htmlRepresentationWithTitle(const std::optional<std::string>& pageTitle) const;

  /// Writes that page. Nothing on success, else why it could not be written.
  std::optional<std::string> htmlExportToPathTitle(const std::string& path,
                                                   const std::optional<std::string>& pageTitle) const;
};
