#include "notes/NoteMediaExtraction.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "backup/DeviceData.h"
#include "notes/NoteBodyRecord.h"
#include "platform/Crypto.h"
#include "platform/FileName.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/UprightPicture.h"

namespace Format = PDXNoteContentFormat;

/// An attachment's row.
struct PDXNoteMediaExtraction::Attachment {
  std::int64_t row = 0;
  std::string identifier;
  std::int64_t mediaId = 0;
  std::string name;  ///< Its title, web address or text; "" when it has none.
  std::string type;  ///< A type identifier.
};

/// The row of an attachment's file.
struct PDXNoteMediaExtraction::MediaFile {
  std::string identifier;
  std::string name;
  std::string generation;  ///< The folder between identifier and name; "" in older stores.
};

/// A file that was copied out.
struct PDXNoteMediaExtraction::Copied {
  std::string path;  ///< "" when it was not.
  std::string type;  ///< Its extension, without dot.
};

namespace {

/// What follows the last "."; "" without one.
std::string typeOf(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string::npos ? "" : name.substr(dot + 1);
}

bool isPng(const std::string& fileType) {
  return PDXText::lowercased(fileType).find("png") != std::string::npos;
}

/// Nothing when what follows the last "-" is not two numbers with an "x" between.
std::optional<std::int64_t> areaOf(const std::string& path) {
  const std::string lower = PDXText::lowercased(path);
  std::string_view name = PDXText::trimmedOf(lower, ".pngj");
  name = name.substr(name.rfind('-') + 1);
  const std::size_t x = name.find('x');
  if (x == std::string_view::npos || name.find('x', x + 1) != std::string_view::npos) return std::nullopt;
  return std::int64_t{PDXText::integerValue(name.substr(0, x))} * PDXText::integerValue(name.substr(x + 1));
}

/// Identifiers are put into statements as they stand, so one with a quote finds nothing.
bool canBeLookedUp(const std::string& identifier) {
  return !identifier.empty() && identifier.find('\'') == std::string::npos;
}

std::string mediaDataQuery(const PDXNoteStoreColumns& columns) {
  return "SELECT ZMEDIA, " + columns.columnOrNull("ZORIENTATION") + ", " +
         columns.columnOrNull("ZSIZEHEIGHT") + ", " + columns.columnOrNull("ZSIZEWIDTH") +
         " FROM ZICCLOUDSYNCINGOBJECT WHERE ZIDENTIFIER == ?";
}

std::string mediaRowQuery(const PDXNoteStoreColumns& columns) {
  return "SELECT ZIDENTIFIER, ZFILENAME, " + columns.columnOrNull("ZGENERATION1") +
         " FROM ZICCLOUDSYNCINGOBJECT WHERE Z_PK == ?";
}

/// @param column     what an attachment is found by; none is found where the store does not have it.
/// @param condition  what else it fulfils.
std::string attachmentQuery(const PDXNoteStoreColumns& columns, const char* column,
                            const std::string& condition = "1") {
  const bool hasColumn = columns.columnOrNull(column) == column;
  return "SELECT Z_PK, ZIDENTIFIER, " + columns.columnOrNull("ZMEDIA") + ", COALESCE(" +
         columns.columnOrNull("ZURLSTRING") + ", " + columns.columnOrNull("ZALTTEXT") + ", " +
         columns.columnOrNull("ZTITLE") + "), " + columns.columnOrNull("ZTYPEUTI") +
         " FROM ZICCLOUDSYNCINGOBJECT WHERE " +
         (hasColumn ? column + std::string(" == ?") : "?1 IS NULL AND 0") + " AND " + condition;
}

/// What belongs to a note and is no part of another attachment.
std::string ofNoteQuery(const PDXNoteStoreColumns& columns) {
  return attachmentQuery(
      columns, "ZNOTE",
      columns.isKept + " AND " + columns.columnOrNull("ZPARENTATTACHMENT") + " IS NULL ORDER BY Z_PK");
}

/// The text as the pieces should have it: a first byte that counts as part of the length is none of it.
std::string_view expectedText(std::string_view text) {
  if (!text.empty() && text.size() < 128 && static_cast<unsigned char>(text[0]) <= 16) text.remove_prefix(1);
  return text;
}

std::string_view takeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

/// Whether the piece shows the line. What else the scan took for its beginning does no harm.
bool shows(const PDXNoteContent& piece, std::string_view line) {
  const auto* text = std::get_if<PDXTextNoteContent>(&piece);
  return text == nullptr || text->textData.ends_with(line);
}

/// The lines of a body's text that no piece shows.
std::vector<std::string> linesNotShown(std::string_view text, const std::vector<PDXNoteContent>& content) {
  std::vector<std::string> lines;
  text = expectedText(text);
  for (std::size_t i = 0; !text.empty(); ++i) {
    const std::string_view line = takeLine(text);
    if (i >= content.size() ? !line.empty() : !shows(content[i], line))
      lines.push_back(PDXText::valid(std::string(line)));
  }
  return lines;
}

/// The attachments that stand on the page, and those whose files are known to be missing.
std::unordered_set<std::string> shownIn(const std::vector<PDXNoteContent>& content) {
  std::unordered_set<std::string> shown;
  for (const PDXNoteContent& each : content) {
    const auto* piece = std::get_if<PDXMediaNoteContent>(&each);
    if (piece == nullptr) continue;
    const bool hasOwnFile = piece->contentFormat == Format::Media || piece->contentFormat == Format::Video;
    const bool hasMedia = piece->mediaData && piece->mediaData->mediaId != 0;
    if (!piece->fileName.empty() || (hasMedia && hasOwnFile)) shown.insert(piece->identifier);
  }
  return shown;
}

std::string accountIdOf(const PDXIOS9NoteDetail& note) {
  return note.accountDetail ? note.accountDetail->identifier : "";
}

}  // namespace

