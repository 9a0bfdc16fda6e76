#include "backup/BackupExtraction.h"

#include <algorithm>

#include "backup/ScratchFolder.h"
#include "platform/Log.h"
#include "platform/Text.h"

namespace {

/// Identifiers come from the manifest: one that is not a plain name could lead out of the backup folder.
bool isIdentifier(const std::string& fileId) {
  return fileId.size() >= 2 && std::all_of(fileId.begin(), fileId.end(), [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
         });
}

bool isCompanion(const std::string& name) { return name.ends_with("-wal") || name.ends_with("-shm"); }

}  // namespace

std::string PDXBackupExtraction::extractFile(const PDXBackupFile& file) const {
  const std::string name = file.fileName();
  if (storedPath(file).empty() || name.empty() || name == "." || name == ".." || !PDXScratchFolder::isSafe())
    return "";
  std::string destination = PDXFiles::joined(PDXScratchFolder::path(), name);
  if (!isCompanion(name)) PDXScratchFolder::makeRoomFor(destination);
  const auto result = write_(file, destination, PDXFileDeciphering::Tail::kept, closing_.get_token());
  if (result) return destination;
  PDXFiles::remove(destination);
  if (result.outcome == PDXFiles::CopyResult::Outcome::writeFailed) {
    PDXScratchFolder::reportFull(result.why, file.relativePath);
  } else {
    PDXLog::report({.what = "file", .where = file.relativePath, .why = result.why});
  }
  return "";
}

std::string PDXBackupExtraction::storedPath(const PDXBackupFile& file) const {
  std::string flat = flatPath_(file);
  return flat.empty() ? nestedPath_(file) : flat;
}

std::string PDXBackupExtraction::flatPath_(const PDXBackupFile& file) const {
  if (!isIdentifier(file.fileId)) return "";
  std::string flat = PDXFiles::joined(folder_, file.fileId);
  return PDXFiles::isMissing(flat) ? "" : flat;
}

std::string PDXBackupExtraction::nestedPath_(const PDXBackupFile& file) const {
  if (!isIdentifier(file.fileId)) return "";
  std::string nested = PDXFiles::joined(PDXFiles::joined(folder_, file.fileId.substr(0, 2)), file.fileId);
  return PDXFiles::isMissing(nested) ? "" : nested;
}

void PDXBackupExtraction::setAppIsClosing(bool isClosing) {
  if (isClosing) {
    closing_.request_stop();
  } else {
    closing_ = std::stop_source();
  }
}

PDXFiles::CopyResult PDXBackupExtractionDirectCopy::write_(const PDXBackupFile& file,
                                                           const std::string& destination,
                                                           PDXFileDeciphering::Tail,
                                                           const std::stop_token& stop) const {
  const std::string stored = storedPath(file);
  if (stored.empty()) return {PDXFiles::CopyResult::Outcome::noSource, "the backup folder does not hold it"};
  return PDXFiles::copy(stored, destination, stop);
}

std::string PDXBackupExtractionDirectCopy::pathInPlace(const PDXBackupFile& file) const {
  std::string stored = storedPath(file);
  return PDXFiles::isRegularFile(stored) ? stored : "";
}
