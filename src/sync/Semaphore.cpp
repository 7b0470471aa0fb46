#include "TQBase/Locks.h"

#include <chrono>
#include <limits>

namespace TQBase {

namespace {

using WallClock = std::chrono::system_clock;
using Nanoseconds = std::chrono::nanoseconds;

// Now plus `timeoutMs`, on the wall clock, in nanoseconds since 1970. A
// deadline past the clock's range saturates: that wait has no practical end.
WallClock::time_point deadlineAfter(long long timeoutMs) {
  constexpr long long kMax = std::numeric_limits<long long>::max();
  const long long now = std::chrono::duration_cast<Nanoseconds>(
                            WallClock::now().time_since_epoch())
                            .count();
  long long total = kMax;
  if (timeoutMs <= (kMax - (now > 0 ? now : 0)) / 1000000) {
    total = now + timeoutMs * 1000000;
  }
  return WallClock::time_point(
      std::chrono::duration_cast<WallClock::duration>(Nanoseconds(total)));
}

}  // namespace

TQSemaphore::TQSemaphore() : TQSemaphore(0) {}

TQSemaphore::TQSemaphore(int initialCount)
    : count(initialCount), blockedWaiters(0), pendingReleases(0) {}

TQSemaphore::~TQSemaphore() = default;

// A signal releases a blocked waiter whenever one is blocked, not only at low
// counts: when two signals come before the first released thread has run,
// the count is 2 on the second and a rule that looked at the count alone
// would leave the second blocked thread behind with a permit on hand.
void TQSemaphore::signal() {
  std::lock_guard<std::mutex> guard(mutex);
  ++count;
  if (blockedWaiters > 0) {
    --blockedWaiters;
    ++pendingReleases;
    condition.notify_one();
  }
}

// The count is looked at once, on entry. A thread that has blocked leaves
// with a release from signal and takes its permit whatever the count then
// is; the loop below waits for that release only, never for the count.
bool TQSemaphore::wait(long long timeout) {
  std::unique_lock<std::mutex> guard(mutex);
  if (count > 0) {
    --count;
    return true;
  }
  if (timeout == 0) return false;  // a deadline long past

  ++blockedWaiters;
  try {
    if (timeout < 0) {
      while (pendingReleases == 0) condition.wait(guard);
    } else {
      const WallClock::time_point deadline = deadlineAfter(timeout);
      while (pendingReleases == 0) {
        if (condition.wait_until(guard, deadline) == std::cv_status::timeout &&
            pendingReleases == 0) {
          --blockedWaiters;
          return false;
        }
      }
    }
  } catch (...) {
    // The standard wait retakes the mutex before it throws. Leave the
    // books as if this thread had never blocked; a release already granted
    // stays with the threads still blocked, if any.
    if (blockedWaiters > 0) {
      --blockedWaiters;
    } else {
      --pendingReleases;
    }
    throw;
  }
  --pendingReleases;
  --count;
  return true;
}

}  // namespace TQBase