PDXNoteMediaExtraction::PDXNoteMediaExtraction(const PDXSQLiteDatabase& store,
                                               const PDXNoteStoreColumns& columns, PDXDeviceData& deviceData,
                                               const PDXNoteFiles& files, std::string folder,
                                               std::stop_token stop)
    : deviceData_(deviceData),
      files_(files),
      folder_(std::move(folder)),
      stop_(std::move(stop)),
      mediaData_(store.prepare(mediaDataQuery(columns))),
      mediaRow_(store.prepare(mediaRowQuery(columns))),
      attachmentRow_(store.prepare(attachmentQuery(columns, "ZIDENTIFIER"))),
      parts_(store.prepare(attachmentQuery(columns, "ZPARENTATTACHMENT", columns.isKept))),
      ofNote_(store.prepare(ofNoteQuery(columns))) {}

void PDXNoteMediaExtraction::getMediaForNote(PDXIOS9NoteDetail& note) {
  note_ = &note;
  const std::string accountId = accountIdOf(note);
  for (PDXNoteContent& content : note.content) {
    auto* piece = std::get_if<PDXMediaNoteContent>(&content);
    if (piece == nullptr || piece->contentFormat == Format::Place) continue;
    getMediaDataForNoteContent_(*piece);
    const bool hasMedia = piece->mediaData && piece->mediaData->mediaId != 0;
    if (piece->contentFormat == Format::Media && hasMedia)
      extractMediaContentWithAccountId_(*piece, accountId);
    if (piece->contentFormat == Format::Sketch) extractSketchContent_(*piece);
    if (piece->contentFormat == Format::Drawing) extractDrawingContent_(*piece);
    if (piece->contentFormat == Format::Video) extractVideoContentWithAccountId_(*piece, accountId);
  }
}

