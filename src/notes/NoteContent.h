#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>

#include "platform/Files.h"

/// What a piece of a note is.
namespace PDXNoteContentFormat {
enum : std::int32_t {
  Text = 1,
  Media = 2,  ///< An image or a file.
  Sketch = 3,
  Drawing = 4,
  Video = 5,
  Place = 6,  ///< The place of an attachment whose kind is not known.
};
}  // namespace PDXNoteContentFormat

/// One line of text.
struct PDXTextNoteContent {
  std::int32_t contentFormat = PDXNoteContentFormat::Text;

  /// Without line break; may be empty.
  std::string textData;

  /// The line as it is.
  const std::string& plainTextRepresentation() const { return textData; }

  /// "<" and ">" as entities, and "&" as it is; "<br/>" for an empty line.
  std::string htmlRepresentation() const;
};

/// What the store says of an attachment. Source: ZICCLOUDSYNCINGOBJECT, the attachment's row.
struct PDXNoteMediaData {
  std::int64_t mediaId = 0;      ///< The row of its file; 0 without one. Source: ZMEDIA.
  std::int32_t orientation = 0;  ///< 1 to 8, as EXIF counts them, or 0. Source: ZORIENTATION.
  double height = 0;             ///< In points. Source: ZSIZEHEIGHT.
  double width = 0;              ///< In points. Source: ZSIZEWIDTH.
};

/// The place of an attachment, and its file once that was copied out of the backup.
struct PDXMediaNoteContent {
  std::int32_t contentFormat = PDXNoteContentFormat::Place;

  /// 36 characters; "" for a place without a reference, and where the reference is no text.
  std::string identifier;

  /// The name of its file beside a page, without extension: "1" for the note's first attachment.
  std::string exportName;

  std::string fileName;  ///< Local path of the copy; "" when there is none.
  std::string fileType;  ///< Its extension, without dot.

  /// Missing until the file was looked for, and when the store does not know the attachment.
  std::optional<PDXNoteMediaData> mediaData;

  std::string previewPath;  ///< Local path of a video's picture; "" when there is none.
  std::string previewType;  ///< Its extension, without dot.

  /// For a page that shows the local files: a video with its picture, an image, or "<br/>" without a file.
  std::string htmlRepresentation() const;

  /// For a page in a file: copies the attachment into the folder beside it, which is made when it is missing,
  /// unless a file of its name is there. "<br/>" without a file, or when it cannot be copied.
  /// @param pagePath  where the page will be, e.g. ".../Shopping.html".
  /// @param why       receives the reason when it cannot be copied; may be null.
  std::string htmlExportAtPath(const std::string& pagePath, std::string* why = nullptr,
                               const std::stop_token& stop = {}) const;

  /// Copies the attachment to where `htmlExportAtPath` puts it, for a note that has no page; nothing to do
  /// without a file.
  PDXFiles::CopyResult copyBesidePage(const std::string& pagePath, const std::stop_token& stop = {}) const;

  /// Whether there is a file that a page can show.
  bool hasFile() const { return !fileName.empty() && contentFormat != PDXNoteContentFormat::Place; }

  /// Where `htmlExportAtPath` and `copyBesidePage` copy to: a place that no file of somebody else's has.
  std::string exportPathForPage(const std::string& pagePath) const;

  /// The folder for the attachments of a page: its path with " - Attachments" for the extension.
  static std::string attachmentFolderForPage(const std::string& pagePath);
};

/// One piece of a note, in the order of the text.
using PDXNoteContent = std::variant<PDXTextNoteContent, PDXMediaNoteContent>;

/// One attachment that the attributes of a note's text refer to.
struct PDXNoteFormatDetail {
  std::int32_t formatType = 0;  ///< `PDXNoteContentFormat::Media` to `Video`.
  std::string identifier;       ///< 36 characters; "" when they are no text.
};
