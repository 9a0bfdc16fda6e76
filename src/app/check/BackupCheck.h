#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

class PDXDeviceData;

/// Something about a backup that is not as it should be.
struct PDXCheckFinding {
  enum class Kind {
    list,            ///< A property list of the backup is missing or cannot be read.
    manifest,        ///< The manifest cannot be read, in part or at all.
    missing,         ///< The manifest lists the file, and the folder does not hold it.
    unreadable,      ///< The stored file cannot be read.
    undecipherable,  ///< Its key, its size or its padding is wrong.
    shorter,         ///< It holds fewer bytes than the manifest says.
    database,        ///< A database that does not pass SQLite's quick check.
    orphan,          ///< The folder holds a file that the manifest does not list.
  };

  Kind kind = Kind::missing;
  std::string fileId;        ///< "" for the property lists.
  std::string domain;        ///< "" for orphans.
  std::string relativePath;  ///< Of an orphan: its path in the backup folder.
  std::string why;

  /// E.g. "missing", as the enumerators are called.
  static const char* nameOf(Kind kind);
};

/// What a check found.
struct PDXCheckResult {
  std::uint64_t files = 0;                ///< Regular files that the manifest lists.
  std::uint64_t databases = 0;            ///< Databases among them that were checked.
  std::vector<PDXCheckFinding> findings;  ///< In the manifest's order; then the orphans, by name.
  bool wasStopped = false;
};

/// Compares a backup's manifest with the stored files. Reads of each file no more than it has to: its
/// beginning and its end, and the whole of a database.
class PDXBackupCheck {
 public:
  using Progress = std::function<void(std::size_t done, std::size_t total)>;

  /// @param deviceData  the opened backup, unlocked when it is encrypted.
  /// @param jobs        worker threads, from 1 up.
  PDXBackupCheck(PDXDeviceData& deviceData, unsigned jobs) : deviceData_(deviceData), jobs_(jobs) {}

  /// @param progress  is called from the workers, one call at a time.
  PDXCheckResult run(const Progress& progress, const std::stop_token& stop);

 private:
  PDXDeviceData& deviceData_;
  unsigned jobs_;
};
