#include "backup/ScratchFolder.h"

#include "platform/Files.h"
#include "platform/Log.h"

namespace PDXScratchFolder {

std::string path() {
  std::string folder = PDXFiles::joined(PDXFiles::temporary(), "Pocketdex");
  if (!PDXFiles::isFolder(folder)) PDXFiles::makePrivateFolder(folder);
  return folder;
}

bool isSafe() {
  const std::string folder = PDXFiles::joined(PDXFiles::temporary(), "Pocketdex");
  if (PDXFiles::makePrivateFolder(folder)) return true;
  PDXLog::report({.what = "scratch folder",
                  .where = folder,
                  .why = "it cannot be made, is a link or belongs to someone else; remove it"});
  return false;
}

std::string makeFolder(const std::string& prefix) {
  return isSafe() ? PDXFiles::makeUniqueFolder(PDXFiles::joined(path(), prefix)) : "";
}

void reportFull(const std::string& why, const std::string& file) {
  PDXLog::report({.what = "scratch folder",
                  .where = path(),
                  .why = why + " (for " + file + "); set TMPDIR to a folder with more room"});
}

void clear() {
  if (!isSafe()) return;
  const std::string folder = path();
  for (const std::string& name : PDXFiles::list(folder)) PDXFiles::removeTree(PDXFiles::joined(folder, name));
}

void makeRoomFor(const std::string& database) {
  for (const char* companion : {"", "-wal", "-shm", "-journal"}) PDXFiles::remove(database + companion);
}

}  // namespace PDXScratchFolder
