#pragma once

#include <stop_token>
#include <string>
#include <utility>

#include "backup/BackupFile.h"
#include "platform/Files.h"

/// Turns a file record into a readable local copy. Everything rests on one operation, `readableCopy`; each
/// way of storing files (plain, enciphered) has its own.
/// Threads: `readableCopy` may be called from several at once.
class PDXBackupExtraction {
 public:
  /// @param fullBackupPath  the backup folder.
  explicit PDXBackupExtraction(std::string fullBackupPath) : fullBackupPath_(std::move(fullBackupPath)) {}
  virtual ~PDXBackupExtraction() = default;
  PDXBackupExtraction(const PDXBackupExtraction&) = delete;
  PDXBackupExtraction& operator=(const PDXBackupExtraction&) = delete;

  /// A readable copy in the scratch folder, named by the path's last component; an older copy of that name is
  /// replaced. "" when the file is not stored or could not be copied.
  std::string extractFile(const PDXBackupFile& file) const;

  /// A readable copy at `destination`, whose folder must exist; an older file there is replaced. Written in
  /// chunks: memory does not grow with the file.
  virtual PDXFiles::CopyResult readableCopy(const PDXBackupFile& file, const std::string& destination,
                                            const std::stop_token& stop) const = 0;

  /// Where the backup folder holds the file: beside the manifest, or in a folder named by the first two
  /// characters of its identifier. "" when it holds none, or the identifier is none.
  std::string storedPath(const PDXBackupFile& file) const;

  /// The stored file when it can be read where it lies: it is a regular file and its bytes are the file's
  /// own.
  /// "" otherwise.
  virtual std::string pathInPlace(const PDXBackupFile& /*file*/) const { return ""; }

  /// Tells a long extraction to stop because the application quits.
  void setAppIsClosing(bool isClosing);

 private:
  std::string fullBackupPath_;
  std::stop_source closing_;
};

/// Plain backups: the stored file is the file.
class PDXBackupExtractionDirectCopy final : public PDXBackupExtraction {
 public:
  using PDXBackupExtraction::PDXBackupExtraction;

  PDXFiles::CopyResult readableCopy(const PDXBackupFile& file, const std::string& destination,
                                    const std::stop_token& stop) const override;
  std::string pathInPlace(const PDXBackupFile& file) const override;
};
