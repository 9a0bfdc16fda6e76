#pragma once

#include <string>
#include <vector>

#include "samples/BackupEntry.h"

/// The manifest of the newer backups: a database with one row for each file, folder and link.
namespace PDXSampleManifestDatabase {

/// Writes the file, which must not exist. Empty on success, else why.
std::string write(const std::string& path, const std::vector<PDXSampleEntry>& entries);

}  // namespace PDXSampleManifestDatabase
