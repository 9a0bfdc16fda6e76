#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/Files.h"
#include "platform/Process.h"
#include "platform/Text.h"

namespace {

constexpr std::size_t kNameLength = 16;

/// The program's own name: the kernel's is cut one character shorter.
std::string nameOf(const std::string& process) {
  std::string program;
  std::getline(std::ifstream(process + "/cmdline"), program, '\0');
  return std::string(PDXText::lastPathComponent(program)).substr(0, kNameLength);
}

class SystemProcesses final : public PDXRunningProcesses {
 public:
  std::vector<std::string> names() const override {
    std::vector<std::string> names;
    for (const std::string& entry : PDXFiles::list("/proc")) {
      if (entry.find_first_not_of("0123456789") != std::string::npos) continue;
      names.push_back(nameOf("/proc/" + entry));
    }
    return names;
  }
};

}  // namespace

std::optional<PDXDate> PDXProcess::startOf(int process) {
  std::string line;
  std::getline(std::ifstream("/proc/" + std::to_string(process) + "/stat"), line);
  // The program's name, which may hold anything, stands in brackets; the start is the twentieth field behind.
  const std::size_t end = line.rfind(')');
  if (end == std::string::npos) return std::nullopt;
  std::istringstream fields(line.substr(end + 1));
  std::string skipped;
  for (int i = 0; i < 19; ++i) fields >> skipped;
  std::int64_t ticks = -1;
  fields >> ticks;
  const long ticksPerSecond = ::sysconf(_SC_CLK_TCK);
  timespec sinceBoot{};
  if (ticks < 0 || ticksPerSecond <= 0 || ::clock_gettime(CLOCK_BOOTTIME, &sinceBoot) != 0)
    return std::nullopt;
  using std::chrono::microseconds;
  const microseconds started(ticks * 1'000'000 / ticksPerSecond);
  const microseconds now(std::int64_t{sinceBoot.tv_sec} * 1'000'000 + sinceBoot.tv_nsec / 1000);
  return std::chrono::floor<microseconds>(std::chrono::system_clock::now()) - (now - started);
}

const PDXRunningProcesses& PDXRunningProcesses::system() {
  static const SystemProcesses processes;
  return processes;
}
