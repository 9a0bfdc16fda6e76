#pragma once

#include <string>

#include "samples/BackupFolder.h"

/// The media library of a sample, and the few of its files that lie in the backup.
namespace PDXSampleMusic {

/// Adds the library in the layout of a system version, and files. "" on success, else why.
std::string write(PDXSampleBackupFolder& folder, int version = 17);

/// The library alone; the file must not exist. Layouts are those of 5, 7 and 8, each until the next.
std::string writeLibrary(const std::string& path, int version);

}  // namespace PDXSampleMusic
