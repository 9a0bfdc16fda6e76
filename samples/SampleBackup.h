#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>

/// What kind of sample to write.
struct PDXSampleOptions {
  /// The backup folder itself: made when missing, and empty.
  std::string folder;

  /// The same seed and options give the same bytes in every file, pictures in the HEIC format excepted.
  std::uint64_t seed = 1;

  /// Rows of the messages store's table `message`, from 0 up.
  std::int64_t messages = 2000;
};

/// An invented backup that looks like a phone's, to try everything on: about 200 contacts, conversations with
/// attachments of every kind, blocked numbers, and the files around them.
namespace PDXSampleBackup {

/// Writes the backup. Nothing on success, else one line that says why; then nothing is left in the folder.
/// @param stop  is asked between files and between messages; the answer is then "stopped".
std::optional<std::string> write(const PDXSampleOptions& options, const std::stop_token& stop = {});

}  // namespace PDXSampleBackup
