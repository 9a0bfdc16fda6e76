#pragma once

#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// Numbers that a seed decides, the same on every system: the distributions of the standard library may
/// differ from one to the next, so they are not used.
class PDXSampleRandom {
 public:
  /// @param part  keeps the parts of a sample apart: more messages do not change the contacts.
  PDXSampleRandom(std::uint64_t seed, std::uint64_t part) : engine_(seed * 0x9E3779B97F4A7C15U + part) {}

  /// From 0 to `count` - 1; `count` is at least 1.
  std::uint64_t below(std::uint64_t count) { return engine_() % count; }

  /// From `least` to `most`, both included.
  int between(int least, int most) {
    return least + static_cast<int>(below(static_cast<std::uint64_t>(most - least) + 1));
  }

  bool isOneIn(std::uint64_t count) { return below(count) == 0; }

  template <typename Values>
  const auto& pick(const Values& values) {
    return values[below(values.size())];
  }

  template <typename Value>
  std::vector<Value> shuffled(std::span<const Value> values) {
    std::vector<Value> mixed(values.begin(), values.end());
    for (std::size_t i = mixed.size(); i > 1; --i) std::swap(mixed[i - 1], mixed[below(i)]);
    return mixed;
  }

  /// An upper-case identifier in the form of a random UUID.
  std::string guid();

 private:
  std::mt19937_64 engine_;
};
