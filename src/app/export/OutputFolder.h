#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "platform/LockedFile.h"
#include "platform/OutputGuard.h"

/// The folder that an export writes into. It is new, empty or has an export of the same device in it; with
/// force it may be anybody's, whose files then stay as they are.
///
/// Which files are ours stands in the report of the export that is there and, as long as one runs and after
/// one that was killed, in the file ".pocketdex.lock", which also keeps a second export out.
class PDXOutputFolder {
 public:
  /// Why nothing can be written.
  struct Refusal {
    bool isMistake;  ///< In what was asked for; else the folder cannot be used now.
    std::string why;
  };

  /// @param path    absolute.
  /// @param device  whose backup it is; see PDXBackupInformation::deviceIdentifier.
  PDXOutputFolder(std::string path, const std::string& device, bool isForced);
  ~PDXOutputFolder();
  PDXOutputFolder(const PDXOutputFolder&) = delete;
  PDXOutputFolder& operator=(const PDXOutputFolder&) = delete;

  /// One line when the folder is not for this export; nothing is changed.
  std::optional<std::string> mistake() const;

  /// Makes the folder and takes the lock. From then on, as long as this lives, whatever is written below goes
  /// through a PDXOutputGuard.
  std::optional<Refusal> open();

  /// The report of the export that was there; null without one. For an open folder.
  const nlohmann::ordered_json& earlier() const { return earlier_; }

  const std::string& device() const { return device_; }

  /// Where start page and report go.
  std::string startPagePath() const;
  std::string reportPath() const;

  /// Paths of our files below the folder, sorted; those two are always among them.
  std::vector<std::string> files() const;

  /// Paths of others' files that had a name that ours would have got; sorted.
  std::vector<std::string> inTheWay() const;

  /// Gives the folder up.
  /// @param isReported  whether the report tells which files are ours.
  void close(bool isReported);

 private:
  struct Look;

  Look look_() const;
  std::optional<std::string> mistakeOf_(const Look& look) const;

  const std::string path_;
  const std::string device_;
  const bool isForced_;
  nlohmann::ordered_json earlier_;
  std::unique_ptr<PDXLockedFile> journal_;
  std::unique_ptr<PDXOutputGuard> guard_;
};
