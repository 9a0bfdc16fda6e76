#include <copyfile.h>

#include <cerrno>

#include "platform/FileCopy.h"

int PDXFileCopy::contents(int source, int target, const std::stop_token&) {
  // Clones where the volume can, else copies the data.
  return ::fcopyfile(source, target, nullptr, COPYFILE_DATA) == 0 ? 0 : errno;
}

int PDXFileCopy::openNameless(const std::string&) {
  errno = EOPNOTSUPP;
  return -1;
}

int PDXFileCopy::giveName(int, const std::string&) { return EOPNOTSUPP; }
