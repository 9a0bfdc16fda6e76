#pragma once

#include <stop_token>

/// The system's ways of copying bytes between two open files; one source file per system.
namespace PDXFileCopy {

/// Copies all of `source` to the empty `target` (file descriptors). Zero, or the system's error number;
/// ECANCELED when stopped.
int contents(int source, int target, const std::stop_token& stop);

}  // namespace PDXFileCopy
