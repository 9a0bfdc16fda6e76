#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

#include "samples/BackupFolder.h"
#include "samples/People.h"

/// The messages of a sample: its store and the files that were sent.
namespace PDXSampleMessages {

/// Writes them all into the folder.
/// @param count  rows of the store's table `message`.
/// @return  "" on success, else why.
std::string write(PDXSampleBackupFolder& folder, const std::vector<PDXSamplePerson>& people,
                  std::int64_t count, std::uint64_t seed, const std::stop_token& stop);

}  // namespace PDXSampleMessages
