#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

/// The library that encodes HEIC pictures never frees what it sets aside for its threads.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libx265"; }

/// Texts with dates depend on locale and time zone: every test runs in the same ones.
int main(int count, char** arguments) {
  setenv("TZ", "Europe/London", 1);
  setenv("LC_ALL", "en_US.UTF-8", 1);
  ::testing::InitGoogleTest(&count, arguments);
  return RUN_ALL_TESTS();
}
