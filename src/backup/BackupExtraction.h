#pragma once

#include <array>
#include <stop_token>
#include <string>
#include <utility>

#include "backup/BackupFile.h"
#include "backup/FileDeciphering.h"
#include "platform/Files.h"
#include "platform/GuardedFolder.h"

/// Turns a file record into a readable local copy. Everything rests on one operation, `write_`; each way of
/// storing files (plain, enciphered) has its own.
/// Threads: `readableCopy` may be called from several at once.
class PDXBackupExtraction {
 public:
  /// @param fullBackupPath  the backup folder.
  explicit PDXBackupExtraction(std::string fullBackupPath) : folder_(std::move(fullBackupPath)) {}
  virtual ~PDXBackupExtraction() = default;
  PDXBackupExtraction(const PDXBackupExtraction&) = delete;
  PDXBackupExtraction& operator=(const PDXBackupExtraction&) = delete;

  /// A readable copy in the scratch folder, named by the path's last component; an older copy of that name is
  /// replaced. "" when the file is not stored or could not be copied.
  std::string extractFile(const PDXBackupFile& file) const;

  /// A readable copy for a person at `destination`, whose folder must exist; an older file there is replaced.
  /// It carries nothing of a cipher, unlike those in the scratch folder. Written in chunks: memory does not
  /// grow with the file.
  PDXFiles::CopyResult readableCopy(const PDXBackupFile& file, const std::string& destination,
                                    const std::stop_token& stop) const {
    return write_(file, destination, PDXFileDeciphering::Tail::trimmed, stop);
  }

  /// The file as the backup folder holds it: beside the manifest, or in a folder named by the first two
  /// characters of its identifier.
  struct Stored {
    std::string path;      ///< "" when the folder holds none, or the identifier is none.
    PDXFileReader reader;  ///< Open, or with the reason why it cannot be read.
  };
  Stored open(const PDXBackupFile& file) const;

  /// Whether the backup folder holds the file, readable or not.
  bool isStored(const PDXBackupFile& file) const { return !placeOf_(file).empty(); }

  /// The stored file when it can be read where it lies: it is a regular file and its bytes are the file's
  /// own.
  /// "" otherwise.
  virtual std::string pathInPlace(const PDXBackupFile& /*file*/) const { return ""; }

  /// Tells a long extraction to stop because the application quits.
  void setAppIsClosing(bool isClosing);

 protected:
  virtual PDXFiles::CopyResult write_(const PDXBackupFile& file, const std::string& destination,
                                      PDXFileDeciphering::Tail tail, const std::stop_token& stop) const = 0;

  /// The places below the backup folder where a file may be stored, the likelier one first; "" is none.
  using Places = std::array<std::string, 2>;
  virtual Places placesFor_(const std::string& fileId) const { return {fileId, nestedPlace_(fileId)}; }
  static std::string nestedPlace_(const std::string& fileId) { return fileId.substr(0, 2) + "/" + fileId; }

  /// The place where something lies; "" when there is none.
  std::string placeOf_(const PDXBackupFile& file) const;

  const PDXGuardedFolder& folder() const { return folder_; }

 private:
  PDXGuardedFolder folder_;
  std::stop_source closing_;
};

/// Plain backups: the stored file is the file.
class PDXBackupExtractionDirectCopy final : public PDXBackupExtraction {
 public:
  using PDXBackupExtraction::PDXBackupExtraction;

  std::string pathInPlace(const PDXBackupFile& file) const override;

 protected:
  PDXFiles::CopyResult write_(const PDXBackupFile& file, const std::string& destination,
                              PDXFileDeciphering::Tail tail, const std::stop_token& stop) const override;
};
