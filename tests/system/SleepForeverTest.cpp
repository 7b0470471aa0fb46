// mSleep with the all-ones count (-1) never returns. A child process sleeps
// so; the parent sees it still asleep after a while and ends it with
// SIGTERM, which the child answers by a normal exit (so that its own
// counters, coverage among them, are written).

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include <gtest/gtest.h>

#include "TQBase/System.h"

namespace {

TEST(SleepForever, AllOnesNeverReturns) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    signal(SIGTERM, [](int) { std::exit(7); });
    TQBase::mSleep(-1);
    _exit(0);  // only reached if the sleep ended
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, WNOHANG), 0) << "the sleep ended";
  kill(child, SIGTERM);
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
}

}  // namespace
