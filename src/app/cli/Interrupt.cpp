#include "app/cli/Interrupt.h"

#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <exception>
#include <future>
#include <system_error>
#include <utility>

#include "app/cli/ExitStatus.h"
#include "platform/Files.h"
#include "platform/Terminal.h"

PDXInterrupt::PDXInterrupt() {
  sigemptyset(&signals_);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&signals_, signal);
  pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
}

void PDXInterrupt::watch(std::string scratchFolder) {
  scratchFolder_ = std::move(scratchFolder);
  watcher_ = std::jthread([this](const std::stop_token& end) { watch_(end); });
}

PDXInterrupt::~PDXInterrupt() = default;

void PDXInterrupt::watch_(const std::stop_token& end) {
  constexpr timespec kLook{.tv_sec = 0, .tv_nsec = 50'000'000};
  while (!end.stop_requested()) {
    if (sigtimedwait(&signals_, nullptr, &kLook) < 0) continue;
    if (stopper_.joinable() || stop_.stop_requested()) endAtOnce_();
    // Aside, since what is done on a stop may wait for work that hangs; the next signal must still be heard.
    try {
      stopper_ = std::jthread([this] { stop_.request_stop(); });
    } catch (const std::system_error&) {  // No memory for a thread.
      stop_.request_stop();
    }
  }
}

void PDXInterrupt::endAtOnce_() const {
  constexpr std::chrono::milliseconds kForTidying{500};
  try {
    std::promise<void> tidied;
    auto isTidy = tidied.get_future();
    std::thread([tidied = std::move(tidied), folder = scratchFolder_]() mutable {
      PDXTerminal::restore();
      PDXFiles::removeTree(folder);
      tidied.set_value();
    }).detach();
    isTidy.wait_for(kForTidying);
  } catch (const std::exception&) {  // No memory for a thread: the next run tidies up.
  }
  ::_exit(static_cast<int>(PDXExitStatus::interrupted));
}
