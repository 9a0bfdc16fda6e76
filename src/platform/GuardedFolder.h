#pragma once

#include <string>
#include <vector>

#include "platform/Files.h"

/// A folder that somebody else filled, such as a backup: whatever lies below it is reached without following
/// a link, which could lead to any file of the user's. The folder itself may be reached through links.
/// Names are paths below the folder. Threads: any number at once.
class PDXGuardedFolder {
 public:
  /// Looks the folder up once; everything lies below what was found then. One that cannot be opened holds
  /// nothing.
  explicit PDXGuardedFolder(std::string path);
  ~PDXGuardedFolder();
  PDXGuardedFolder(const PDXGuardedFolder&) = delete;
  PDXGuardedFolder& operator=(const PDXGuardedFolder&) = delete;

  /// As it was given.
  const std::string& path() const { return path_; }

  enum class What { nothing, file, folder, link, other };

  /// What lies there. A name that leads through a link is taken for one.
  What whatIs(const std::string& name) const;

  PDXFileReader open(const std::string& name) const;

  /// Names of what lies in a folder, sorted by their bytes; empty when it cannot be listed.
  std::vector<std::string> list(const std::string& name) const;

 private:
  std::string path_;
  int descriptor_;
};
