#include "platform/Log.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

TEST(Log, HandsEveryProblemToOneListener) {
  std::vector<PDXProblem> heard;
  const auto before = PDXLog::listen([&heard](const PDXProblem& problem) { heard.push_back(problem); });
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([] {
        for (int n = 0; n < 250; ++n) PDXLog::report({"messages", "sms.db", "damaged"});
      });
    }
  }
  PDXLog::listen(before);
  PDXLog::report({"messages", "sms.db", "nobody listens"});
  EXPECT_EQ(heard, std::vector<PDXProblem>(1000, {"messages", "sms.db", "damaged"}));
}

TEST(Log, IsSilentUnlessVerbose) {
  ::testing::internal::CaptureStderr();
  PDXLog::report({"messages", "sms.db", "damaged"});
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

}  // namespace
