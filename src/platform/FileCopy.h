#pragma once

#include <stop_token>
#include <string>

/// The system's ways of copying bytes between two open files; one source file per system.
namespace PDXFileCopy {

/// Copies all of `source` to the empty `target` (file descriptors). Zero, or the system's error number;
/// ECANCELED when stopped.
int contents(int source, int target, const std::stop_token& stop);

/// A new file in a folder that no name leads to yet, for its owner only. -1 with `errno` set where it cannot
/// be made, EOPNOTSUPP where the system or the file system has no such files.
int openNameless(const std::string& folder);

/// Gives a nameless file a name, in place of what has it. Zero, or the system's error number.
int giveName(int file, const std::string& path);

/// Gives a file a name that nothing has yet, in the same file system. Zero, or the system's error number;
/// EEXIST where something has it.
int renameToNew(const std::string& from, const std::string& to);

/// Whether a file system is known to give every copy blocks of its own.
bool neverSharesBlocks(const std::string& folder);

}  // namespace PDXFileCopy
