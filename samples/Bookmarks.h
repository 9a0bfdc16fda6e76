#pragma once

#include <string>

#include "samples/BackupFolder.h"

/// The bookmarks of a sample, of the built-in browser and of Chrome.
namespace PDXSampleBookmarks {

/// Adds both stores, the first in the layout of a system version. "" on success, else why.
std::string write(PDXSampleBackupFolder& folder, int version = 17);

/// The built-in browser's store alone; the file must not exist. From 15 on it has columns that the versions
/// from 6 on lack, and those have columns that the versions before lack.
std::string writeStore(const std::string& path, int version);

/// Chrome's document.
std::string chromeDocument();

}  // namespace PDXSampleBookmarks
