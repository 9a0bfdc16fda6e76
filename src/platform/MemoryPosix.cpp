#include <fcntl.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <charconv>
#include <csignal>
#include <exception>
#include <new>
#include <system_error>

#include "platform/Memory.h"

namespace {

/// Of the address space; nothing where the system does not tell. Read without memory of our own.
std::optional<std::uint64_t> used() {
  const int descriptor = ::open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return std::nullopt;
  std::array<char, 64> text{};
  const ssize_t count = ::read(descriptor, text.data(), text.size());
  ::close(descriptor);
  std::uint64_t pages = 0;
  if (count <= 0 || std::from_chars(text.data(), text.data() + count, pages).ec != std::errc())
    return std::nullopt;
  return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

std::atomic<void (*)()> theEnd = nullptr;

/// Whether so little is left that whatever has just gone wrong most likely did for that reason.
bool isShort() {
  constexpr std::uint64_t kLittle = std::uint64_t{64} << 20;
  const auto room = PDXMemory::left();
  return room && *room < kLittle;
}

bool isOfMemory(const std::exception_ptr& thrown) {
  try {
    if (thrown != nullptr) std::rethrow_exception(thrown);
  } catch (const std::bad_alloc&) {
    return true;
  } catch (const std::system_error& error) {
    return error.code() == std::errc::not_enough_memory ||
           error.code() == std::errc::resource_unavailable_try_again;
  } catch (...) {
  }
  return false;
}

[[noreturn]] void onTerminate() {
  if (isOfMemory(std::current_exception()) || isShort()) PDXMemory::gone();
  std::abort();
}

/// Libraries that do not look at what they got for memory end here, and so does the stack when it cannot
/// grow.
void onSignal(int signal) {
  if (isShort()) PDXMemory::gone();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

/// A stack of its own for the handler, since the main thread's may be what cannot grow.
void watchSignals() {
  static std::array<char, std::size_t{64} << 10> stack;
  const stack_t other{.ss_sp = stack.data(), .ss_flags = 0, .ss_size = stack.size()};
  ::sigaltstack(&other, nullptr);
  struct sigaction action {};
  action.sa_handler = onSignal;
  action.sa_flags = SA_ONSTACK;
  for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGTRAP}) ::sigaction(signal, &action, nullptr);
}

}  // namespace

namespace PDXMemory {

void requireRoomFor(std::uint64_t bytes) {
  if (!hasRoomFor(bytes)) throw std::bad_alloc();
}

void throwIfLimited() {
  if (left()) throw std::bad_alloc();
}

void endWhenGone(void (*end)()) {
  theEnd = end;
  // Without a limit memory is never refused, and whatever looks for faults has handlers of its own.
  if (!left()) return;
#ifdef M_ARENA_MAX
  // Threads share one: each of their own sets aside 64 megabytes of address space, whatever it holds.
  ::mallopt(M_ARENA_MAX, 1);
#endif
  std::set_terminate(onTerminate);
  watchSignals();
}

void gone() {
  if (theEnd == nullptr) return;
  // The first comes through; others wait for the end, since they cannot go on.
  static std::atomic_flag isEnding;
  if (isEnding.test_and_set()) {
    while (true) ::pause();
  }
  theEnd.load()();
}

std::optional<std::uint64_t> left() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return std::nullopt;
  const auto taken = used();
  if (!taken) return std::nullopt;
  return limit.rlim_cur > *taken ? limit.rlim_cur - *taken : 0;
}

bool hasRoomFor(std::uint64_t bytes) {
  constexpr std::uint64_t kSpare = std::uint64_t{32} << 20;
  const auto room = left();
  return !room || *room >= bytes + kSpare;
}

}  // namespace PDXMemory
