#include <atomic>
#include <chrono>
#include <climits>
#include <thread>
#include <vector>

#include "TQBase/Locks.h"
#include "gtest/gtest.h"

namespace {

using TQBase::TQSemaphore;
using namespace std::chrono_literals;

constexpr auto kSettle = 100ms;

// Takes permits with wait(0) until one is refused.
int drain(TQSemaphore& semaphore) {
  int taken = 0;
  while (semaphore.wait(0)) ++taken;
  return taken;
}

TEST(Semaphore, PermitsOnHandPassWithoutBlocking) {
  struct Row {
    const char* name;
    int start;
    int signals;
    long long timeout;
    int expectedPasses;  // wait(timeout) calls that pass before wait(0) fails
  };
  const Row rows[] = {
      {"default start", 0, 0, 0, 0},
      {"three permits, no wait", 3, 0, 0, 3},
      {"three permits, unlimited", 3, 0, -1, 3},
      {"three permits, long timeout", 3, 0, 60000, 3},
      {"two signals, nobody waiting", 0, 2, 0, 2},
      {"debt of two", -2, 0, 0, 0},
      {"debt paid by two signals", -2, 2, 0, 0},
      {"debt paid, one spare", -2, 3, 0, 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    TQSemaphore semaphore(row.start);
    for (int i = 0; i < row.signals; ++i) semaphore.signal();
    for (int i = 0; i < row.expectedPasses; ++i)
      EXPECT_TRUE(semaphore.wait(row.timeout));
    EXPECT_FALSE(semaphore.wait(0));
    EXPECT_EQ(drain(semaphore), 0);
  }
  TQSemaphore defaulted;
  EXPECT_FALSE(defaulted.wait(0));
}

TEST(Semaphore, TimedWaitRunsOutAndLeavesCount) {
  TQSemaphore semaphore(-1);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(semaphore.wait(50));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 40ms);
  semaphore.signal();
  semaphore.signal();  // -1 + 2: exactly one permit if the time-out took none
  EXPECT_EQ(drain(semaphore), 1);
}

TEST(Semaphore, SignalReleasesTimedAndUnlimitedWaiters) {
  for (long long timeout : {-1LL, 30000LL, LLONG_MAX}) {
    SCOPED_TRACE(timeout);
    TQSemaphore semaphore;
    std::atomic<bool> result{false};
    std::thread waiter([&] { result = semaphore.wait(timeout); });
    std::this_thread::sleep_for(kSettle);
    semaphore.signal();
    waiter.join();
    EXPECT_TRUE(result);
    EXPECT_FALSE(semaphore.wait(0));
  }
}

TEST(Semaphore, BlockedThreadPassesOnOneSignalDespiteDebt) {
  TQSemaphore semaphore(-2);
  std::thread waiter([&] { EXPECT_TRUE(semaphore.wait(-1)); });
  std::this_thread::sleep_for(kSettle);
  semaphore.signal();  // -1, and the waiter passes: -2
  waiter.join();
  for (int i = 0; i < 2; ++i) semaphore.signal();
  EXPECT_FALSE(semaphore.wait(0));  // 0
  semaphore.signal();
  EXPECT_TRUE(semaphore.wait(0));
}

// The regression that a count-only notification rule has: a burst of
// signals arriving before the first released thread runs.
TEST(Semaphore, BurstOfSignalsReleasesEveryBlockedWaiter) {
  constexpr int kWaiters = 4;
  for (int round = 0; round < 5; ++round) {
    SCOPED_TRACE(round);
    TQSemaphore semaphore;
    std::atomic<int> passed{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < kWaiters; ++i) {
      waiters.emplace_back([&] {
        if (semaphore.wait(10000)) ++passed;
      });
    }
    std::this_thread::sleep_for(kSettle);
    for (int i = 0; i < kWaiters; ++i) semaphore.signal();
    for (auto& t : waiters) t.join();
    EXPECT_EQ(passed, kWaiters);
    EXPECT_FALSE(semaphore.wait(0));
  }
}

}  // namespace
