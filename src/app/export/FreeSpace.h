#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "app/export/ExportOptions.h"
#include "platform/Files.h"

class PDXDeviceData;

/// Looks whether files fit before they are copied: a disk that is too small is to be said at once, not when
/// it is full. Where a file system does not tell, or shares the blocks of copies, everything fits. Threads:
/// once made, any number.
class PDXFreeSpace {
 public:
  /// For the files that a domain of the backup has.
  PDXFreeSpace(PDXDeviceData& deviceData, const PDXExportOptions& options, std::string_view domain);

  /// Done, or `writeFailed` with how much is needed and free.
  /// @param paths   of files of the domain, more than once or unknown ones too.
  /// @param folder  whose files the copies will replace; need not exist.
  PDXFiles::CopyResult roomFor(const std::vector<std::string>& paths, const std::string& folder) const;

  /// The same for a number of bytes.
  /// @param source  a folder on the file system from which they are copied.
  static PDXFiles::CopyResult roomFor(std::uint64_t needed, const std::string& source,
                                      const std::string& folder, const PDXExportOptions& options);

 private:
  struct Listed {
    std::uint64_t size;  ///< As the manifest has it.
    std::string fileId;
  };

  std::uint64_t storedSize_(const Listed& file) const;

  const PDXExportOptions& options_;
  std::string backup_;
  std::unordered_map<std::string, Listed> files_;
};
