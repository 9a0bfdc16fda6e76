#include <cstdio>
#include <cstdlib>

#include "platform/Files.h"
#include "platform/Sqlite.h"
#include "samples/BackupFolder.h"

/// Writes an encrypted copy of a plain sample backup, to time the deciphering of large files.
/// Usage: encrypt_backup PLAIN ENCRYPTED PASSWORD
int main(int count, char** arguments) {
  if (count != 4) return EXIT_FAILURE;
  const std::string plain = arguments[1];
  PDXSampleOptions options = {.folder = arguments[2]};
  options.password = arguments[3];
  PDXSampleBackupFolder backup(options);
  const PDXSQLiteDatabase manifest(PDXFiles::joined(plain, "Manifest.db"), PDXSQLiteAccess::immutable);
  auto row = manifest.prepare("SELECT fileID, domain, relativePath FROM Files WHERE flags = 1");
  while (row.step()) {
    const std::string stored = PDXFiles::joined(plain, row.text(0).substr(0, 2) + "/" + row.text(0));
    if (PDXFiles::exists(stored)) backup.addFileFrom(row.text(1), row.text(2), stored);
  }
  if (backup.finish()) return EXIT_SUCCESS;
  std::fprintf(stderr, "%s\n", backup.error().c_str());
  return EXIT_FAILURE;
}
