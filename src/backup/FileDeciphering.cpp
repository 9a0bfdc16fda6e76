#include "backup/FileDeciphering.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <exception>
#include <new>
#include <optional>
#include <semaphore>
#include <string_view>
#include <system_error>
#include <thread>

#include "platform/Crypto.h"

namespace {

using Outcome = PDXFiles::CopyResult::Outcome;

constexpr std::size_t kBlock = PDXAesDecipher::kBlock;
constexpr std::size_t kKeyLength = 32;
// Small enough for both buffers to stay in the processor's nearest cache: copying to and from the system is
// what takes the time here.
constexpr std::size_t kStep = std::size_t{16} << 10;
// One handing over for some steps: to wake a thread takes as long as one of them.
constexpr std::size_t kSteps = 16;
constexpr std::size_t kChunk = kSteps * kStep;

std::string_view textOf(const PDXSecret& bytes, std::size_t count) {
  return {reinterpret_cast<const char*>(bytes.data()), count};
}

/// The deciphered bytes of a file, piece by piece. The last piece ends before the padding when that is to be
/// trimmed.
class Plain {
 public:
  Plain(PDXFileReader& source, PDXAesDecipher& cipher, PDXFileDeciphering::Tail tail)
      : source_(source), cipher_(cipher), tail_(tail), left_(source.size()) {}

  bool isAtEnd() const { return left_ == 0 || !result_; }

  /// How reading went until now.
  const PDXFiles::CopyResult& result() const { return result_; }

  /// Puts the next piece to the front of `plain`, which is a chunk long, and answers how long it is.
  std::size_t next(PDXSecret& plain) {
    std::size_t count = 0;
    while (count < kChunk && !isAtEnd()) count += step_(plain.data() + count);
    return count;
  }

 private:
  std::size_t step_(std::uint8_t* plain) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(kStep, left_));
    if (source_.read(enciphered_.data(), wanted) != wanted) {
      result_ = {Outcome::readFailed, source_.error().empty() ? "it became shorter" : source_.error()};
      return 0;
    }
    cipher_.decipherChained(enciphered_.data(), plain, wanted);
    left_ -= wanted;
    const bool isTrimmed = left_ == 0 && tail_ == PDXFileDeciphering::Tail::trimmed;
    return wanted - (isTrimmed ? PDXFileDeciphering::paddingOf({plain + wanted - kBlock, kBlock}) : 0);
  }

  PDXFileReader& source_;
  PDXAesDecipher& cipher_;
  PDXFileDeciphering::Tail tail_;
  std::uint64_t left_;
  PDXSecret enciphered_ = PDXSecret(kStep);
  PDXFiles::CopyResult result_;
};

/// Reads and deciphers ahead on a thread of its own, while the caller writes: each takes about half of the
/// time.
class Ahead {
 public:
  /// Throws where there is no memory or no thread for it.
  explicit Ahead(Plain& plain) : plain_(plain), thread_([this] { fill_(); }) {}

  ~Ahead() {
    isAbandoned_ = true;
    free_.release();
  }

  Ahead(const Ahead&) = delete;
  Ahead& operator=(const Ahead&) = delete;

  /// The next piece, valid until the next call; empty at the end. Throws what the thread could not go on for.
  std::string_view next() {
    if (isTaken_) free_.release();
    isTaken_ = true;
    filled_.acquire();
    const Chunk& chunk = chunks_[taken_++ % kChunks];
    if (chunk.failure != nullptr) std::rethrow_exception(chunk.failure);
    return textOf(chunk.bytes, chunk.count);
  }

 private:
  static constexpr std::size_t kChunks = 4;

  struct Chunk {
    PDXSecret bytes = PDXSecret(kChunk);
    std::size_t count = 0;
    std::exception_ptr failure;
  };

  void fill_() noexcept {
    for (std::size_t i = 0;; ++i) {
      free_.acquire();
      if (isAbandoned_) return;
      Chunk& chunk = chunks_[i % kChunks];
      chunk.count = 0;
      try {
        chunk.count = plain_.next(chunk.bytes);
      } catch (...) {
        chunk.failure = std::current_exception();
      }
      const bool isLast = chunk.count == 0;
      filled_.release();
      if (isLast) return;
    }
  }

  Plain& plain_;
  std::array<Chunk, kChunks> chunks_;
  std::counting_semaphore<> free_{kChunks};
  std::counting_semaphore<> filled_{0};
  std::atomic<bool> isAbandoned_ = false;
  std::size_t taken_ = 0;
  bool isTaken_ = false;
  std::jthread thread_;  ///< The last member, so that it ends before the others do.
};

/// Leaves it empty where there is no memory or no thread for it: the caller's thread does all of the work
/// then.
void begin(std::optional<Ahead>& ahead, Plain& plain) {
  try {
    ahead.emplace(plain);
  } catch (const std::bad_alloc&) {
  } catch (const std::system_error&) {
  }
}

/// Writes what `next` gives until it gives nothing.
template <typename Next>
PDXFiles::CopyResult write(Next next, PDXAtomicFile& target, const std::stop_token& stop) {
  for (std::string_view piece = next(); !piece.empty() && target.error().empty(); piece = next()) {
    if (stop.stop_requested()) return {Outcome::stopped, "stopped"};
    // In steps: a Linux that puts whatever is written at once into one large folio takes far longer to find
    // room for those of some hundred kilobytes.
    for (; !piece.empty(); piece.remove_prefix(std::min(kStep, piece.size())))
      target.appendAtOnce(piece.substr(0, kStep));
  }
  return {};
}

/// Deciphers all of `source` to `target`.
PDXFiles::CopyResult pump(PDXFileReader& source, PDXAesDecipher& cipher, PDXAtomicFile& target,
                          PDXFileDeciphering::Tail tail, const std::stop_token& stop) {
  constexpr std::uint64_t kWorthAThread = 8 * kChunk;
  Plain plain(source, cipher, tail);
  PDXFiles::CopyResult written;
  std::optional<Ahead> ahead;
  if (source.size() >= kWorthAThread) begin(ahead, plain);
  if (ahead) {
    written = write([&] { return ahead->next(); }, target, stop);
    ahead.reset();
  } else {
    PDXSecret chunk(std::min<std::size_t>(kChunk, source.size()));
    written = write([&] { return textOf(chunk, plain.next(chunk)); }, target, stop);
  }
  if (!written) return written;
  if (tail == PDXFileDeciphering::Tail::kept) target.append(std::string(kBlock, '\0'));
  return plain.result();
}

}  // namespace

namespace PDXFileDeciphering {

PDXFiles::CopyResult decipher(const std::string& source, PDXByteView key, const std::string& destination,
                              Tail tail, const std::stop_token& stop) {
  PDXFileReader reader(source);
  return decipher(reader, key, destination, tail, stop);
}

PDXFiles::CopyResult decipher(PDXFileReader& reader, PDXByteView key, const std::string& destination,
                              Tail tail, const std::stop_token& stop) {
  reader.seek(0);
  if (!reader.error().empty()) return {Outcome::readFailed, reader.error()};
  if (reader.size() % kBlock != 0)
    return {Outcome::readFailed, "it was cut off: its size is no whole number of cipher blocks"};
  PDXAesDecipher cipher(key);
  if (key.size() != kKeyLength || !cipher.isValid()) return {Outcome::readFailed, "its key has a wrong size"};
  PDXAtomicFile target(destination);
  auto result = pump(reader, cipher, target, tail, stop);
  if (result && !target.commit()) result = target.result();
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