void PDXNoteMediaExtraction::getMediaDataForNoteContent_(PDXMediaNoteContent& piece) {
  if (!canBeLookedUp(piece.identifier)) return;
  mediaData_.bind(1, std::string_view(piece.identifier));
  if (mediaData_.step()) {
    const std::int64_t orientation = mediaData_.int64(1);
    piece.mediaData = {
        .mediaId = mediaData_.int64(0),
        .orientation = orientation >= 1 && orientation <= 8 ? static_cast<int>(orientation) : 0,
        .height = mediaData_.real(2),
        .width = mediaData_.real(3)};
  }
  mediaData_.reset();
}

PDXNoteMediaExtraction::MediaFile PDXNoteMediaExtraction::mediaFile_(std::int64_t mediaId) {
  MediaFile file;
  mediaRow_.bind(1, mediaId);
  if (mediaRow_.step()) file = {mediaRow_.text(0), mediaRow_.text(1), mediaRow_.text(2)};
  mediaRow_.reset();
  return file;
}

std::string PDXNoteMediaExtraction::pathOfMedia_(const MediaFile& file, const std::string& accountId) const {
  const std::string inMedia = "Media/" + file.identifier + "/";
  const std::string inAccount = "Accounts/" + accountId + "/" + inMedia;
  for (const std::string& path :
       {inMedia + file.name, inAccount + file.name, inAccount + file.generation + "/" + file.name}) {
    if (files_.holds(path)) return path;
  }
  // The account may not be known, and the manifest may spell a name's accents in another form. The folder of
  // a file holds nothing else.
  const auto& paths = files_.media(file.identifier);
  return paths.empty() || file.identifier.empty() ? "" : paths.front();
}

void PDXNoteMediaExtraction::extractMediaContentWithAccountId_(PDXMediaNoteContent& piece,
                                                               const std::string& accountId) {
  if (!piece.mediaData) return;
  const MediaFile file = mediaFile_(piece.mediaData->mediaId);
  const std::string path = pathOfMedia_(file, accountId);
  if (path.empty()) {
    note_->missing.push_back({.what = "attachment",
                              .where = file.name.empty() ? piece.identifier : file.name,
                              .why = "the manifest does not list it"});
    return;
  }
  const std::string name = file.identifier + "-" + file.name;
  const Copied copied = piece.contentFormat == Format::Media
                            ? processImageFileWithIdentifierSourceFileTypeOrientation_(
                                  name, path, typeOf(file.name), piece.mediaData->orientation)
                            : processMediaFileWithIdentifierSourceFileType_(name, path, typeOf(file.name));
  piece.fileName = copied.path;
  piece.fileType = copied.type;
}

void PDXNoteMediaExtraction::extractDrawingContent_(PDXMediaNoteContent& piece) {
  const auto& paths = files_.fallbackImages(piece.identifier);
  if (paths.empty()) return;
  const Copied copied = processImageFileWithIdentifierSourceFileTypeOrientation_(
      piece.identifier, paths.front(), typeOf(paths.front()), 0);
  piece.fileName = copied.path;
  piece.fileType = copied.type;
}

void PDXNoteMediaExtraction::extractMediaPreview_(PDXMediaNoteContent& piece) {
  const std::string path = parsePathsForLargestPreviewSize(files_.previews(piece.identifier));
  if (path.empty()) return;
  piece.fileName = piece.previewPath = path;
  piece.fileType = piece.previewType = typeOf(path);
}

void PDXNoteMediaExtraction::extractSketchContent_(PDXMediaNoteContent& piece) {
  extractMediaPreview_(piece);
  if (piece.fileName.empty()) return;
  const Copied copied = processImageFileWithIdentifierSourceFileTypeOrientation_(
      piece.identifier, piece.fileName, piece.fileType, piece.mediaData ? piece.mediaData->orientation : 0);
  piece.fileName = piece.previewPath = copied.path;
  piece.fileType = piece.previewType = copied.type;
}

void PDXNoteMediaExtraction::extractVideoContentWithAccountId_(PDXMediaNoteContent& piece,
                                                               const std::string& accountId) {
  extractMediaContentWithAccountId_(piece, accountId);
  PDXMediaNoteContent preview = piece;
  extractMediaPreview_(preview);
  if (preview.previewPath.empty()) return;
  const Copied copied = processImageFileWithIdentifierSourceFileTypeOrientation_(
      piece.identifier, preview.previewPath, preview.previewType, 0);
  piece.previewPath = copied.path;
  piece.previewType = copied.type;
}

