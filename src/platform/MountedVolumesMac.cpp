#include <sys/mount.h>

#include "platform/MountedVolumes.h"

namespace {

class MacVolumes final : public PDXMountedVolumes {
 public:
  std::vector<std::string> paths() const override {
    struct statfs* table = nullptr;
    const int count = getmntinfo(&table, MNT_NOWAIT);
    std::vector<std::string> mounted;
    for (int i = 0; i < count; ++i) mounted.emplace_back(table[i].f_mntonname);
    return mounted;
  }
};

}  // namespace

const std::vector<std::string>& PDXMountedVolumes::prefixes() {
  static const std::vector<std::string> list = {"/Volumes/"};
  return list;
}

const PDXMountedVolumes& PDXMountedVolumes::system() {
  static const MacVolumes volumes;
  return volumes;
}
