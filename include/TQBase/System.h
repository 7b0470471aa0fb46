#ifndef TQBASE_SYSTEM_H_
#define TQBASE_SYSTEM_H_

#include <string>

#include "TQBase/TQBaseExport.h"

namespace TQBase {

/// Milliseconds since 1970-01-01 00:00:00 UTC, from the wall clock. Follows
/// changes of the system time; before the epoch it truncates toward zero.
TQBASE_EXPORT long long GetCurrentSystemTime();

/// Milliseconds on the monotonic counter's own scale, for measuring elapsed
/// time: only differences between two results mean anything. Where the
/// platform has no such counter it is the wall clock instead; which of the two
/// a process uses is settled when the library loads and never changes.
TQBASE_EXPORT long long GetTickCount_64();

/// The kernel's number of the calling thread (its thread id), constant for
/// the thread's life and unique in the system while the thread lives.
TQBASE_EXPORT unsigned long long GetNativeCurrentThreadID();

/// Suspends the calling thread for at least `milliseconds`. The value is
/// taken as an unsigned 32-bit count, so -1 (0xFFFFFFFF) sleeps without limit
/// and any other negative value sleeps for a very long time; pass 0 or more.
/// 0 yields the rest of the thread's time slice.
TQBASE_EXPORT void mSleep(int milliseconds);

/// The directory for temporary files as UTF-8, ending in "/", so a caller can
/// append a file name directly; nothing is created. TMPDIR is used as it
/// stands when it names an existing directory, is well-formed UTF-8 and takes
/// at most 259 characters with the "/" added; otherwise "/tmp/" when that is a
/// directory. The result is empty when neither qualifies. Only std::bad_alloc
/// can leave the call.
TQBASE_EXPORT std::string GetTempPathW();

/// `value` in big-endian byte order: its bytes reversed on a little-endian
/// host, unchanged on a big-endian one. The reversal undoes itself, so the
/// same call brings a big-endian value back to host order.
TQBASE_EXPORT unsigned short ToBigEndianInt16(unsigned short value);
/// 32-bit form of ToBigEndianInt16.
TQBASE_EXPORT unsigned int ToBigEndianInt32(unsigned int value);
/// 64-bit form of ToBigEndianInt16.
TQBASE_EXPORT unsigned long long ToBigEndianInt64(unsigned long long value);

}  // namespace TQBase

#endif  // TQBASE_SYSTEM_H_
