#include "platform/Log.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <atomic>
#include <mutex>
#include <utility>

#include "platform/Text.h"

namespace {

struct State {
  std::mutex lock;
  PDXLog::Listener listener;
  std::atomic<bool> verbose = false;
};

State& state() {
  static State theState;
  return theState;
}

spdlog::logger& errorLog() {
  static const auto log = [] {
    auto made = spdlog::stderr_logger_mt("pocketdex");
    made->set_pattern("pocketdex: %v");
    return made;
  }();
  return *log;
}

}  // namespace

void PDXLog::report(const PDXProblem& problem) {
  if (state().verbose) {
    const std::string why = problem.why.empty() ? "" : ": " + problem.why;
    errorLog().warn("{}", PDXText::printable(problem.what + ": " + problem.where + why));
  }
  const std::lock_guard guard(state().lock);
  if (state().listener) state().listener(problem);
}

PDXLog::Listener PDXLog::listen(Listener listener) {
  const std::lock_guard guard(state().lock);
  return std::exchange(state().listener, std::move(listener));
}

void PDXLog::setVerbose(bool verbose) { state().verbose = verbose; }

PDXProblemSeries::PDXProblemSeries(std::string what, std::string store)
    : what_(std::move(what)), store_(std::move(store)) {}

PDXProblemSeries::~PDXProblemSeries() {
  if (count_ > kMost)
    PDXLog::report(
        {.what = what_, .where = store_, .why = "and " + std::to_string(count_ - kMost) + " more"});
}

void PDXProblemSeries::add(const std::string& where, const std::string& why) {
  if (++count_ <= kMost) PDXLog::report({.what = what_, .where = where, .why = why});
}
