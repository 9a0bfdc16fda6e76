#include "platform/LockedFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/Files.h"

PDXLockedFile::PDXLockedFile(std::string path) : path_(std::move(path)) {
  // An owner before us may have removed the file between our opening and our lock: then there is another one.
  for (int attempt = 0; attempt < 10; ++attempt) {
    descriptor_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                         S_IRUSR | S_IWUSR);
    struct stat info {};
    if (descriptor_ < 0 || ::fstat(descriptor_, &info) != 0 || !S_ISREG(info.st_mode)) {
      error_ = descriptor_ < 0 ? std::strerror(errno) : "it is no regular file";
      return;
    }
    if (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
      outcome_ = Outcome::busy;
      return;
    }
    outcome_ = Outcome::locked;
    if (isInPlace_()) return;
    ::close(std::exchange(descriptor_, -1));
  }
  outcome_ = Outcome::busy;
}

PDXLockedFile::~PDXLockedFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::string PDXLockedFile::text() const {
  const auto bytes = PDXFiles::read(path_);
  return bytes ? std::string(bytes->begin(), bytes->end()) : "";
}

int PDXLockedFile::clear() { return ::ftruncate(descriptor_, 0) == 0 ? 0 : errno; }

int PDXLockedFile::append(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor_, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

void PDXLockedFile::remove() {
  if (descriptor_ < 0 || outcome_ != Outcome::locked) return;
  if (isInPlace_()) ::unlink(path_.c_str());
  ::close(std::exchange(descriptor_, -1));
}

bool PDXLockedFile::isInPlace_() const {
  struct stat open {};
  struct stat named {};
  return ::fstat(descriptor_, &open) == 0 && ::lstat(path_.c_str(), &named) == 0 &&
         open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}
