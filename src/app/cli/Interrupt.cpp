#include "app/cli/Interrupt.h"

#include <pthread.h>
#include <unistd.h>

#include <ctime>
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
    if (stop_.stop_requested()) {
      PDXTerminal::restore();
      PDXFiles::removeTree(scratchFolder_);
      ::_exit(static_cast<int>(PDXExitStatus::interrupted));
    }
    stop_.request_stop();
  }
}
