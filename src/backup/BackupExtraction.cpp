#include "backup/BackupExtraction.h"

#include <algorithm>
#include <cerrno>

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
  if (!isStored(file) || name.empty() || name == "." || name == ".." || !PDXScratchFolder::isSafe())
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

PDXBackupExtraction::Stored PDXBackupExtraction::open(const PDXBackupFile& file) const {
  if (isIdentifier(file.fileId)) {
    for (const std::string& place : placesFor_(file.fileId)) {
      if (place.empty()) continue;
      PDXFileReader reader = folder_.open(place);
      if (!reader.isMissing()) return {PDXFiles::joined(folder_.path(), place), std::move(reader)};
    }
  }
  return {"", PDXFileReader::failed(ENOENT)};
}

std::string PDXBackupExtraction::placeOf_(const PDXBackupFile& file) const {
  if (!isIdentifier(file.fileId)) return "";
  for (std::string& place : placesFor_(file.fileId)) {
    if (!place.empty() && folder_.whatIs(place) != PDXGuardedFolder::What::nothing) return std::move(place);
  }
  return "";
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
  const Stored stored = open(file);
  if (stored.path.empty())
    return {PDXFiles::CopyResult::Outcome::noSource, "the backup folder does not hold it"};
  return PDXFiles::copy(stored.reader, destination, stop);
}

std::string PDXBackupExtractionDirectCopy::pathInPlace(const PDXBackupFile& file) const {
  const std::string place = placeOf_(file);
  if (place.empty() || folder().whatIs(place) != PDXGuardedFolder::What::file) return "";
  return PDXFiles::joined(folder().path(), place);
}
