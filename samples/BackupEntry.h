#pragma once

#include <cstdint>
#include <string>

#include "platform/Date.h"

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

  /// 1 to 4 for a file; 0 for folders and links.
  int protectionClass = 0;

  /// Different for each entry of a backup.
  std::int64_t inode = 0;
};
