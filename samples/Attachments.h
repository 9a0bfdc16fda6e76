#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Bytes.h"

/// A file that somebody sent in a message.
struct PDXSampleAttachment {
  /// What a backup can hold of it.
  enum class Kept {
    stored,
    notListed,     ///< The messages refer to it, the manifest does not: the file never left the cloud.
    notStored,     ///< The manifest lists it, and the folder lacks the file.
    notDownloaded  ///< The messages do not even know a path.
  };

  /// The path under which the messages refer to a stored file.
  enum class Path { fromHome, absolute };

  std::string_view key;  ///< How scripted messages call it.
  std::string_view name;
  std::string_view mimeType;  ///< "" when the device did not find out.
  std::string_view uti;
  PDXBytes (*make)(std::uint64_t seed);  ///< Empty when this system cannot write the format.
  Kept kept = Kept::stored;
  Path path = Path::fromHome;
};

namespace PDXSampleAttachments {

/// The attachment with that key, which must exist.
const PDXSampleAttachment& named(std::string_view key);

}  // namespace PDXSampleAttachments
