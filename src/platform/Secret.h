#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

/// Overwrites memory with zeros in a way that the compiler does not leave out.
void wipe(void* memory, std::size_t size) noexcept;

/// Memory that is wiped before it is given back.
template <typename Value>
struct PDXWipingAllocator {
  using value_type = Value;

  PDXWipingAllocator() = default;
  template <typename Other>
  PDXWipingAllocator(const PDXWipingAllocator<Other>&) noexcept {}

  Value* allocate(std::size_t count) { return std::allocator<Value>().allocate(count); }
  void deallocate(Value* memory, std::size_t count) noexcept {
    wipe(memory, count * sizeof(Value));
    std::allocator<Value>().deallocate(memory, count);
  }
  bool operator==(const PDXWipingAllocator&) const = default;
};

/// A key or a password.
using PDXSecret = std::vector<std::uint8_t, PDXWipingAllocator<std::uint8_t>>;

/// Bytes that somebody else owns.
using PDXByteView = std::span<const std::uint8_t>;

/// The UTF-8 bytes of a text.
inline PDXByteView viewOfText(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

inline PDXSecret secretOf(PDXByteView bytes) { return {bytes.begin(), bytes.end()}; }
