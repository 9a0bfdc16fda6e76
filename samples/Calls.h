#pragma once

#include <cstdint>
#include <string>

#include "samples/BackupFolder.h"

/// The call history of a sample.
namespace PDXSampleCalls {

/// Adds the store in the layout of a system version from 8 on. Below 10 the older database lies beside it, as
/// those systems left it when they moved the calls. "" on success, else why.
std::string write(PDXSampleBackupFolder& folder, std::uint64_t seed, int version = 17);

/// The store alone; the file must not exist.
std::string writeStore(const std::string& path, std::uint64_t seed, int version);

/// The older database, as the versions before 8 have it; the file must not exist.
std::string writeOlderDatabase(const std::string& path);

}  // namespace PDXSampleCalls
