#include <fstream>
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

const PDXRunningProcesses& PDXRunningProcesses::system() {
  static const SystemProcesses processes;
  return processes;
}
