#pragma once

#include <string>

#include "samples/BackupFolder.h"

/// The calendars of a sample.
namespace PDXSampleCalendars {

/// Adds the store in the layout of a system version. "" on success, else why.
std::string write(PDXSampleBackupFolder& folder, int version = 17);

/// The store alone; the file must not exist. Versions before 5 have the oldest layout.
std::string writeStore(const std::string& path, int version);

}  // namespace PDXSampleCalendars
