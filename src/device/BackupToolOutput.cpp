#include "device/BackupToolOutput.h"

#include <algorithm>
#include <array>
#include <functional>

#include "platform/Text.h"

namespace {

constexpr std::size_t kKept = std::size_t{64} << 10;

struct Word {
  std::string_view text;  ///< In lower case.
  PDXBackupFailure meaning;
};

/// What the tools write, in the order in which it counts. The numbers are those of the service on the device
/// that makes backups, and of the pairing with it.
constexpr std::array<Word, 21> kWords = {{{"mberrordomain/208", PDXBackupFailure::locked},
                                          {"device is locked", PDXBackupFailure::locked},
                                          {"lockdownd, error code -17", PDXBackupFailure::locked},
                                          {"password protected", PDXBackupFailure::locked},
                                          {"errorcode 208:", PDXBackupFailure::locked},
                                          {"lockdownd, error code -18", PDXBackupFailure::pairingRefused},
                                          {"lockdownd, error code -19", PDXBackupFailure::pairingRefused},
                                          {"lockdownd, error code -21", PDXBackupFailure::pairingRefused},
                                          {"denied pairing", PDXBackupFailure::pairingRefused},
                                          {"denied the trust", PDXBackupFailure::pairingRefused},
                                          {"refused to pair", PDXBackupFailure::pairingRefused},
                                          {"not paired", PDXBackupFailure::pairingRefused},
                                          {"mberrordomain/105", PDXBackupFailure::diskFull},
                                          {"errorcode 105:", PDXBackupFailure::diskFull},
                                          {"no space left on device", PDXBackupFailure::diskFull},
                                          {"insufficient free disk space", PDXBackupFailure::diskFull},
                                          {"no device found", PDXBackupFailure::deviceGone},
                                          {"device disconnected", PDXBackupFailure::deviceGone},
                                          {"device not found", PDXBackupFailure::deviceGone},
                                          {"receive from mobilebackup2", PDXBackupFailure::deviceGone},
                                          {"unplugged", PDXBackupFailure::deviceGone}}};

constexpr std::size_t kLongest = 64;

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }

/// Skips along by the length of the word: a tool may write a lot.
bool holds(const std::string& text, std::string_view word) {
  const std::boyer_moore_horspool_searcher searcher(word.begin(), word.end());
  return std::search(text.begin(), text.end(), searcher) != text.end();
}

std::string ascii(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) c = '?';
  }
  return text;
}

}  // namespace

PDXBackupToolOutput::PDXBackupToolOutput() : isFound_(kWords.size()) {}

void PDXBackupToolOutput::add(std::string_view piece) {
  std::string text = carried_;
  text.reserve(carried_.size() + piece.size());
  std::transform(piece.begin(), piece.end(), std::back_inserter(text), lowered);
  for (std::size_t i = 0; i < kWords.size(); ++i) {
    if (!isFound_[i]) isFound_[i] = holds(text, kWords.at(i).text);
  }
  carried_ = text.substr(text.size() - std::min(text.size(), kLongest));

  const std::size_t room = std::min(piece.size(), kKept - beginning_.size());
  beginning_.append(piece.substr(0, room));
  end_.append(piece.substr(room));
  if (end_.size() <= 2 * kKept) return;
  leftOut_ += end_.size() - kKept;
  end_.erase(0, end_.size() - kKept);
}

PDXBackupFailure PDXBackupToolOutput::failure() const {
  for (std::size_t i = 0; i < kWords.size(); ++i) {
    if (isFound_[i]) return kWords.at(i).meaning;
  }
  return PDXBackupFailure::toolFailed;
}

std::string PDXBackupToolOutput::text() const {
  const std::string gap = leftOut_ == 0 ? "" : "\n[" + std::to_string(leftOut_) + " bytes left out]\n";
  return ascii(beginning_ + gap + end_);
}

std::string PDXBackupToolOutput::lastLine() const {
  const std::string all = ascii(end_.empty() ? beginning_ : end_);
  const std::string_view trimmed = PDXText::trimmed(all);
  const std::size_t start = trimmed.find_last_of("\n\r");
  return std::string(PDXText::trimmed(start == std::string_view::npos ? trimmed : trimmed.substr(start + 1)));
}
