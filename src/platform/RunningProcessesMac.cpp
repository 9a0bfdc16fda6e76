#include <sys/sysctl.h>

#include <string>

#include "platform/Process.h"

namespace {

class SystemProcesses final : public PDXRunningProcesses {
 public:
  std::vector<std::string> names() const override {
    int query[] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL, 0};
    std::size_t size = 0;
    if (::sysctl(query, 3, nullptr, &size, nullptr, 0) != 0) return {};
    std::vector<kinfo_proc> processes(size / sizeof(kinfo_proc) + 16);
    size = processes.size() * sizeof(kinfo_proc);
    if (::sysctl(query, 3, processes.data(), &size, nullptr, 0) != 0) return {};
    processes.resize(size / sizeof(kinfo_proc));
    std::vector<std::string> names;
    names.reserve(processes.size());
    for (const kinfo_proc& process : processes)
      names.push_back(std::string(process.kp_proc.p_comm).substr(0, 16));
    return names;
  }
};

}  // namespace

const PDXRunningProcesses& PDXRunningProcesses::system() {
  static const SystemProcesses processes;
  return processes;
}
