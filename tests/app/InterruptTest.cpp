#include "app/cli/Interrupt.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <stop_token>
#include <thread>

#include "tests/support/TestFolder.h"

namespace {

TEST(InterruptDeathTest, ASecondSignalIsHeardWhileTheFirstHangs) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  const PDXTestFolder folder;
  folder.write("scratch/secret", "x");
  const auto twice = [&] {
    PDXInterrupt interrupt;
    interrupt.watch(folder / "scratch");
    std::promise<void> isHanging;
    const std::stop_callback hang(interrupt.token(), [&] {
      isHanging.set_value();
      std::this_thread::sleep_for(std::chrono::hours(1));
    });
    ::kill(::getpid(), SIGINT);
    isHanging.get_future().wait();
    ::kill(::getpid(), SIGINT);
    std::this_thread::sleep_for(std::chrono::seconds(20));
    ::_exit(1);
  };
  EXPECT_EXIT(twice(), testing::ExitedWithCode(130), "");
}

}  // namespace
