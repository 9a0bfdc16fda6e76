#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/Bytes.h"

/// Unpacks gzip and zlib streams.
namespace PDXInflate {

/// The whole of a stream; which of the two kinds it is its first bytes tell. What follows the stream's end is
/// ignored.
/// @param limit  more bytes than that are a failure: a few kilobytes can be made to grow to gigabytes.
/// @param bytes  receives them, in the memory that it has where that is enough; empty on a failure.
/// @return why it failed, in a few words; "" when it did not.
std::string inflate(std::span<const std::uint8_t> packed, std::size_t limit, PDXBytes& bytes);

}  // namespace PDXInflate
