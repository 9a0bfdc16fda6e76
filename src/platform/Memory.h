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

/// Throws std::bad_alloc where there is no such room.
void requireRoomFor(std::uint64_t bytes);

/// Throws std::bad_alloc where memory is what failed. For libraries that tell of it by an error, which must
/// not pass for damage in what was read. Without a limit the system does not refuse memory: then a library
/// has been asked for a nonsensical amount, which is damage.
void throwIfLimited();

/// Ends the process in order where memory has run out and nothing can be unwound: `end` is called, once, and
/// must not return. It can rely on nothing: locks may be held, and there is no memory. From then on this is
/// watched: terminate, and the signals by which libraries give up.
void endWhenGone(void (*end)());

/// For a library that says that it is about to end the process: it was refused memory.
void gone();

}  // namespace PDXMemory
