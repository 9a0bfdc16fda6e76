#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "app/cli/ExitStatus.h"
#include "app/cli/Options.h"
#include "backup/BackupInformation.h"
#include "backup/DeviceData.h"

/// The backup that a command line names, found and opened.
class PDXOpenedBackup {
 public:
  /// Finds a backup by the path of its folder, or in the active backup folder by its identifier or the
  /// beginning of one. On a failure says why on standard error, in one line, and answers nothing.
  /// @param status  receives the exit status of a failure.
  static std::optional<PDXOpenedBackup> find(const std::string& nameOrPath, PDXExitStatus& status);

  const PDXBackupInformation& information() const { return information_; }

  /// Where the backup lies; absolute.
  const std::string& path() const { return path_; }

  /// The backup opened for reading its content; an encrypted one's password is tested here, before any other
  /// work. Null when it cannot be opened, with a line on standard error; `status` as above.
  std::unique_ptr<PDXDeviceData> open(const PDXBackupOptions& options, const std::stop_token& stop,
                                      PDXExitStatus& status) const;

  /// Whether a folder must not be written to, since it is the backup's own, lies in this or another backup,
  /// contains the backup, or leads there through a link inside it; says so on standard error.
  bool refusesOutput(const std::string& folder) const;

  /// Says on standard error that the backup was never finished, or that a list of it is damaged.
  void warnOfState() const;

  /// The same without looking at whether its content can be read.
  std::unique_ptr<PDXDeviceData> openForOverview() const;

 private:
  explicit PDXOpenedBackup(std::string path);

  std::string path_;
  PDXBackupInformation information_;
};
