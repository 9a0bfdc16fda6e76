#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "platform/FileOpening.h"

int PDXFileOpening::beneath(int folder, const std::string& name, int flags) {
  open_how how{};
  // Without O_NOFOLLOW, with which a link in the last place would be called no folder.
  how.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC | O_NONBLOCK);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  const long opened = ::syscall(SYS_openat2, folder, name.c_str(), &how, sizeof(how));
  // Kernels before 5.6 do not have it, sandboxes forbid it, and it gives up while somebody renames folders.
  const bool isAnswer = errno != ENOSYS && errno != EPERM && errno != EAGAIN;
  return opened >= 0 || isAnswer ? static_cast<int>(opened) : beneathByWalking(folder, name, flags);
}
