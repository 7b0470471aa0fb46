// The clock arithmetic on chosen readings, apart from the platform.
#include <climits>

#include <gtest/gtest.h>

#include "system/ClockInternal.h"

namespace {

using namespace TQBase::detail;

// Ticks or counts, frequency (0 for wall-clock ticks), milliseconds.
TEST(ClockArithmetic, ScalesTruncatingTowardZero) {
  const long long rows[][3] = {
      {9'999, 0, 0},
      {-10'001, 0, -1},
      {16'000'000'000'000'000LL, 0, 1'600'000'000'000LL},
      {9'999, 10'000'000, 0},
      {1'999, 3, 666'333},  // dividing first would lose the fraction
      // Past (2^63 - 1) / 1000 the product still comes out exact.
      {LLONG_MAX, 3'000'000'000LL, LLONG_MAX / 3'000'000},
  };
  for (const auto& [reading, frequency, ms] : rows)
    EXPECT_EQ(frequency == 0 ? wallTicksToMilliseconds(reading)
                             : counterToMilliseconds(reading, frequency),
              ms)
        << reading;
}

TEST(ClockArithmetic, TickCountPicksSourceByAvailability) {
  auto counter = [](long long* count) {
    *count = 25'000'000;
    return 1;
  };
  auto wallTicks = [] { return 123'456'789LL; };
  EXPECT_EQ(tickCount(1, 10'000'000, counter, wallTicks), 2500);
  // Without a counter the wall clock answers; neither the counter (null
  // here) nor the frequency (0 would divide by zero) is used.
  EXPECT_EQ(tickCount(0, 0, nullptr, wallTicks), 12'345);
}

}  // namespace
