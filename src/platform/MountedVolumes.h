#pragma once

#include <string>
#include <vector>

/// The volumes mounted at this moment.
class PDXMountedVolumes {
 public:
  virtual ~PDXMountedVolumes() = default;

  /// Absolute UTF-8 mount points, in no order; empty when the system will not say.
  virtual std::vector<std::string> paths() const = 0;

  /// Where this system mounts what the user plugs in, e.g. "/media/"; each ends in "/".
  static const std::vector<std::string>& prefixes();

  /// The machine's own: MountedVolumesLinux.cpp or MountedVolumesMac.cpp.
  static const PDXMountedVolumes& system();
};
