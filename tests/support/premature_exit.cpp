// A severe message ends the process with status 0, which would pass for a green test program. Here a program that
// ends before its tests have run to the end fails instead; children of death tests may end as they like.
#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

bool running = false;

struct Watch : ::testing::EmptyTestEventListener {
  void OnTestProgramStart(const ::testing::UnitTest &) override { running = true; }
  void OnTestProgramEnd(const ::testing::UnitTest &) override { running = false; }
};

void judgeExit() {
  if (!running || ::testing::internal::InDeathTestChild()) return;
  fflush(nullptr);
  fputs("the process ended in the middle of a test\n", stderr);
  _exit(1);
}

const bool watched = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new Watch);
  return std::atexit(judgeExit) == 0;
}();

}  // namespace
