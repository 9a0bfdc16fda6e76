#pragma once

#include <cstdint>
#include <stop_token>
#include <string>

#include "samples/BackupFolder.h"

/// The notes of a sample.
namespace PDXSampleNotes {

/// Adds the newer store in the layout of a system version from 9 on, with its attachments, and the older one
/// in which another account's notes stayed. "" on success, else why.
std::string write(PDXSampleBackupFolder& folder, std::uint64_t seed, const std::stop_token& stop,
                  int version = 17);

/// The older store alone, as devices have it that never moved: of the versions 4 to 8, or as the first three
/// had it, without dates. "" on success, else why; the file must not exist.
std::string writeOlderStore(const std::string& path, bool isOldest);

}  // namespace PDXSampleNotes
