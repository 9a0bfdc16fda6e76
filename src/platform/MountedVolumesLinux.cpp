#include <mntent.h>

#include <cstdio>
#include <memory>

#include "platform/MountedVolumes.h"

namespace {

class LinuxVolumes final : public PDXMountedVolumes {
 public:
  std::vector<std::string> paths() const override {
    struct Close {
      void operator()(FILE* table) const noexcept { endmntent(table); }
    };
    std::vector<std::string> mounted;
    const std::unique_ptr<FILE, Close> table(setmntent("/proc/self/mounts", "r"));
    if (table == nullptr) return mounted;
    mntent entry{};
    char buffer[8192];
    while (getmntent_r(table.get(), &entry, buffer, sizeof buffer) != nullptr)
      mounted.emplace_back(entry.mnt_dir);
    return mounted;
  }
};

}  // namespace

const std::vector<std::string>& PDXMountedVolumes::prefixes() {
  static const std::vector<std::string> list = {"/Volumes/", "/media/", "/run/media/", "/mnt/"};
  return list;
}

const PDXMountedVolumes& PDXMountedVolumes::system() {
  static const LinuxVolumes volumes;
  return volumes;
}
