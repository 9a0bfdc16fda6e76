#pragma once

#include <string>
#include <vector>

#include "samples/BackupEntry.h"

/// The manifest of the older backups: a file of records one after another, each as long as its texts.
namespace PDXSampleLegacyManifest {

/// Writes the file. Empty on success, else why.
std::string write(const std::string& path, const std::vector<PDXSampleEntry>& entries);

}  // namespace PDXSampleLegacyManifest