std::string PDXNoteMediaExtraction::parsePathsForLargestPreviewSize(std::vector<std::string> paths) {
  std::sort(paths.begin(), paths.end());
  const std::string* best = nullptr;
  std::int64_t most = 0;
  for (const std::string& path : paths) {
    const auto area = areaOf(path);
    if (!area || *area <= most) continue;
    most = *area;
    best = &path;
  }
  if (best != nullptr) return *best;
  return paths.empty() ? "" : paths.front();
}

std::string PDXNoteMediaExtraction::appendFileTypeToFileName(const std::string& fileType,
                                                             const std::string& fileName) {
  if (fileType.empty() || PDXText::lowercased(fileName).ends_with(PDXText::lowercased(fileType)))
    return fileName;
  return fileName + "." + fileType;
}

/// Names come from the store: one that no file can have is told apart from others by its hash.
std::string PDXNoteMediaExtraction::localPath_(const std::string& name) const {
  const std::string safe = PDXFileName::safeWithExtension(name);
  if (safe == name) return PDXFiles::joined(folder_, name);
  const std::string hash = sha_1(name).substr(0, 16) + "-";
  return PDXFiles::joined(folder_, PDXFileName::safeWithExtension(hash + safe));
}

/// False when there is no copy afterwards, which the note then tells.
bool PDXNoteMediaExtraction::copy_(const std::string& source, const std::string& destination) {
  if (PDXFiles::exists(destination)) return true;
  PDXFiles::makeFolders(folder_);
  const auto copied =
      deviceData_.copyOfFileByRelativePathInDomain(source, PDXNoteFiles::kDomain, destination, stop_);
  if (copied) return true;
  if (copied.outcome == PDXFiles::CopyResult::Outcome::stopped) return false;
  const bool isMissing = copied.outcome == PDXFiles::CopyResult::Outcome::noSource;
  (isMissing ? note_->missing : note_->unreadable)
      .push_back({.what = "attachment", .where = source, .why = copied.why});
  return false;
}

PDXNoteMediaExtraction::Copied PDXNoteMediaExtraction::processMediaFileWithIdentifierSourceFileType_(
    const std::string& name, const std::string& source, const std::string& fileType) {
  const std::string destination = localPath_(appendFileTypeToFileName(fileType, name));
  return copy_(source, destination) ? Copied{destination, fileType} : Copied{};
}

PDXNoteMediaExtraction::Copied
PDXNoteMediaExtraction::processImageFileWithIdentifierSourceFileTypeOrientation_(const std::string& name,
                                                                                 const std::string& source,
                                                                                 const std::string& fileType,
                                                                                 int orientation) {
  const auto format = isPng(fileType) ? PDXPictureFormat::png : PDXPictureFormat::jpeg;
  const std::string pictureType = isPng(fileType) ? fileType : "jpg";
  const std::string destination = localPath_(appendFileTypeToFileName(pictureType, name));
  if (PDXFiles::exists(destination)) return {destination, pictureType};

  const std::string raw = destination + ".raw";
  PDXFiles::remove(raw);
  if (!copy_(source, raw)) return {};
  const auto why = PDXUprightPicture::isPicture(raw)
                       ? PDXUprightPicture::writeAs(raw, format, orientation, destination)
                       : "it is no picture, so a page cannot show it";
  if (!why) {
    PDXFiles::remove(raw);
    return {destination, pictureType};
  }
  // The file itself is worth more than an empty place.
  note_->notTurned.push_back({.what = "attachment copied as it is", .where = source, .why = *why});
  const std::string unchanged = localPath_(appendFileTypeToFileName(fileType, name));
  return PDXFiles::rename(raw, unchanged) ? Copied{unchanged, fileType} : Copied{};
}

