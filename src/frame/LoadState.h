#ifndef TQBASE_FRAME_LOADSTATE_H_
#define TQBASE_FRAME_LOADSTATE_H_

// Process-wide state written once while the library loads, read-only after,
// and the constant byte that empty arrays read.

namespace TQBase {
class TQByteArrayRef;

namespace detail {

// Not 0 when the platform has a monotonic high-resolution counter.
extern int counterAvailable;
// Its ticks per second; looked at only when counterAvailable is not 0.
extern long long counterFrequency;

// The process-wide empty holder, never freed, and the zero byte its record
// points at.
extern TQByteArrayRef* sharedNull;
extern const char emptyBuffer[1];

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_FRAME_LOADSTATE_H_
