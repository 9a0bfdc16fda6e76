#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// Reads bytes in memory one after the other. It looks at the bytes, which must outlive it.
class PDXDataReader {
 public:
  explicit PDXDataReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::size_t length() const { return bytes_.size(); }
  std::size_t position() const { return position_; }

  /// Moves to a byte; a place behind the end becomes the end.
  void seekToPosition(std::size_t position);

  /// Nothing at the end.
  std::optional<std::uint8_t> readByte() {
    if (position_ == bytes_.size()) return std::nullopt;
    return bytes_[position_++];
  }

  /// The next `count` bytes; when there are fewer, nothing, and the position stays.
  std::optional<std::span<const std::uint8_t>> readBytes(std::size_t count);

  /// Moves behind the next byte of that value and answers true; to the end when there is none.
  bool skipPast(std::uint8_t value);

  /// Everything from the position on, which stays.
  std::span<const std::uint8_t> rest() const { return bytes_.subspan(position_); }

 private:
  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;
};
