#pragma once

#include <functional>

/// Work on several threads that share what they take from.
namespace PDXWorkers {

/// Runs `work` on up to `count` threads, the caller's among them, and returns when all have ended. Each gets
/// its number, the caller's thread 0. Where the system has no more threads to give, fewer do the work, so
/// that it must not matter who takes what.
///
/// An exception that leaves `work` (memory has run out, say) is thrown again here, the first one when several
/// did. `giveUp` is called then, on that thread, to have the others end soon.
void run(unsigned count, const std::function<void(unsigned)>& work, const std::function<void()>& giveUp);

}  // namespace PDXWorkers
