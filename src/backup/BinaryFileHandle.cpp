#include "backup/BinaryFileHandle.h"

#include <algorithm>
#include <array>

#include "platform/TextEncoding.h"

namespace {

constexpr std::size_t kBufferSize = std::size_t{64} << 10;

}  // namespace

PDXBinaryFileHandle::PDXBinaryFileHandle(const std::string& path)
    : file_(std::in_place, path), size_(file_->size()) {}

PDXBinaryFileHandle::PDXBinaryFileHandle(PDXByteView bytes) : window_(bytes), size_(bytes.size()) {}

void PDXBinaryFileHandle::setPosition(std::uint64_t position) {
  ranOut_ = ranOut_ || position > size_;
  position_ = position;
}

void PDXBinaryFileHandle::skipBytes(std::uint64_t count) {
  byteCount_ += count;
  setPosition(count > UINT64_MAX - position_ ? UINT64_MAX : position_ + count);
}

void PDXBinaryFileHandle::byteAlignEven() {
  if (byteCount_ % 2 != 0) skipBytes(1);
}

/// Has the window hold the byte at the position. False at the end.
bool PDXBinaryFileHandle::fill_() {
  if (position_ >= windowBegin_ && position_ - windowBegin_ < window_.size()) return true;
  if (!file_ || position_ >= size_) return false;
  buffer_.resize(kBufferSize);
  file_->seek(position_);
  window_ = PDXByteView(buffer_.data(), file_->read(buffer_.data(), buffer_.size()));
  windowBegin_ = position_;
  return !window_.empty();
}

std::size_t PDXBinaryFileHandle::take_(std::uint8_t* to, std::size_t count) {
  std::size_t taken = 0;
  while (taken < count && fill_()) {
    const PDXByteView rest = window_.subspan(static_cast<std::size_t>(position_ - windowBegin_));
    const std::size_t step = std::min(rest.size(), count - taken);
    std::copy_n(rest.begin(), step, to + taken);
    taken += step;
    position_ += step;
  }
  byteCount_ += taken;
  ranOut_ = ranOut_ || taken < count;
  return taken;
}

std::uint64_t PDXBinaryFileHandle::number_(std::size_t bytes) {
  std::array<std::uint8_t, 8> taken{};
  if (take_(taken.data(), bytes) < bytes) return 0;
  std::uint64_t number = 0;
  for (std::size_t i = bytes; i-- > 0;) number = number << 8 | taken[i];
  return number;
}

std::uint16_t PDXBinaryFileHandle::readUInt16() {
  const std::uint64_t number = number_(2);
  return static_cast<std::uint16_t>(number << 8 | number >> 8);
}

std::int32_t PDXBinaryFileHandle::readInt32Swapped() {
  return static_cast<std::int32_t>(__builtin_bswap32(static_cast<std::uint32_t>(number_(4))));
}

PDXBytes PDXBinaryFileHandle::readDataOfLength(std::size_t bytes) {
  const std::uint64_t left = hasData() ? size_ - position_ : 0;
  PDXBytes data(static_cast<std::size_t>(std::min<std::uint64_t>(bytes, left)));
  data.resize(take_(data.data(), data.size()));
  ranOut_ = ranOut_ || data.size() < bytes;
  return data;
}

PDXBytes PDXBinaryFileHandle::readDataToEndOfFile() {
  return readDataOfLength(hasData() ? static_cast<std::size_t>(size_ - position_) : 0);
}

std::string PDXBinaryFileHandle::readStringOfLength(std::size_t bytes) {
  const PDXBytes data = readDataOfLength(bytes);
  return {data.begin(), data.end()};
}

std::string PDXBinaryFileHandle::readUTF16StringOfLength(std::size_t bytes) {
  return PDXTextEncoding::decoded(readStringOfLength(bytes), "UTF-16LE").value_or("");
}

void PDXBinaryFileHandle::closeFile() {
  file_.reset();
  window_ = {};
  size_ = 0;
}
