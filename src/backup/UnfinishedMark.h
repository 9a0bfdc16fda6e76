#pragma once

#include <string>

/// Says that a backup is being made, or that making it failed. The mark lies beside the backup's folder, as
/// ".<identifier>.unfinished": it is there before anything is written, so that half a backup never looks like
/// a whole one, whatever ends the making.
namespace PDXUnfinishedMark {

/// @param backupFolder  the backup's own folder, which need not exist.
std::string pathFor(const std::string& backupFolder);

bool isSet(const std::string& backupFolder);

/// Nothing on success, else why the mark cannot be written.
std::string set(const std::string& backupFolder);

void clear(const std::string& backupFolder);

}  // namespace PDXUnfinishedMark
