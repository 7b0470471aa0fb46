// The clock arithmetic on chosen readings, apart from the platform.
#include <climits>

#include <gtest/gtest.h>

#include "system/ClockInternal.h"

namespace {

using namespace TQBase::detail;

TEST(ClockArithmetic, WallTicksTruncateTowardZero) {
  const std::pair<long long, long long> rows[] = {
      {0, 0},        {9'999, 0},
      {10'000, 1},   {-9'999, 0},
      {-10'001, -1}, {16'000'000'000'000'000LL, 1'600'000'000'000LL},
  };
  for (const auto& [ticks, ms] : rows)
    EXPECT_EQ(wallTicksToMilliseconds(ticks), ms) << ticks;
}

TEST(ClockArithmetic, CounterScalesAfterMultiplying) {
  const long long f = 10'000'000;
  EXPECT_EQ(counterToMilliseconds(0, f), 0);
  EXPECT_EQ(counterToMilliseconds(9'999, f), 0);
  EXPECT_EQ(counterToMilliseconds(10'000, f), 1);
  EXPECT_EQ(counterToMilliseconds(10'000'000, f), 1000);
  // Dividing first would lose the fraction: 1999 * 1000 / 3 = 666333.
  EXPECT_EQ(counterToMilliseconds(1'999, 3), 666'333);
  // Past (2^63 - 1) / 1000 the product still comes out exact.
  EXPECT_EQ(counterToMilliseconds(LLONG_MAX, 3'000'000'000LL),
            LLONG_MAX / 3'000'000);
}

long long fakeCount;
int fakeCounter(long long* count) {
  *count = fakeCount;
  return 1;
}
long long fakeWallTicks() { return 123'456'789; }
int counterMustNotBeRead(long long*) {
  ADD_FAILURE() << "counter read while unavailable";
  return 0;
}

TEST(ClockArithmetic, TickCountPicksSourceByAvailability) {
  fakeCount = 25'000'000;
  EXPECT_EQ(tickCount(1, 10'000'000, fakeCounter, fakeWallTicks), 2500);
  // Without a counter the wall clock answers and the frequency is not used
  // (0 here would divide by zero if it were).
  EXPECT_EQ(tickCount(0, 0, counterMustNotBeRead, fakeWallTicks), 12'345);
}

}  // namespace
