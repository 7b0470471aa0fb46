#ifndef TQBASE_SYSTEM_PLATFORM_CLOCK_H_
#define TQBASE_SYSTEM_PLATFORM_CLOCK_H_

// Clock, thread and sleep operations of the operating system.

namespace TQBase {
namespace platform {

// Wall-clock time in 100-nanosecond ticks since 1970-01-01 00:00:00 UTC.
long long wallClockTicks();

// Stores the monotonic counter's ticks per second in `*frequency` and
// returns not 0, or returns 0 where there is no such counter.
int queryCounterFrequency(long long* frequency);

// Stores the monotonic counter's current count in `*count`; returns not 0 on
// success.
int queryCounter(long long* count);

// The kernel's id of the calling thread.
unsigned long long currentThreadId();

// Sleeps at least `milliseconds`; 0xFFFFFFFF sleeps without limit and 0
// yields the rest of the time slice.
void sleepMilliseconds(unsigned int milliseconds);

}  // namespace platform
}  // namespace TQBase

#endif  // TQBASE_SYSTEM_PLATFORM_CLOCK_H_
