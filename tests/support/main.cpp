#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

/// Texts with dates depend on locale and time zone: every test runs in the same ones.
int main(int count, char** arguments) {
  setenv("TZ", "Europe/London", 1);
  setenv("LC_ALL", "en_US.UTF-8", 1);
  ::testing::InitGoogleTest(&count, arguments);
  return RUN_ALL_TESTS();
}
