#include "backup/FileDeciphering.h"

#include <algorithm>

#include "platform/Crypto.h"

namespace {

using Outcome = PDXFiles::CopyResult::Outcome;

constexpr std::size_t kBlock = PDXAesDecipher::kBlock;
constexpr std::size_t kKeyLength = 32;
// Small enough for both buffers to stay in the processor's nearest cache: copying to and from the system is
// what takes the time here.
constexpr std::size_t kChunk = std::size_t{16} << 10;

std::string_view textOf(const PDXSecret& bytes, std::size_t count) {
  return {reinterpret_cast<const char*>(bytes.data()), count};
}

/// Deciphers all of `source` to `target`.
PDXFiles::CopyResult pump(PDXFileReader& source, PDXAesDecipher& cipher, PDXAtomicFile& target,
                          PDXFileDeciphering::Tail tail, const std::stop_token& stop) {
  PDXSecret enciphered(kChunk);
  PDXSecret plain(kChunk);
  for (std::uint64_t left = source.size(); left > 0;) {
    if (stop.stop_requested()) return {Outcome::stopped, "stopped"};
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, left));
    if (source.read(enciphered.data(), wanted) != wanted) {
      return {Outcome::readFailed, source.error().empty() ? "it became shorter" : source.error()};
    }
    cipher.decipherChained(enciphered.data(), plain.data(), wanted);
    left -= wanted;
    std::size_t count = wanted;
    if (left == 0 && tail == PDXFileDeciphering::Tail::trimmed) {
      count -= PDXFileDeciphering::paddingOf({plain.data() + wanted - kBlock, kBlock});
    }
    target.appendAtOnce(textOf(plain, count));
    if (!target.error().empty()) break;
  }
  if (tail == PDXFileDeciphering::Tail::kept) target.append(std::string(kBlock, '\0'));
  return {};
}

}  // namespace

namespace PDXFileDeciphering {

PDXFiles::CopyResult decipher(const std::string& source, PDXByteView key, const std::string& destination,
                              Tail tail, const std::stop_token& stop) {
  PDXFileReader reader(source);
  if (!reader.error().empty()) return {Outcome::readFailed, reader.error()};
  if (reader.size() % kBlock != 0)
    return {Outcome::readFailed, "it was cut off: its size is no whole number of cipher blocks"};
  PDXAesDecipher cipher(key);
  if (key.size() != kKeyLength || !cipher.isValid()) return {Outcome::readFailed, "its key has a wrong size"};
  PDXAtomicFile target(destination);
  auto result = pump(reader, cipher, target, tail, stop);
  if (result && !target.commit()) result = {Outcome::writeFailed, target.error()};
  return result;
}

std::optional<PDXSecret> blockAt(PDXFileReader& source, PDXByteView key, std::uint64_t position) {
  PDXSecret before(kBlock);  // Each block is chained to the one before it, the first one to zeros.
  PDXSecret enciphered(kBlock);
  if (position > 0) {
    source.seek(position - kBlock);
    if (source.read(before.data(), kBlock) != kBlock) return std::nullopt;
  } else {
    source.seek(0);
  }
  if (source.read(enciphered.data(), kBlock) != kBlock) return std::nullopt;
  PDXAesDecipher cipher(key, before);
  if (!cipher.isValid()) return std::nullopt;
  PDXSecret plain(kBlock);
  cipher.decipherChained(enciphered.data(), plain.data(), kBlock);
  return plain;
}

std::size_t paddingOf(PDXByteView block) {
  const std::size_t count = block.back();
  if (count == 0 || count > kBlock) return 0;
  const auto padding = block.last(count);
  return std::all_of(padding.begin(), padding.end(), [&](std::uint8_t byte) { return byte == count; }) ? count
                                                                                                       : 0;
}

}  // namespace PDXFileDeciphering
