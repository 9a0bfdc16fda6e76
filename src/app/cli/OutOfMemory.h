#pragma once

#include <string>

#include "app/cli/ExitStatus.h"

/// How the command ends when memory runs out: one line, nothing left behind, and what was written is whole.
namespace PDXOutOfMemory {

/// Says so, without memory; answers the status to end with.
PDXExitStatus say();

/// From here on it ends so even where nothing can be unwound: in a destructor, or in a library that ends the
/// process.
void watch();

/// While it lives, that removes the folder as well.
class ScratchFolder {
 public:
  explicit ScratchFolder(const std::string& path);
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
};

}  // namespace PDXOutOfMemory
