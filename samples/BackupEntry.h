#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Date.h"
#include "samples/Cipher.h"

/// What one row of a backup's manifest stands for. The numbers are those of the manifest's "flags".
enum class PDXSampleEntryKind { file = 1, folder = 2, link = 4 };

/// One row of a backup's manifest.
struct PDXSampleEntry {
  PDXSampleEntryKind kind = PDXSampleEntryKind::file;
  std::string domain;

  /// Relative to the domain's root, which is "".
  std::string relativePath;

  /// Where a link points; "" for the others.
  std::string target;

  /// Bytes of the plain file; 0 for folders and links.
  std::int64_t size = 0;

  PDXDate lastModified = {};

  /// Kind and permissions as the system of the device has them, e.g. 0100644.
  int mode = 0;

  /// 1 to 4 for a file; 0 for folders and links.
  int protectionClass = 0;

  /// Different for each entry of a backup.
  std::int64_t inode = 0;

  /// What the device keeps beside the file's bytes: names and values.
  std::vector<std::pair<std::string, PDXBytes>> attributes;

  /// What its stored file is enciphered with in an encrypted backup.
  PDXSampleKey key = {};

  /// That key as the manifest has it: 44 bytes, see PDXSampleKeyBag::record; empty for folders and links, and
  /// in a plain backup.
  PDXBytes encryptionKey;

  /// SHA-1 of the plain file, 20 bytes; empty where it is not told.
  PDXBytes digest;
};
