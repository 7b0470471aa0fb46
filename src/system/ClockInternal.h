#ifndef TQBASE_SYSTEM_CLOCKINTERNAL_H_
#define TQBASE_SYSTEM_CLOCKINTERNAL_H_

// The arithmetic of the clocks, apart from the platform, so that it can be
// checked on chosen readings.

namespace TQBase {
namespace detail {

// 100-ns wall-clock ticks to milliseconds, truncating toward zero.
long long wallTicksToMilliseconds(long long ticks);

// count * 1000 / frequency, truncating toward zero; frequency > 0.
long long counterToMilliseconds(long long count, long long frequency);

// GetTickCount_64 on the given counter state and readers: the wall clock in
// milliseconds when `available` is 0 (and `frequency` is then not used),
// else the counter reading scaled to milliseconds.
long long tickCount(int available, long long frequency,
                    int (*readCounter)(long long*),
                    long long (*readWallTicks)());

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_SYSTEM_CLOCKINTERNAL_H_
