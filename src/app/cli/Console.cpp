#include "app/cli/Console.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/Log.h"
#include "platform/Text.h"

namespace {

/// Whether the text arrives is nobody's concern: what a run did must not depend on who reads its errors.
void say(const std::string& text) {
  std::fputs(text.c_str(), stderr);
  std::fflush(stderr);
}

}  // namespace

void PDXConsole::line(const std::string& text) const {
  const std::string shown = PDXText::printable(text) + "\n";
  std::fwrite(shown.data(), 1, shown.size(), stdout);
}

void PDXConsole::note(const std::string& text) const {
  if (!quiet) line(text);
}

void PDXConsole::error(const std::string& text) {
  say(fmt::format("pocketdex: {}\n", PDXText::printable(text)));
}

void PDXConsole::problem(const PDXProblem& problem) {
  error(problem.what + " could not be read: " + problem.where +
        (problem.why.empty() ? "" : ": " + problem.why));
}

void PDXConsole::progress(const std::string& what, std::size_t done, std::size_t total) {
  if (isHidden_() || total == 0) return;
  constexpr int kWidth = 30;
  const int percent = static_cast<int>(done * 100 / total);
  if (isShowing_ && percent == lastShown_) return;
  lastShown_ = percent;
  isShowing_ = true;
  const auto filled = static_cast<std::size_t>(percent * kWidth / 100);
  const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
  say(fmt::format("\r{} [{}] {}/{}", what, bar, done, total));
}

void PDXConsole::progressText(const std::string& text) {
  if (isHidden_()) return;
  isShowing_ = true;
  say(fmt::format("\r{}\x1B[K", PDXText::printable(text)));
}

bool PDXConsole::isHidden_() const { return quiet || noProgress || ::isatty(STDERR_FILENO) == 0; }

bool PDXConsole::outputArrived() {
  errno = 0;
  const bool arrived = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  return arrived || errno == EPIPE;
}

void PDXConsole::endProgress() {
  if (!isShowing_) return;
  say("\r\x1B[K");
  isShowing_ = false;
}
