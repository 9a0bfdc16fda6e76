#include "backup/BackupFile.h"

#include "platform/Text.h"

std::string PDXBackupFile::fileName() const { return std::string(PDXText::lastPathComponent(relativePath)); }
