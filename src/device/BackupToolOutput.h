#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Why a backup was not made.
enum class PDXBackupFailure {
  none,
  locked,          ///< The device is locked.
  pairingRefused,  ///< The device does not trust this computer.
  diskFull,        ///< There is no room for the backup.
  deviceGone,      ///< The device is not connected, or was unplugged.
  toolMissing,     ///< The tool cannot be started.
  toolFailed,      ///< The tool failed for another reason.
  toolKilled,      ///< A signal ended the tool.
  timedOut,        ///< The device's files were not moved to their places in time.
  incomplete,      ///< The tool ended well, and left no whole backup.
  unwritable,      ///< The folder cannot be written.
  stopped          ///< On request.
};

/// Listens to what a backup tool writes, of any length, and keeps what says why it failed.
class PDXBackupToolOutput {
 public:
  PDXBackupToolOutput();

  /// The next piece.
  void add(std::string_view piece);

  /// What the text gives as the reason; `toolFailed` when it names none that we know.
  PDXBackupFailure failure() const;

  /// The text's beginning and end as ASCII, a line that tells what is left out between them.
  std::string text() const;

  /// The last line that is not empty.
  std::string lastLine() const;

 private:
  std::vector<bool> isFound_;  ///< Of the words that we know.
  std::string carried_;        ///< The end of the last piece: words may be cut between two.
  std::string beginning_;
  std::string end_;
  std::size_t leftOut_ = 0;
};
