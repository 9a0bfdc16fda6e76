#pragma once

#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

#include "samples/BackupFolder.h"

/// What a phone's backup holds beside messages and contacts.
namespace PDXSampleOtherFiles {

/// The bundle identifiers of the applications whose files there are.
std::vector<std::string> applications();

/// Preferences of the system, among them the blocked numbers.
void addPreferences(PDXSampleBackupFolder& folder);

/// A few photographs of the camera roll; fewer when stopped.
void addPhotographs(PDXSampleBackupFolder& folder, std::uint64_t seed, const std::stop_token& stop);

/// Documents of applications, folders and links.
void addApplications(PDXSampleBackupFolder& folder);

}  // namespace PDXSampleOtherFiles
