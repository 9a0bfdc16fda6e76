#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <limits>
#include <mutex>
#include <string>
#include <thread>

class PDXBackupProgressWatcher;

/// Is told how a backup grows. Called on the watcher's thread; what a receiver does not need it leaves out.
class PDXBackupProgressWatcherDelegate {
 public:
  virtual ~PDXBackupProgressWatcherDelegate() = default;

  /// The backup's folder is there.
  virtual void backupProgressWatcherDidStart(PDXBackupProgressWatcher& /*watcher*/) {}

  /// @param progress  bytes of the snapshot so far.
  /// @param target    bytes that are expected, as the watcher was given them.
  virtual void backupProgressWatcherProgressUpdatedTarget(PDXBackupProgressWatcher& /*watcher*/,
                                                          std::uint64_t /*progress*/,
                                                          std::uint64_t /*target*/) {}

  /// @param reason  one of `PDXBackupProgressWatcher::EndReason`.
  virtual void backupProgressWatcherEndedForReason(PDXBackupProgressWatcher& /*watcher*/, int /*reason*/) {}
};

/// Measures from outside how a backup grows: the device's files gather in the folder "Snapshot" of the
/// backup's folder, and are moved to their places at the end.
///
/// Idle, watching, then stopped; it can be started again.
/// Threads: watches on one of its own. `stop`, `backupEnded` and the properties are safe on any; everything
/// else is for one. Not to be started or destroyed from its delegate.
class PDXBackupProgressWatcher {
 public:
  enum EndReason : int { stoppedOnRequest = 0, backupHasEnded = 1 };

  /// The target of a backup whose size nobody can tell.
  static constexpr std::uint64_t kUnknownTarget = std::numeric_limits<std::uint64_t>::max();

  PDXBackupProgressWatcher() = default;
  ~PDXBackupProgressWatcher();
  PDXBackupProgressWatcher(const PDXBackupProgressWatcher&) = delete;
  PDXBackupProgressWatcher& operator=(const PDXBackupProgressWatcher&) = delete;

  /// Watches on a new thread. Does nothing without a directory, with a target of 0, or while it watches.
  /// @param directory  the backup's folder, which need not exist yet.
  /// @param target     bytes that the snapshot is expected to have.
  void startWithBackupDirectoryTarget(const std::string& directory, std::uint64_t target);

  /// Asks the watch to end, and does not wait.
  void stop();

  /// Asks the watch to end, and waits until it has.
  void stopAndWait();

  /// The same as `stop` for the reason that there is nothing to watch any more.
  void backupEnded();

  std::string backupDirectory() const;
  std::uint64_t targetSize() const;
  bool isWatching() const { return isWatching_; }

  /// Milliseconds between two looks, of which whole seconds count: below 1000 there is no pause at all.
  unsigned staggerDuration() const { return staggerDuration_; }
  void setStaggerDuration(unsigned milliseconds) { staggerDuration_ = milliseconds; }

  /// Null for none. Set while it does not watch.
  void setDelegate(PDXBackupProgressWatcherDelegate* delegate) { delegate_ = delegate; }

  /// Bytes of all files below the folder, hidden ones and what lies in hidden folders left out. 0 when there
  /// are none.
  static std::uint64_t getSnapshotSize(const std::string& snapshotFolder);

 private:
  void performWatchWithBackupDirectoryTarget(const std::string& directory, std::uint64_t target);
  bool waitForDirectoryCreation(const std::string& folder);
  void stagger_();
  template <typename IsOver>
  void staggerUntil_(IsOver isOver);
  void requestEnd_(EndReason reason);

  mutable std::mutex lock_;
  std::condition_variable changed_;  ///< A stop was requested, or the watch has ended.
  std::string backupDirectory_;
  std::uint64_t targetSize_ = 0;
  EndReason endReason_ = stoppedOnRequest;
  std::atomic<bool> isStopRequested_ = false;
  std::atomic<bool> isWatching_ = false;
  std::atomic<bool> isRunning_ = false;  ///< Until the delegate has heard of the end.
  std::atomic<unsigned> staggerDuration_ = 1000;
  PDXBackupProgressWatcherDelegate* delegate_ = nullptr;
  std::thread thread_;
};
