#pragma once

#include <optional>
#include <string>

class PDXDeviceData;

/// Where a backup keeps the media library and the files of its tracks.
namespace PDXMusicLibraryFile {

inline constexpr const char* kDomain = "MediaDomain";

/// Where the backup keeps the device's media folder in that domain, "Media/" or ""; nothing when it does not
/// store a library.
std::optional<std::string> mediaFolder(PDXDeviceData& deviceData);

/// Says in the log when the manifest lists a library that the folder does not hold. Answers whether it does.
bool reportIfLost(PDXDeviceData& deviceData);

/// A copy in the scratch folder, with the log that belongs to it; "" when there is none. The log of the
/// process says why when it should be there.
std::string copyOfBackup(PDXDeviceData& deviceData);

/// The same of a library somewhere else, which stays as it is. The copy has the same name.
std::string copyOfFile(const std::string& path);

}  // namespace PDXMusicLibraryFile
