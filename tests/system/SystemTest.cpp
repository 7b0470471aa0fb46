// Byte order, the clocks and sleep against the system's own, with generous
// margins.

#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include <gtest/gtest.h>

#include "TQBase/System.h"

namespace {

using namespace TQBase;

// The tests run on little-endian hosts: every byte moves, and the top bit
// is a byte like the others (no sign is carried).
TEST(ByteOrder, ReversesEveryByte) {
  EXPECT_EQ(ToBigEndianInt16(0xFF01), 0x01FF);
  EXPECT_EQ(ToBigEndianInt32(0xFF020304u), 0x040302FFu);
  EXPECT_EQ(ToBigEndianInt64(0x8102030405060708ull), 0x0807060504030281ull);
}

TEST(SystemClock, FollowsTheSystemClocks) {
  using Milliseconds = std::chrono::duration<double, std::milli>;
  const Milliseconds wall = std::chrono::system_clock::now().time_since_epoch();
  EXPECT_NEAR(static_cast<double>(GetCurrentSystemTime()), wall.count(),
              5'000.0);
  // The tick count is the monotonic clock's, which the steady clock reads.
  const Milliseconds ticks =
      std::chrono::steady_clock::now().time_since_epoch();
  const long long start = GetTickCount_64();
  EXPECT_NEAR(static_cast<double>(start), ticks.count(), 5'000.0);
  mSleep(30);
  EXPECT_GE(GetTickCount_64() - start, 25);  // generous: only a lower bound
}

TEST(SystemClock, ThreadIdIsTheKernelId) {
  auto isKernelId = [] {
    return GetNativeCurrentThreadID() ==
           static_cast<unsigned long long>(syscall(SYS_gettid));
  };
  EXPECT_TRUE(isKernelId());
  bool inOtherThread = false;
  std::thread([&] { inOtherThread = isKernelId(); }).join();
  EXPECT_TRUE(inOtherThread);
}

// mSleep with the all-ones count (-1) never returns. A child process sleeps
// so; the parent sees it still asleep after a while and ends it with
// SIGTERM, which the child answers by a normal exit (so that its own
// counters, coverage among them, are written).
TEST(SleepForever, AllOnesNeverReturns) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    signal(SIGTERM, [](int) { std::exit(7); });
    mSleep(-1);
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
