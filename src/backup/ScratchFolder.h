#pragma once

#include <string>

/// The folder for readable copies of a backup's files: "Pocketdex" in the temporary folder. Nobody else may
/// enter it: the copies are the content that the backup's password protects.
namespace PDXScratchFolder {

/// The folder's path; made when it is missing.
std::string path();

/// Whether the folder is there, is no link and belongs to this user alone. Nothing is written to it
/// otherwise.
bool isSafe();

/// Makes a folder in it that nobody else uses, its name beginning so; "" when it cannot be made.
std::string makeFolder(const std::string& prefix);

/// Removes everything in it.
void clear();

/// Says that a copy could not be written there, and what to do. `file` is what was copied.
void reportFull(const std::string& why, const std::string& file);

/// Makes room at `database` in the scratch folder for a fresh copy: removes an older one, and the companions
/// of an older database of that name, which SQLite would take for its own.
void makeRoomFor(const std::string& database);

}  // namespace PDXScratchFolder
