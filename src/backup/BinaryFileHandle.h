#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/Bytes.h"
#include "platform/Files.h"
#include "platform/Secret.h"

/// Reads a binary file, or bytes in memory, from their beginning on, through a small buffer.
///
/// Numbers come in the byte order that the device writes (lowest byte first) unless an operation says
/// otherwise. Behind the end a number is 0, and a text or data is as short as what was left: `hasData` and
/// `ranOut` tell.
class PDXBinaryFileHandle {
 public:
  /// @param path  a file that cannot be read is one of no bytes.
  explicit PDXBinaryFileHandle(const std::string& path);

  /// @param bytes  are not copied and have to outlive the handle.
  explicit PDXBinaryFileHandle(PDXByteView bytes);

  /// Why the file cannot be read; empty when it can, and for bytes.
  std::string error() const { return file_ ? file_->error() : ""; }

  std::uint64_t fileSize() const { return size_; }

  /// The place of the next byte; behind the end after a skip beyond it.
  std::uint64_t position() const { return position_; }
  void setPosition(std::uint64_t position);
  bool hasData() const { return position_ < size_; }

  /// Whether anything was asked for that lies behind the end.
  bool ranOut() const { return ranOut_; }

  /// Bytes read or skipped since the beginning or the last reset.
  std::uint64_t byteCount() const { return byteCount_; }
  void resetByteCount() { byteCount_ = 0; }

  void skipBytes(std::uint64_t count);

  /// Skips one byte when `byteCount` is odd.
  void byteAlignEven();

  std::string readStringOfLength(std::size_t bytes);

  /// UTF-16 with the lowest byte first; `bytes` is twice the number of its units. As UTF-8.
  std::string readUTF16StringOfLength(std::size_t bytes);

  PDXBytes readDataOfLength(std::size_t bytes);
  PDXBytes readDataToEndOfFile();

  std::int64_t readInt64() { return static_cast<std::int64_t>(number_(8)); }
  std::uint32_t readUInt32() { return static_cast<std::uint32_t>(number_(4)); }
  std::int32_t readInt32() { return static_cast<std::int32_t>(number_(4)); }
  std::int16_t readInt16() { return static_cast<std::int16_t>(number_(2)); }
  std::int8_t readByte() { return static_cast<std::int8_t>(number_(1)); }
  std::uint8_t readUnsignedByte() { return static_cast<std::uint8_t>(number_(1)); }

  /// The highest byte first.
  std::uint16_t readUInt16();
  std::int32_t readInt32Swapped();

  void closeFile();

 private:
  bool fill_();
  std::size_t take_(std::uint8_t* to, std::size_t count);
  std::uint64_t number_(std::size_t bytes);

  std::optional<PDXFileReader> file_;
  PDXBytes buffer_;
  PDXByteView window_;             ///< The bytes at hand.
  std::uint64_t windowBegin_ = 0;  ///< Their place in the file.
  std::uint64_t size_ = 0;
  std::uint64_t position_ = 0;
  std::uint64_t byteCount_ = 0;
  bool ranOut_ = false;
};
