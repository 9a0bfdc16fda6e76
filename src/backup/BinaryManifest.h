#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "backup/BinaryFileHandle.h"

/// One record of a binary manifest.
struct PDXBinaryManifestRecord {
  std::string domain;

  /// Relative to the domain's root; "" for the domain's own record, whose further fields are empty.
  std::string path;

  bool isLink = false;

  /// Four bytes of protection class and 40 of the wrapped key; empty when there is none.
  PDXBytes encryptionKey;

  /// File kind and permissions as the device's system has them.
  std::uint16_t mode = 0;

  /// Bytes of the plain file.
  std::uint64_t size = 0;

  bool isFolder() const { return (mode & 0xF000) == 0x4000; }
};

/// Reads "Manifest.mbdb", the list of files of backups until system 9.
///
/// The file is a header of 6 bytes, then records to its end. Numbers have their highest byte first; a text is
/// its length in two bytes and its UTF-8 bytes, where the length 65535 stands for none.
class PDXBinaryManifest {
 public:
  /// @param path  a file that cannot be read has no records.
  explicit PDXBinaryManifest(const std::string& path);

  /// The same over bytes, which have to outlive this.
  explicit PDXBinaryManifest(PDXByteView bytes);

  /// The next record; nothing at the end, or where the file breaks off in the middle of one (`isCut`).
  std::optional<PDXBinaryManifestRecord> next();

  /// Whether the file ends in the middle of a record.
  bool isCut() const { return isCut_; }

  /// Why the file cannot be read; empty when it can.
  std::string error() const { return file_.error(); }

 private:
  std::string readStringFromFileHandle_();
  void skipProperties_();

  PDXBinaryFileHandle file_;
  unsigned pendingProperties_ = 0;
  bool isCut_ = false;
};
