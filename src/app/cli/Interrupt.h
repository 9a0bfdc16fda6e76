#pragma once

#include <csignal>
#include <stop_token>
#include <string>
#include <thread>

/// Turns Ctrl-C and the other signals that end a program into a stop request, so that the run can put things
/// in order. A second signal ends the program at once, whatever hangs, with its scratch folder removed as far
/// as that is quick; the next run removes what is left.
class PDXInterrupt {
 public:
  /// Made before any other thread, whose signals it takes over, and before there is anything to put in
  /// order: a signal waits from now on until `watch`.
  PDXInterrupt();
  ~PDXInterrupt();
  PDXInterrupt(const PDXInterrupt&) = delete;
  PDXInterrupt& operator=(const PDXInterrupt&) = delete;

  /// Begins to answer signals.
  /// @param scratchFolder  removed with all it holds on a second signal.
  void watch(std::string scratchFolder);

  std::stop_token token() const { return stop_.get_token(); }

 private:
  void watch_(const std::stop_token& end);
  [[noreturn]] void endAtOnce_() const;

  std::string scratchFolder_;
  sigset_t signals_{};
  std::stop_source stop_;
  std::jthread stopper_;
  std::jthread watcher_;
};
