#include "backup/UnfinishedMark.h"

#include "platform/Files.h"
#include "platform/Text.h"

namespace PDXUnfinishedMark {

std::string pathFor(const std::string& backupFolder) {
  return PDXFiles::joined(PDXFiles::folderOf(backupFolder),
                          "." + std::string(PDXText::lastPathComponent(backupFolder)) + ".unfinished");
}

bool isSet(const std::string& backupFolder) { return PDXFiles::exists(pathFor(backupFolder)); }

std::string set(const std::string& backupFolder) {
  PDXAtomicFile file(pathFor(backupFolder));
  file.append("The backup beside this file was not made to its end.\n");
  return file.commit() ? "" : file.error();
}

void clear(const std::string& backupFolder) { PDXFiles::remove(pathFor(backupFolder)); }

}  // namespace PDXUnfinishedMark
