#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "platform/Files.h"

/// A folder of a test's own, which is also the process's temporary folder while it lives.
class PDXTestFolder {
 public:
  std::string path() const { return run_.path(); }
  std::string operator/(const std::string& name) const { return PDXFiles::joined(path(), name); }

  /// Writes a file, with the folders above it; answers its path.
  std::string write(const std::string& name, const std::string& bytes) const {
    const std::string file = *this / name;
    PDXFiles::makeFolders(PDXFiles::folderOf(file));
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
  }

 private:
  PDXTemporaryRun run_;
};

/// The whole of a file as text; "" when it cannot be read.
inline std::string fileText(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}
