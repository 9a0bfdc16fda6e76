#include <copyfile.h>

#include <cerrno>
#include <cstdio>

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

int PDXFileCopy::renameToNew(const std::string& from, const std::string& to) {
  return ::renamex_np(from.c_str(), to.c_str(), RENAME_EXCL) == 0 ? 0 : errno;
}

bool PDXFileCopy::neverSharesBlocks(const std::string&) { return false; }