PDXNoteMediaExtraction::Attachment PDXNoteMediaExtraction::attachmentOf_(const PDXSQLiteStatement& rows) {
  return {rows.int64(0), rows.text(1), rows.int64(2), rows.text(3), rows.text(4)};
}

std::optional<PDXNoteMediaExtraction::Attachment> PDXNoteMediaExtraction::attachmentWith_(
    const std::string& identifier) {
  std::optional<Attachment> attachment;
  attachmentRow_.bind(1, std::string_view(identifier));
  if (attachmentRow_.step()) attachment = attachmentOf_(attachmentRow_);
  attachmentRow_.reset();
  return attachment;
}

std::vector<PDXNoteMediaExtraction::Attachment> PDXNoteMediaExtraction::attachmentsWith_(
    PDXSQLiteStatement& rows, std::int64_t owner) {
  std::vector<Attachment> attachments;
  rows.bind(1, owner);
  while (rows.step()) attachments.push_back(attachmentOf_(rows));
  rows.reset();
  return attachments;
}

/// Copies the attachment's file, or the picture that the device drew of it. False when there is neither.
bool PDXNoteMediaExtraction::addExtraFile_(const Attachment& attachment, const std::string& accountId) {
  MediaFile file;
  if (attachment.mediaId != 0) file = mediaFile_(attachment.mediaId);
  std::string path = attachment.mediaId != 0 ? pathOfMedia_(file, accountId) : "";
  if (path.empty() && !files_.fallbackImages(attachment.identifier).empty())
    path = files_.fallbackImages(attachment.identifier).front();
  if (path.empty()) path = parsePathsForLargestPreviewSize(files_.previews(attachment.identifier));
  if (path.empty()) return false;
  const std::string type = typeOf(path);
  const Copied copied =
      processMediaFileWithIdentifierSourceFileType_(attachment.identifier + "-extra", path, type);
  if (copied.path.empty()) return false;
  const std::string name = !file.name.empty() ? file.name : attachment.name;
  note_->extraFiles.push_back(
      {copied.path, appendFileTypeToFileName(type, name.empty() ? "Attachment" : name)});
  return true;
}

/// An attachment may be made of others, as a scanned document is of its pages.
void PDXNoteMediaExtraction::addUnreached_(const Attachment& attachment, const std::string& accountId) {
  bool hasFile = addExtraFile_(attachment, accountId);
  if (attachment.row != 0) {
    for (const Attachment& part : attachmentsWith_(parts_, attachment.row)) {
      if (addExtraFile_(part, accountId)) hasFile = true;
    }
  }
  const std::string name = attachment.name.empty() ? "" : " \"" + attachment.name + "\"";
  note_->unreached.push_back({.what = "part of a note",
                              .where = attachment.type + name,
                              .why = hasFile ? "the written note does not show it; its file lies beside it"
                                             : "the written note does not show it"});
}

void PDXNoteMediaExtraction::getRemainderForNote(PDXIOS9NoteDetail& note,
                                                 std::span<const std::uint8_t> body) {
  note_ = &note;
  const PDXNoteBodyRecord record = PDXNoteBodyRecord::of(body).value_or(PDXNoteBodyRecord());
  for (std::string& line : linesNotShown(record.text, note.content)) {
    note.unreached.push_back(
        {.what = "line of a note", .where = std::move(line), .why = "the written note does not show it"});
  }
  auto known = shownIn(note.content);
  const std::string accountId = accountIdOf(note);
  for (const PDXNoteBodyAttachment& named : record.attachments) {
    const std::string identifier = PDXText::valid(std::string(named.identifier));
    if (!known.insert(identifier).second) continue;
    Attachment attachment = attachmentWith_(identifier).value_or(Attachment());
    attachment.type = PDXText::valid(std::string(named.type));
    addUnreached_(attachment, accountId);
  }
  for (const Attachment& attachment : attachmentsWith_(ofNote_, note.noteId)) {
    if (known.insert(attachment.identifier).second) addUnreached_(attachment, accountId);
  }
}
