#include "app/cli/OutOfMemory.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstring>
#include <string_view>

#include "platform/Files.h"
#include "platform/Memory.h"

namespace {

/// Of the scratch folder; "" when there is none.
std::array<char, PATH_MAX> scratch;

/// By another program, since to list a folder takes memory.
void removeScratch() {
  if (scratch[0] == '\0') return;
  const char* const arguments[] = {"rm", "-rf", "--", scratch.data(), nullptr};
  const pid_t child = ::vfork();
  if (child == 0) {
    ::execv("/bin/rm", const_cast<char* const*>(arguments));
    ::_exit(1);
  }
  if (child > 0) ::waitpid(child, nullptr, 0);
}

[[noreturn]] void end() {
  PDXOutOfMemory::say();
  PDXAtomicFile::removeAllParts();
  removeScratch();
  ::_exit(static_cast<int>(PDXExitStatus::unwritable));
}

}  // namespace

namespace PDXOutOfMemory {

PDXExitStatus say() {
  constexpr std::string_view kText =
      "pocketdex: out of memory: give it more (`ulimit -v` tells the limit), or use fewer --jobs; what was "
      "written is whole\n";
  // To a terminal or a file, which may be gone: there is nowhere else to say it.
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kText.data(), kText.size());
  return PDXExitStatus::unwritable;
}

void watch() { PDXMemory::endWhenGone(end); }

ScratchFolder::ScratchFolder(const std::string& path) {
  if (path.size() < scratch.size()) std::memcpy(scratch.data(), path.c_str(), path.size() + 1);
}

ScratchFolder::~ScratchFolder() { scratch[0] = '\0'; }

}  // namespace PDXOutOfMemory
