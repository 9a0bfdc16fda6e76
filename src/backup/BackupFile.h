#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "platform/Bytes.h"
#include "platform/PropertyList.h"

/// One file of a backup.
struct PDXBackupFile {
  PDXBackupFile() = default;

  PDXBackupFile(std::string path, std::string identifier)
      : fileId(std::move(identifier)), relativePath(std::move(path)) {}

  PDXBackupFile(std::string path, std::string identifier, std::string inDomain)
      : fileId(std::move(identifier)), relativePath(std::move(path)), domain(std::move(inDomain)) {}

  /// The last path component of `relativePath`.
  std::string fileName() const;

  /// This is the main file of a feature. Set by the feature lookup; never for "-wal" and "-shm" siblings.
  bool isKeyFile = false;

  /// 40 lower-case hexadecimal characters: the name under which the backup folder stores the file.
  /// Source: Files.fileID, or the SHA-1 of domain, "-" and path.
  std::string fileId;

  /// Relative to the domain's root, e.g. "Library/SMS/sms.db". Source: Files.relativePath.
  std::string relativePath;

  /// E.g. "HomeDomain". Missing for the home domain's entries of the feature table. Source: Files.domain.
  std::optional<std::string> domain;

  /// The file's wrapped key; empty but for older encrypted backups.
  PDXBytes encryptionKey;

  /// Bytes of the file as the manifest has them; filled by `listedFiles` only, and wrong for databases that
  /// changed while the device made the backup. Source: Size of the metadata record.
  std::optional<std::uint64_t> size;

  /// The file's metadata record, where a domain was listed. Source: Files.file, object 1 of the archive.
  std::optional<PDXPropertyList> fileAttributes;
};
