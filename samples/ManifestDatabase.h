#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Bytes.h"
#include "samples/BackupEntry.h"

/// The manifest of the newer backups: a database with one row for each file, folder and link.
namespace PDXSampleManifestDatabase {

/// What enciphers the metadata of each file.
struct Secret {
  std::string password;
  PDXBytes salt;
};

/// Writes the file, which must not exist. Empty on success, else why.
/// @param secret  nothing: the metadata is not enciphered, and there is no salt.
std::string write(const std::string& path, const std::vector<PDXSampleEntry>& entries,
                  const std::optional<Secret>& secret = {});

}  // namespace PDXSampleManifestDatabase
