#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/Bytes.h"

/// Unpacks gzip and zlib streams.
namespace PDXInflate {

struct Inflated {
  PDXBytes bytes;   ///< Empty on a failure, and when the stream holds nothing.
  std::string why;  ///< Why it failed, in a few words; "" when it did not.
};

/// The whole of a stream; which of the two kinds it is its first bytes tell. What follows the stream's end is
/// ignored.
/// @param limit  more bytes than that are a failure: a few kilobytes can be made to grow to gigabytes.
Inflated inflated(std::span<const std::uint8_t> packed, std::size_t limit);

}  // namespace PDXInflate
