#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>

#include "platform/Terminal.h"

namespace {

/// Hides what is typed, for as long as it lives.
class Hidden {
 public:
  Hidden() : changed_(::tcgetattr(STDIN_FILENO, &before_) == 0) {
    if (!changed_) return;
    termios hidden = before_;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
  }
  ~Hidden() {
    if (changed_) ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
  }
  Hidden(const Hidden&) = delete;
  Hidden& operator=(const Hidden&) = delete;

 private:
  termios before_{};
  bool changed_;
};

/// Waits for a byte. False on a stop request.
bool waitForInput(const std::stop_token& stop) {
  constexpr int kLookMilliseconds = 50;
  pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  while (!stop.stop_requested()) {
    if (::poll(&input, 1, kLookMilliseconds) > 0) return true;
  }
  return false;
}

}  // namespace

namespace PDXTerminal {

bool isThere() { return ::isatty(STDIN_FILENO) != 0; }

std::optional<PDXSecret> readHidden(const std::string& prompt, const std::stop_token& stop) {
  std::fputs(prompt.c_str(), stderr);
  std::fflush(stderr);
  PDXSecret line;
  bool isWhole = false;
  {
    const Hidden hidden;
    std::uint8_t byte = 0;
    while (!isWhole && waitForInput(stop) && ::read(STDIN_FILENO, &byte, 1) == 1) {
      isWhole = byte == '\n';
      if (!isWhole) line.push_back(byte);
    }
  }
  std::fputs("\n", stderr);
  return isWhole ? std::optional(std::move(line)) : std::nullopt;
}

}  // namespace PDXTerminal
