#include <fcntl.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "platform/FileCopy.h"

namespace {

constexpr std::size_t kStep = std::size_t{16} << 20;  // Small enough to answer a stop at once.

/// For file systems between which the kernel cannot copy by itself.
int copyThroughMemory(int source, int target, const std::stop_token& stop) {
  std::vector<char> buffer(std::size_t{1} << 20);
  while (true) {
    if (stop.stop_requested()) return ECANCELED;
    const ssize_t got = ::read(source, buffer.data(), buffer.size());
    if (got == 0) return 0;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return errno;
    for (ssize_t done = 0; done < got;) {
      const ssize_t written = ::write(target, buffer.data() + done, static_cast<std::size_t>(got - done));
      if (written < 0 && errno != EINTR) return errno;
      if (written > 0) done += written;
    }
  }
}

}  // namespace

int PDXFileCopy::contents(int source, int target, const std::stop_token& stop) {
  if (::ioctl(target, FICLONE, source) == 0) return 0;
  bool copiedAny = false;
  while (true) {
    if (stop.stop_requested()) return ECANCELED;
    const ssize_t copied = ::copy_file_range(source, nullptr, target, nullptr, kStep, 0);
    if (copied > 0) {
      copiedAny = true;
      continue;
    }
    // Some virtual file systems answer 0 at once although there are bytes to read.
    if (copied == 0) return copiedAny ? 0 : copyThroughMemory(source, target, stop);
    if (errno == EINTR) continue;
    if (errno == EXDEV || errno == ENOSYS || errno == EINVAL || errno == EOPNOTSUPP || errno == EPERM) {
      return copyThroughMemory(source, target, stop);
    }
    return errno;
  }
}

int PDXFileCopy::openNameless(const std::string& folder) {
  return ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
}

int PDXFileCopy::giveName(int file, const std::string& path) {
  const std::string handle = "/proc/self/fd/" + std::to_string(file);
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (::linkat(AT_FDCWD, handle.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) return 0;
    if (errno != EEXIST || (::unlink(path.c_str()) != 0 && errno != ENOENT)) break;
  }
  return errno;
}

int PDXFileCopy::renameToNew(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  // Some file systems do not know it: then a second name, which never replaces, or else a look first.
  if (errno != EINVAL && errno != ENOSYS) return errno;
  if (::link(from.c_str(), to.c_str()) == 0) return ::unlink(from.c_str()) == 0 ? 0 : errno;
  if (errno == EEXIST) return errno;
  if (::access(to.c_str(), F_OK) == 0) return EEXIST;
  return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

bool PDXFileCopy::neverSharesBlocks(const std::string& folder) {
  struct statfs info {};
  if (::statfs(folder.c_str(), &info) != 0) return false;
  const auto type = static_cast<unsigned long>(info.f_type);
  return type == EXT4_SUPER_MAGIC || type == TMPFS_MAGIC || type == MSDOS_SUPER_MAGIC ||
         type == EXFAT_SUPER_MAGIC || type == F2FS_SUPER_MAGIC;
}
