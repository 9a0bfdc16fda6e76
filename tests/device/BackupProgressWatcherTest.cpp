#include "device/BackupProgressWatcher.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "tests/support/TestFolder.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// Keeps what the watcher tells.
class Told final : public PDXBackupProgressWatcherDelegate {
 public:
  void backupProgressWatcherDidStart(PDXBackupProgressWatcher&) override {
    note([this] { ++starts_; });
  }
  void backupProgressWatcherProgressUpdatedTarget(PDXBackupProgressWatcher&, std::uint64_t progress,
                                                  std::uint64_t target) override {
    note([&] {
      ++looks_;
      if (sizes_.empty() || sizes_.back() != progress) sizes_.push_back(progress);
      EXPECT_EQ(target, 5000U);
    });
  }
  void backupProgressWatcherEndedForReason(PDXBackupProgressWatcher& watcher, int reason) override {
    EXPECT_FALSE(watcher.isWatching());
    note([&] { reasons_.push_back(reason); });
  }

  /// Waits until that many sizes, all different from the one before, were told.
  std::vector<std::uint64_t> sizes(std::size_t count) {
    std::unique_lock guard(lock_);
    changed_.wait_for(guard, 20s, [&] { return sizes_.size() >= count; });
    return sizes_;
  }

  /// Waits for that many looks, however little they told of.
  bool hasLooked(int times) {
    std::unique_lock guard(lock_);
    return changed_.wait_for(guard, 20s, [&] { return looks_ >= times; });
  }

  int starts() { return counted(starts_); }
  int looks() { return counted(looks_); }
  std::vector<int> reasons() {
    const std::lock_guard guard(lock_);
    return reasons_;
  }

 private:
  template <typename Change>
  void note(Change change) {
    const std::lock_guard guard(lock_);
    change();
    changed_.notify_all();
  }
  int counted(const int& count) {
    const std::lock_guard guard(lock_);
    return count;
  }

  std::mutex lock_;
  std::condition_variable changed_;
  int starts_ = 0;
  int looks_ = 0;
  std::vector<std::uint64_t> sizes_;
  std::vector<int> reasons_;
};

class BackupProgressWatcher : public testing::Test {
 protected:
  BackupProgressWatcher() {
    watcher_.setDelegate(&told_);
    watcher_.setStaggerDuration(999);
  }

  PDXTestFolder folder_;
  Told told_;
  PDXBackupProgressWatcher watcher_;
};

TEST_F(BackupProgressWatcher, TellsHowTheSnapshotGrows) {
  watcher_.startWithBackupDirectoryTarget(folder_ / "device", 5000);
  EXPECT_TRUE(watcher_.isWatching());
  EXPECT_EQ(watcher_.backupDirectory(), folder_ / "device");
  EXPECT_EQ(watcher_.targetSize(), 5000U);
  PDXFiles::makeFolders(folder_ / "device/Snapshot");
  EXPECT_EQ(told_.sizes(1), std::vector<std::uint64_t>{0}) << "nothing in it yet";
  folder_.write("device/Snapshot/.hidden", std::string(1000, 'x'));
  folder_.write("device/Snapshot/.folder/file", std::string(1000, 'x'));
  folder_.write("device/outside", std::string(1000, 'x'));
  folder_.write("device/Snapshot/ab/cd/file", std::string(300, 'x'));
  EXPECT_EQ(told_.sizes(2).back(), 300U);
  EXPECT_TRUE(told_.hasLooked(5)) << "it goes on though nothing grows";
  watcher_.backupEnded();
  watcher_.stopAndWait();
  EXPECT_EQ(told_.starts(), 1);
  EXPECT_EQ(told_.reasons(), std::vector<int>{1});

  watcher_.startWithBackupDirectoryTarget(folder_ / "device", 5000);
  watcher_.stopAndWait();
  EXPECT_FALSE(watcher_.isWatching());
  EXPECT_EQ(told_.reasons(), (std::vector<int>{1, 0})) << "it can be started again";
}

TEST_F(BackupProgressWatcher, StopsAtOnceWhileItWaits) {
  watcher_.setStaggerDuration(60'000);
  for (const char* present : {"", "device"}) {
    if (*present != 0) PDXFiles::makeFolders(folder_ / present);
    const auto start = Clock::now();
    watcher_.startWithBackupDirectoryTarget(folder_ / "device", 5000);
    watcher_.stopAndWait();
    EXPECT_LT(Clock::now() - start, 10s);
  }
  EXPECT_EQ(told_.looks(), 0);
  EXPECT_EQ(told_.reasons(), (std::vector<int>{0, 0}));
}

TEST_F(BackupProgressWatcher, PausesForWholeSeconds) {
  watcher_.setStaggerDuration(1999);
  PDXFiles::makeFolders(folder_ / "device/Snapshot");
  watcher_.startWithBackupDirectoryTarget(folder_ / "device", 5000);
  std::this_thread::sleep_for(1500ms);
  watcher_.stopAndWait();
  EXPECT_LE(told_.looks(), 2) << "without a pause it would be thousands";
}

TEST_F(BackupProgressWatcher, NeedsADirectoryAndATarget) {
  watcher_.startWithBackupDirectoryTarget("", 5000);
  watcher_.startWithBackupDirectoryTarget(folder_ / "device", 0);
  EXPECT_FALSE(watcher_.isWatching());
  watcher_.stopAndWait();
  EXPECT_TRUE(told_.reasons().empty());
}

}  // namespace
