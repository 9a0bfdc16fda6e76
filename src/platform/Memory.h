#pragma once

#include <cstdint>
#include <optional>

/// How much more memory this process may have. Libraries that end the process when they get none (those that
/// draw and decode pictures do) are asked for nothing that could not be had.
namespace PDXMemory {

/// Bytes of address space left under the limit that a user or a service manager may set; nothing without one.
std::optional<std::uint64_t> left();

/// Whether that many bytes more can be had, with some to spare for whatever else runs at the time. Always
/// true without a limit.
bool hasRoomFor(std::uint64_t bytes);

}  // namespace PDXMemory
