#include "platform/Workers.h"

#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace {

/// What the first worker that failed threw.
class Failure {
 public:
  void keep(std::exception_ptr thrown) noexcept {
    const std::lock_guard guard(lock_);
    if (first_ == nullptr) first_ = std::move(thrown);
  }

  void throwAgain() {
    if (first_ != nullptr) std::rethrow_exception(first_);
  }

 private:
  std::mutex lock_;
  std::exception_ptr first_;
};

}  // namespace

void PDXWorkers::run(unsigned count, const std::function<void(unsigned)>& work,
                     const std::function<void()>& giveUp) {
  Failure failure;
  const auto guarded = [&](unsigned worker) noexcept {
    try {
      work(worker);
    } catch (...) {
      failure.keep(std::current_exception());
      giveUp();
    }
  };
  {
    std::vector<std::jthread> others;
    try {
      others.reserve(count);
      for (unsigned i = 1; i < count; ++i) others.emplace_back([&guarded, i] { guarded(i); });
    } catch (const std::system_error&) {  // No more threads.
    } catch (const std::bad_alloc&) {
    }
    guarded(0);
  }
  failure.throwAgain();
}
