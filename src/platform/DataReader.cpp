#include "platform/DataReader.h"

#include <algorithm>
#include <cstring>

void PDXDataReader::seekToPosition(std::size_t position) { position_ = std::min(position, bytes_.size()); }

std::optional<std::span<const std::uint8_t>> PDXDataReader::readBytes(std::size_t count) {
  if (count > bytes_.size() - position_) return std::nullopt;
  const auto read = bytes_.subspan(position_, count);
  position_ += count;
  return read;
}

bool PDXDataReader::skipPast(std::uint8_t value) {
  const auto ahead = rest();
  const void* found = ahead.empty() ? nullptr : std::memchr(ahead.data(), value, ahead.size());
  if (found == nullptr) {
    position_ = bytes_.size();
    return false;
  }
  position_ += static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - ahead.data()) + 1;
  return true;
}
