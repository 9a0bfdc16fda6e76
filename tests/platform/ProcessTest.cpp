#include "platform/Process.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace {

/// A bit for each thing that is not as it should be; in a process of its own, which it ends.
[[noreturn]] void lookAfterPreparing() {
  ::close(STDIN_FILENO);
  ::close(STDOUT_FILENO);
  PDXProcess::prepare();
  int faults = 0;
  const int file = ::dup(STDERR_FILENO);
  if (file <= STDERR_FILENO) faults |= 1;
  char byte = 0;
  if (::read(STDIN_FILENO, &byte, 1) >= 0) faults |= 2;
  if (::write(STDOUT_FILENO, &byte, 1) >= 0) faults |= 4;
  rlimit cores{};
  ::getrlimit(RLIMIT_CORE, &cores);
  if (cores.rlim_cur != 0) faults |= 8;
#ifdef __linux__
  if (::prctl(PR_GET_DUMPABLE) != 0) faults |= 16;
#endif
  ::_exit(faults);
}

TEST(Process, IsPreparedBeforeItHandlesPasswordsAndFiles) {
  EXPECT_EXIT(lookAfterPreparing(), testing::ExitedWithCode(0), "");
}

}  // namespace
