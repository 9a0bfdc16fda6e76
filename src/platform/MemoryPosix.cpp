#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <charconv>

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

}  // namespace

namespace PDXMemory {

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
