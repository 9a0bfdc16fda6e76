#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/Bytes.h"
#include "samples/BackupEntry.h"

/// What a device keeps beside a file's bytes, under names of its own.
namespace PDXSampleExtendedAttributes {

/// For a photograph of the camera roll its identifier and more, for a file that was sent in a message when it
/// was last used; nothing for others.
std::vector<std::pair<std::string, PDXBytes>> of(const PDXSampleEntry& entry);

}  // namespace PDXSampleExtendedAttributes
