#include "device/BackupProgressWatcher.h"

#include <chrono>
#include <filesystem>
#include <system_error>

#include "platform/Files.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kSnapshot = "Snapshot";

bool isHidden(const fs::path& path) { return path.filename().native().starts_with('.'); }

/// Adds what lies in a folder. The device link writes there at the same time: what vanishes is passed over.
void addSizes(const fs::path& folder, const std::atomic<bool>* isStopped, std::uint64_t& size) {
  std::error_code failed;
  fs::recursive_directory_iterator entries(folder, fs::directory_options::skip_permission_denied, failed);
  while (!failed && entries != fs::recursive_directory_iterator()) {
    if (isStopped != nullptr && *isStopped) return;
    std::error_code vanished;
    if (isHidden(entries->path())) {
      entries.disable_recursion_pending();
    } else if (entries->symlink_status(vanished).type() == fs::file_type::regular && !vanished) {
      const std::uintmax_t bytes = entries->file_size(vanished);
      if (!vanished) size += bytes;
    }
    entries.increment(failed);
  }
}

}  // namespace

PDXBackupProgressWatcher::~PDXBackupProgressWatcher() {
  stop();
  if (thread_.joinable()) thread_.join();
}

void PDXBackupProgressWatcher::startWithBackupDirectoryTarget(const std::string& directory,
                                                              std::uint64_t target) {
  if (directory.empty() || target == 0 || isRunning_) return;
  if (thread_.joinable()) thread_.join();
  {
    const std::lock_guard guard(lock_);
    backupDirectory_ = directory;
    targetSize_ = target;
    endReason_ = stoppedOnRequest;
  }
  isStopRequested_ = false;
  isRunning_ = true;  // From here on, so that a stop that comes at once is waited for.
  isWatching_ = true;
  thread_ =
      std::thread([this, directory, target] { performWatchWithBackupDirectoryTarget(directory, target); });
}

void PDXBackupProgressWatcher::performWatchWithBackupDirectoryTarget(const std::string& directory,
                                                                     std::uint64_t target) {
  if (waitForDirectoryCreation(directory)) {
    if (delegate_ != nullptr) delegate_->backupProgressWatcherDidStart(*this);
    const std::string snapshot = PDXFiles::joined(directory, kSnapshot);
    waitForDirectoryCreation(snapshot);
    while (!isStopRequested_) {
      std::uint64_t size = 0;
      addSizes(snapshot, &isStopRequested_, size);
      if (isStopRequested_) break;
      if (delegate_ != nullptr) delegate_->backupProgressWatcherProgressUpdatedTarget(*this, size, target);
      stagger_();
    }
  }
  EndReason reason = stoppedOnRequest;
  {
    const std::lock_guard guard(lock_);
    reason = endReason_;
    isWatching_ = false;
  }
  if (delegate_ != nullptr) delegate_->backupProgressWatcherEndedForReason(*this, reason);
  const std::lock_guard guard(lock_);
  isRunning_ = false;
  changed_.notify_all();
}

/// Whether the folder is there; false when a stop was requested first.
bool PDXBackupProgressWatcher::waitForDirectoryCreation(const std::string& folder) {
  while (!isStopRequested_) {
    if (PDXFiles::isFolder(folder)) return true;
    stagger_();
  }
  return false;
}

/// Pauses for the whole seconds of the duration, less when `isOver` becomes true meanwhile.
template <typename IsOver>
void PDXBackupProgressWatcher::staggerUntil_(IsOver isOver) {
  const std::chrono::seconds pause(staggerDuration_ / 1000);
  if (pause.count() == 0) {
    std::this_thread::yield();
    return;
  }
  std::unique_lock guard(lock_);
  changed_.wait_for(guard, pause, isOver);
}

void PDXBackupProgressWatcher::stagger_() {
  staggerUntil_([this] { return isStopRequested_.load(); });
}

void PDXBackupProgressWatcher::requestEnd_(EndReason reason) {
  const std::lock_guard guard(lock_);
  if (!isStopRequested_) endReason_ = reason;
  isStopRequested_ = true;
  changed_.notify_all();
}

void PDXBackupProgressWatcher::stop() { requestEnd_(stoppedOnRequest); }

void PDXBackupProgressWatcher::backupEnded() { requestEnd_(backupHasEnded); }

void PDXBackupProgressWatcher::stopAndWait() {
  stop();
  while (isRunning_) staggerUntil_([this] { return !isRunning_; });
}

std::string PDXBackupProgressWatcher::backupDirectory() const {
  const std::lock_guard guard(lock_);
  return backupDirectory_;
}

std::uint64_t PDXBackupProgressWatcher::targetSize() const {
  const std::lock_guard guard(lock_);
  return targetSize_;
}

std::uint64_t PDXBackupProgressWatcher::getSnapshotSize(const std::string& snapshotFolder) {
  std::uint64_t size = 0;
  addSizes(snapshotFolder, nullptr, size);
  return size;
}
