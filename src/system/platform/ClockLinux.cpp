#include "system/platform/Clock.h"

#include <cerrno>

#include <sched.h>
#include <time.h>
#include <unistd.h>

namespace TQBase {
namespace platform {
namespace {

// The monotonic counter is reported at 10 MHz rather than in nanoseconds so
// that count * 1000 stays within 64 bits for some 29 years of uptime.
constexpr long long kCounterFrequency = 10'000'000;
constexpr long long kNanosecondsPerTick = 100;

long long ticksOf(const timespec& ts) {
  return static_cast<long long>(ts.tv_sec) *
             (1'000'000'000 / kNanosecondsPerTick) +
         ts.tv_nsec / kNanosecondsPerTick;
}

}  // namespace

long long wallClockTicks() {
  timespec ts{};
  clock_gettime(CLOCK_REALTIME, &ts);
  return ticksOf(ts);
}

int queryCounterFrequency(long long* frequency) {
  timespec ts{};
  if (clock_gettime(CLOCK_MONOTONIC, &ts) != 0) return 0;
  *frequency = kCounterFrequency;
  return 1;
}

int queryCounter(long long* count) {
  timespec ts{};
  if (clock_gettime(CLOCK_MONOTONIC, &ts) != 0) return 0;
  *count = ticksOf(ts);
  return 1;
}

unsigned long long currentThreadId() {
  return static_cast<unsigned long long>(gettid());
}

void sleepMilliseconds(unsigned int milliseconds) {
  if (milliseconds == 0) {
    sched_yield();
    return;
  }
  if (milliseconds == 0xFFFFFFFFu) {
    for (;;) pause();
  }
  timespec left{static_cast<time_t>(milliseconds / 1000),
                static_cast<long>(milliseconds % 1000) * 1'000'000};
  // Signals cut nanosleep short; the remaining time is slept on.
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

}  // namespace platform
}  // namespace TQBase
