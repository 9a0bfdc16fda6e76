#pragma once

#include <string>

/// The system's ways of opening what lies below a folder without following any link on the way; one source
/// file per system.
namespace PDXFileOpening {

/// Opens `name`, a relative path, below the open `folder` (a file descriptor). A link anywhere in it is
/// ELOOP, and a name that would lead out of the folder EXDEV.
/// @param flags  those of `open` for reading; links are not followed and children get no descriptor anyway.
/// @return a file descriptor; -1 with `errno` set when it cannot be opened.
int beneath(int folder, const std::string& name, int flags);

/// The same, one component after the other: for systems that cannot do it in one go.
int beneathByWalking(int folder, const std::string& name, int flags);

}  // namespace PDXFileOpening
