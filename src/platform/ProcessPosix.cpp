#include "platform/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>
#include <system_error>

#include "platform/Files.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

std::string reason(int code) { return std::generic_category().message(code); }

/// The two ends of a pipe.
struct Pipe {
  Pipe() {
    if (::pipe(ends.data()) != 0) ends = {-1, -1};
    for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
  }
  ~Pipe() {
    closeEnd(0);
    closeEnd(1);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  void closeEnd(std::size_t which) {
    int& end = ends.at(which);
    if (end >= 0) ::close(end);
    end = -1;
  }

  std::array<int, 2> ends = {-1, -1};
};

/// How a program starts: in a group of its own, so that it ends with all that it started; with the signals
/// that we block or ignore as every program expects them; and without our files.
class Launch {
 public:
  explicit Launch(int output) {
    posix_spawn_file_actions_init(&files_);
    posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files_, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files_, output, STDERR_FILENO);
    posix_spawnattr_init(&attributes_);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_,
                             POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~Launch() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }
  Launch(const Launch&) = delete;
  Launch& operator=(const Launch&) = delete;

  /// 0, or why not.
  int start(const std::vector<std::string>& command, pid_t& process) const {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    return posix_spawnp(&process, arguments.front(), &files_, &attributes_, arguments.data(), environ);
  }

 private:
  posix_spawn_file_actions_t files_{};
  posix_spawnattr_t attributes_{};
};

/// A program that runs, until its end was seen.
class Child {
 public:
  Child(pid_t process, int output) : process_(process), output_(output) {}

  /// Waits for what it writes, at most for a twentieth of a second; whether there was any.
  bool read(const std::function<void(std::string_view)>& output) {
    if (output_ < 0) {
      ::poll(nullptr, 0, 20);
      return false;
    }
    pollfd waiting{.fd = output_, .events = POLLIN, .revents = 0};
    if (::poll(&waiting, 1, 50) <= 0) return false;
    const ssize_t got = ::read(output_, buffer_.data(), buffer_.size());
    if (got > 0) output({buffer_.data(), static_cast<std::size_t>(got)});
    const bool isAtEnd = got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR);
    if (isAtEnd) output_ = -1;  // It may run on without writing.
    return got > 0;
  }

  /// Nothing while it runs.
  std::optional<int> ended() {
    int status = 0;
    const pid_t found = ::waitpid(process_, &status, WNOHANG);
    if (found == process_) return status;
    return found < 0 && errno != EINTR ? std::optional(0x7F00) : std::nullopt;
  }

  void signal(int number) const { ::kill(-process_, number); }

 private:
  pid_t process_;
  int output_;
  std::array<char, 65536> buffer_{};
};

/// Sends ever harder signals once a stop is requested.
class Stopping {
 public:
  explicit Stopping(std::stop_token stop) : stop_(std::move(stop)) {}

  void look(const Child& child) {
    if (!stop_.stop_requested()) return;
    using std::chrono::seconds;
    struct Step {
      seconds after;
      int signal;
    };
    constexpr std::array<Step, 3> kSteps = {
        {{seconds(0), SIGINT}, {seconds(5), SIGTERM}, {seconds(8), SIGKILL}}};
    if (next_ == 0) since_ = Clock::now();
    while (next_ < kSteps.size() && Clock::now() - since_ >= kSteps.at(next_).after)
      child.signal(kSteps.at(next_++).signal);
  }

  bool hasBegun() const { return next_ > 0; }

 private:
  std::stop_token stop_;
  std::size_t next_ = 0;
  Clock::time_point since_;
};

/// What is still in the pipe when the program has ended. One that it started may hold the pipe for ever.
void readRest(Child& child, const std::function<void(std::string_view)>& output) {
  const auto end = Clock::now() + std::chrono::seconds(1);
  while (child.read(output) && Clock::now() < end) {
  }
}

}  // namespace

namespace PDXProcess {

void prepare() {
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(standard, F_GETFD) >= 0 || errno != EBADF) continue;
    // Takes the lowest number, which is free. The wrong way round, so that reading and writing still fail;
    // only errors go nowhere, as who closed their descriptor wants it.
    ::open("/dev/null", standard == STDOUT_FILENO ? O_RDONLY : O_WRONLY);
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit cores{};
  ::getrlimit(RLIMIT_CORE, &cores);
  cores.rlim_cur = 0;
  ::setrlimit(RLIMIT_CORE, &cores);
#ifdef __linux__
  ::prctl(PR_SET_DUMPABLE, 0);  // A dump that goes to a program has no limit.
#endif
}

Result run(const std::vector<std::string>& command, const std::function<void(std::string_view)>& output,
           const std::stop_token& stop) {
  Result result;
  Pipe pipe;
  pid_t process = -1;
  const int failed = pipe.ends[1] < 0 ? errno : Launch(pipe.ends[1]).start(command, process);
  if (failed != 0) {
    result.why = reason(failed);
    return result;
  }
  result.isStarted = true;
  pipe.closeEnd(1);
  Child child(process, pipe.ends[0]);
  Stopping stopping(stop);
  std::optional<int> status;
  while (!status) {
    stopping.look(child);
    if (!child.read(output)) status = child.ended();
  }
  readRest(child, output);
  result.isStopped = stopping.hasBegun();
  if (result.isStopped) child.signal(SIGKILL);  // What it started and left behind.
  if (WIFSIGNALED(*status)) result.signal = WTERMSIG(*status);
  if (WIFEXITED(*status)) result.status = WEXITSTATUS(*status);
  return result;
}

std::string find(const std::string& name) {
  const char* folders = std::getenv("PATH");
  std::string_view rest = folders == nullptr ? "/usr/local/bin:/usr/bin:/bin" : folders;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(':'), rest.size());
    std::string path = PDXFiles::joined(rest.substr(0, end), name);
    if (end > 0 && isExecutable(path)) return path;
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return "";
}

bool isExecutable(const std::string& path) {
  return PDXFiles::sizeOf(path).has_value() && ::access(path.c_str(), X_OK) == 0;
}

}  // namespace PDXProcess
