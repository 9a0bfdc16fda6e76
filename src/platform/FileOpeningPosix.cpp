#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/FileOpening.h"

namespace {

/// What is wrong with a component that did not open as a folder: systems call a link there no folder.
int reasonFor(int folder, const std::string& component, int code) {
  struct stat info {};
  const bool isLink =
      ::fstatat(folder, component.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(info.st_mode);
  return isLink ? ELOOP : code;
}

}  // namespace

int PDXFileOpening::beneathByWalking(int folder, const std::string& name, int flags) {
  int at = folder;
  std::size_t begin = 0;
  while (true) {
    const std::size_t end = std::min(name.find('/', begin), name.size());
    const std::string component = name.substr(begin, end - begin);
    const bool isLast = end == name.size();
    const int wanted = isLast ? flags : O_RDONLY | O_DIRECTORY;
    const bool leadsOut = component == ".." || (component.empty() && begin == 0 && !isLast);
    const int opened =
        leadsOut ? -1 : ::openat(at, component.c_str(), wanted | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    const int code = leadsOut ? EXDEV : opened < 0 ? reasonFor(at, component, errno) : 0;
    if (at != folder) ::close(at);
    if (opened < 0) errno = code;
    if (opened < 0 || isLast) return opened;
    at = opened;
    begin = end + 1;
  }
}
