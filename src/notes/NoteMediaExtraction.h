#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "notes/IOS9NoteDetail.h"
#include "notes/NoteFiles.h"
#include "notes/NoteStoreColumns.h"
#include "platform/Sqlite.h"

class PDXDeviceData;

/// Copies the attachments of notes out of a backup, pictures upright and in a format that every browser
/// shows.
///
/// Source: the attachments' and files' rows of ZICCLOUDSYNCINGOBJECT, and the files of the notes' domain.
/// Errors: none leave it. What is missing or cannot be read is named in the note, and its place stays empty.
/// Threads: one each, with a database connection and a folder of its own.
class PDXNoteMediaExtraction {
 public:
  /// @param store, deviceData, files  must outlive the object.
  /// @param folder  where the copies go; made when it is missing. A copy that is there already is used.
  /// @param stop    ends a copy; what is missing because of it is not named in the note.
  PDXNoteMediaExtraction(const PDXSQLiteDatabase& store, const PDXNoteStoreColumns& columns,
                         PDXDeviceData& deviceData, const PDXNoteFiles& files, std::string folder,
                         std::stop_token stop = {});

  /// Copies the attachments of all pieces.
  void getMediaForNote(PDXIOS9NoteDetail& note);

  /// Finds what the note's own record and the store hold of the note and its pieces do not show, names it in
  /// the note, and copies the files that belong to it.
  /// @param body  the unpacked body; empty when it cannot be read.
  void getRemainderForNote(PDXIOS9NoteDetail& note, std::span<const std::uint8_t> body);

  /// The path of the largest preview; "" when there is none. Sizes are told by what follows the last "-" of a
  /// name, e.g. "…-100x50.png"; the first of equal ones wins, and the first path when none tells a size.
  static std::string parsePathsForLargestPreviewSize(std::vector<std::string> paths);

  /// `fileName` with the type as its extension, unless it ends in it already, in whatever case.
  static std::string appendFileTypeToFileName(const std::string& fileType, const std::string& fileName);

 private:
  struct Attachment;
  struct MediaFile;
  struct Copied;

  void getMediaDataForNoteContent_(PDXMediaNoteContent& piece);
  void extractMediaContentWithAccountId_(PDXMediaNoteContent& piece, const std::string& accountId);
  void extractSketchContent_(PDXMediaNoteContent& piece);
  void extractDrawingContent_(PDXMediaNoteContent& piece);
  void extractVideoContentWithAccountId_(PDXMediaNoteContent& piece, const std::string& accountId);
  void extractMediaPreview_(PDXMediaNoteContent& piece);
  Copied processImageFileWithIdentifierSourceFileTypeOrientation_(const std::string& name,
                                                                  const std::string& source,
                                                                  const std::string& fileType,
                                                                  int orientation);
  Copied processMediaFileWithIdentifierSourceFileType_(const std::string& name, const std::string& source,
                                                       const std::string& fileType);

  MediaFile mediaFile_(std::int64_t mediaId);
  std::string pathOfMedia_(const MediaFile& file, const std::string& accountId) const;
  std::optional<Attachment> attachmentWith_(const std::string& identifier);
  static Attachment attachmentOf_(const PDXSQLiteStatement& rows);
  static std::vector<Attachment> attachmentsWith_(PDXSQLiteStatement& rows, std::int64_t owner);
  bool addExtraFile_(const Attachment& attachment, const std::string& accountId);
  void addUnreached_(const Attachment& attachment, const std::string& accountId);
  std::string localPath_(const std::string& name) const;
  bool copy_(const std::string& source, const std::string& destination);

  PDXDeviceData& deviceData_;
  const PDXNoteFiles& files_;
  std::string folder_;
  std::stop_token stop_;
  PDXSQLiteStatement mediaData_;
  PDXSQLiteStatement mediaRow_;
  PDXSQLiteStatement attachmentRow_;
  PDXSQLiteStatement parts_;           ///< Of an attachment.
  PDXSQLiteStatement ofNote_;          ///< All attachments of a note.
  PDXIOS9NoteDetail* note_ = nullptr;  ///< The one that is worked on.
};
