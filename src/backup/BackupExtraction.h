#pragma once

#include <stop_token>
#include <string>
#include <utility>

#include "backup/BackupFile.h"
#include "backup/FileDeciphering.h"
#include "platform/Files.h"

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

  /// Where the backup folder holds the file: beside the manifest, or in a folder named by the first two
  /// characters of its identifier. "" when it holds none, or the identifier is none.
  virtual std::string storedPath(const PDXBackupFile& file) const;

  /// The stored file when it can be read where it lies: it is a regular file and its bytes are the file's
  /// own.
  /// "" otherwise.
  virtual std::string pathInPlace(const PDXBackupFile& /*file*/) const { return ""; }

  /// Tells a long extraction to stop because the application quits.
  void setAppIsClosing(bool isClosing);

 protected:
  virtual PDXFiles::CopyResult write_(const PDXBackupFile& file, const std::string& destination,
                                      PDXFileDeciphering::Tail tail, const std::stop_token& stop) const = 0;

  const std::string& folder() const { return folder_; }

  /// The places where a file may be stored; "" when there is none, or the identifier is none.
  std::string flatPath_(const PDXBackupFile& file) const;
  std::string nestedPath_(const PDXBackupFile& file) const;

 private:
  std::string folder_;
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
