#ifndef TQBASE_FRAME_LOADSTATE_H_
#define TQBASE_FRAME_LOADSTATE_H_

// Process-wide state written once while the library loads, read-only after.

namespace TQBase {
class TQByteArrayRef;

namespace detail {

// Not 0 when the platform has a monotonic high-resolution counter.
extern int counterAvailable;
// Its ticks per second; looked at only when counterAvailable is not 0.
extern long long counterFrequency;

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_FRAME_LOADSTATE_H_
