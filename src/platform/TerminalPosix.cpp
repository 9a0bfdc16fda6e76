#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <mutex>

#include "platform/Terminal.h"

namespace {

std::mutex shownLock;

/// How the terminal was before a prompt hid what is typed.
std::optional<termios> shown;

/// False when nothing was to be hidden.
bool hide() {
  const std::lock_guard guard(shownLock);
  termios now{};
  if (::tcgetattr(STDIN_FILENO, &now) != 0 || (now.c_lflag & ECHO) == 0) return false;
  shown = now;
  now.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  return ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &now) == 0;
}

void show(const std::string& prompt) {
  std::fputs(prompt.c_str(), stderr);
  std::fflush(stderr);
}

/// Waits for a byte, and does `eachTime` again and again meanwhile. False on a stop request.
template <typename EachTime>
bool waitForInput(int descriptor, const std::stop_token& stop, EachTime eachTime) {
  constexpr int kLookMilliseconds = 50;
  pollfd input{.fd = descriptor, .events = POLLIN, .revents = 0};
  while (!stop.stop_requested()) {
    eachTime();
    if (::poll(&input, 1, kLookMilliseconds) > 0) return true;
  }
  return false;
}

/// How reading a line ended.
enum class End { lineBreak, input, failure };

/// Reads up to a line break, byte by byte so that nothing stays in a buffer.
template <typename EachTime>
End readLine(int descriptor, PDXSecret& line, const std::stop_token& stop, EachTime eachTime) {
  constexpr std::size_t kLongest = std::size_t{64} << 10;
  std::uint8_t byte = 0;
  while (line.size() < kLongest && waitForInput(descriptor, stop, eachTime)) {
    const ssize_t got = ::read(descriptor, &byte, 1);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    if (got <= 0) return got == 0 ? End::input : End::failure;
    if (byte == '\n') return End::lineBreak;
    line.push_back(byte);
  }
  return End::failure;
}

}  // namespace

namespace PDXTerminal {

bool isThere() { return ::isatty(STDIN_FILENO) != 0; }

std::optional<PDXSecret> readHidden(const std::string& prompt, const std::stop_token& stop) {
  show(prompt);
  hide();
  PDXSecret line;
  // A shell that puts the program to sleep shows what is typed, and leaves it so when the program goes on.
  const End end = readLine(STDIN_FILENO, line, stop, [&prompt] {
    if (hide()) show(prompt);
  });
  restore();
  show("\n");
  return end == End::lineBreak ? std::optional(std::move(line)) : std::nullopt;
}

void restore() {
  const std::lock_guard guard(shownLock);
  if (shown) ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &*shown);
  shown.reset();
}

std::optional<PDXSecret> firstLineOf(const std::string& file, const std::stop_token& stop) {
  // Without O_NONBLOCK a pipe that nobody writes to would be waited for here, where no stop is heard.
  const int descriptor = file == "-" ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return std::nullopt;
  PDXSecret line;
  const End end = readLine(descriptor, line, stop, [] {});
  if (descriptor != STDIN_FILENO) ::close(descriptor);
  if (end == End::failure) return std::nullopt;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

}  // namespace PDXTerminal
