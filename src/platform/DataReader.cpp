#include "platform/DataReader.h"

#include <algorithm>

void PDXDataReader::seekToPosition(std::size_t position) { position_ = std::min(position, bytes_.size()); }

std::optional<std::span<const std::uint8_t>> PDXDataReader::readBytes(std::size_t count) {
  if (count > bytes_.size() - position_) return std::nullopt;
  const auto read = bytes_.subspan(position_, count);
  position_ += count;
  return read;
}

bool PDXDataReader::skipPast(std::uint8_t value) {
  const auto ahead = rest();
  const auto found = std::find(ahead.begin(), ahead.end(), value);
  position_ += static_cast<std::size_t>(found - ahead.begin());
  if (found == ahead.end()) return false;
  ++position_;
  return true;
}
