#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Date.h"

/// Other programs. Paths are UTF-8. Nothing here throws.
namespace PDXProcess {

/// What this process does before anything else: the three standard descriptors are open, so that no file of
/// ours gets one of their numbers and what is printed; a file that grows beyond its limit is a failed write,
/// as a closed pipe is, not the end; and nobody finds a password in a core dump.
void prepare();

/// How a program ended.
struct Result {
  bool isStarted = false;
  std::string why;  ///< Why it could not be started; empty otherwise.

  int status = -1;  ///< What it exited with; -1 when a signal ended it.
  int signal = 0;   ///< The signal that ended it; 0 when it exited.

  bool isStopped = false;  ///< We ended it, on request.

  bool succeeded() const { return isStarted && signal == 0 && status == 0; }
};

/// Runs a program until it ends. It reads nothing, and all that it writes, as output and as errors, goes
/// through one pipe to `output` as it comes, in pieces of any size.
/// @param command  the program, looked up in the search path when it holds no "/", and its arguments.
/// @param stop     interrupts the program, with those it started, as Ctrl-C does; one that goes on for some
///                 seconds is ended, at last by force.
Result run(const std::vector<std::string>& command, const std::function<void(std::string_view)>& output,
           const std::stop_token& stop = {});

/// When a process began, as the files that it writes tell time; nothing when there is none, or the system
/// does not tell.
std::optional<PDXDate> startOf(int process);

/// The path of a program in the folders where the system looks for them; "" when there is none.
std::string find(const std::string& name);

/// Whether a file can be run as a program.
bool isExecutable(const std::string& path);

}  // namespace PDXProcess

/// What runs on this machine.
class PDXRunningProcesses {
 public:
  virtual ~PDXRunningProcesses() = default;

  /// The names of all processes that the system shows, each cut to 16 bytes, in no order.
  virtual std::vector<std::string> names() const = 0;

  /// The machine's own: RunningProcessesLinux.cpp or RunningProcessesMac.cpp.
  static const PDXRunningProcesses& system();
};
