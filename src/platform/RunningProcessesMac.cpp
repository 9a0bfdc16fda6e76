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

std::optional<PDXDate> PDXProcess::startOf(int process) {
  int query[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, process};
  kinfo_proc found{};
  std::size_t size = sizeof(found);
  if (::sysctl(query, 4, &found, &size, nullptr, 0) != 0 || size == 0) return std::nullopt;
  const timeval& start = found.kp_proc.p_starttime;
  return PDXDate(std::chrono::microseconds(std::int64_t{start.tv_sec} * 1'000'000 + start.tv_usec));
}

const PDXRunningProcesses& PDXRunningProcesses::system() {
  static const SystemProcesses processes;
  return processes;
}
