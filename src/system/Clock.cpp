#include "TQBase/System.h"

#include "frame/LoadState.h"
#include "system/ClockInternal.h"
#include "system/platform/Clock.h"

namespace TQBase {
namespace detail {
namespace {
__extension__ typedef __int128 WideProduct;
}  // namespace

long long wallTicksToMilliseconds(long long ticks) { return ticks / 10'000; }

long long counterToMilliseconds(long long count, long long frequency) {
  // Multiply first so that the division is the only rounding. 128 bits keep
  // the product exact where 64 would overflow (counts past ~29 years at
  // 10 MHz), so the result is right for every count instead of undefined.
  return static_cast<long long>(static_cast<WideProduct>(count) * 1000 /
                                frequency);
}

long long tickCount(int available, long long frequency,
                    int (*readCounter)(long long*),
                    long long (*readWallTicks)()) {
  if (available == 0) return wallTicksToMilliseconds(readWallTicks());
  long long count = 0;
  readCounter(&count);  // cannot fail once the frequency query succeeded
  return counterToMilliseconds(count, frequency);
}

}  // namespace detail

long long GetCurrentSystemTime() {
  return detail::wallTicksToMilliseconds(platform::wallClockTicks());
}

long long GetTickCount_64() {
  return detail::tickCount(detail::counterAvailable, detail::counterFrequency,
                           platform::queryCounter, platform::wallClockTicks);
}

unsigned long long GetNativeCurrentThreadID() {
  return platform::currentThreadId();
}

void mSleep(int milliseconds) {
  // Taken as unsigned 32 bits, as callers of the original interface expect:
  // -1 is "no limit".
  platform::sleepMilliseconds(static_cast<unsigned int>(milliseconds));
}

}  // namespace TQBase
