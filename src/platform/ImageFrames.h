#pragma once

#include <cstdint>
#include <string>

#include "platform/Bytes.h"

/// Counts frames and pages without decoding any. Only the first is ever shown, but the libraries gather facts
/// on all of them when they open a file, some in the square of the number. Bytes may be cut or hostile
/// anywhere.
namespace PDXImageFrames {

/// @param format  as `PDXImages::extensionFor` tells it.
/// @param most    where counting ends.
/// @return 1 for formats that have but one picture that counts.
std::uint64_t count(const PDXBytes& file, const std::string& format, std::uint64_t most);

}  // namespace PDXImageFrames
