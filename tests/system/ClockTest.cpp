#include <chrono>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "TQBase/System.h"

namespace {

using namespace TQBase;

TEST(SystemClock, WallClockMatchesSystemClock) {
  const long long expected =
      std::chrono::duration_cast<std::chrono::milliseconds>(
          std::chrono::system_clock::now().time_since_epoch())
          .count();
  EXPECT_NEAR(static_cast<double>(GetCurrentSystemTime()),
              static_cast<double>(expected), 5'000.0);
}

TEST(SystemClock, TickCountAdvancesMonotonically) {
  const long long start = GetTickCount_64();
  long long previous = start;
  for (int i = 0; i < 1000; ++i) {
    const long long now = GetTickCount_64();
    ASSERT_GE(now, previous);
    previous = now;
  }
  mSleep(30);
  EXPECT_GE(GetTickCount_64() - start, 25);  // generous: only a lower bound
}

TEST(SystemClock, ThreadIdIsKernelIdAndStable) {
  const unsigned long long mine = GetNativeCurrentThreadID();
  EXPECT_EQ(mine, static_cast<unsigned long long>(syscall(SYS_gettid)));
  EXPECT_EQ(GetNativeCurrentThreadID(), mine);
  EXPECT_EQ(mine >> 32, 0u);

  std::vector<unsigned long long> ids(4);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    threads.emplace_back([&ids, i] { ids[i] = GetNativeCurrentThreadID(); });
  }
  for (auto& t : threads) t.join();
  std::set<unsigned long long> distinct(ids.begin(), ids.end());
  distinct.insert(mine);
  EXPECT_EQ(distinct.size(), ids.size() + 1);
}

}  // namespace
