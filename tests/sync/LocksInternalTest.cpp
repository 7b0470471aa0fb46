// The lock classes of one process: read/write lock, semaphore, ordered
// locker. (TQProcessLock has its own files.)

#include <climits>
#include <mutex>
#include <random>
#include <tuple>

#include "TQBase/Locks.h"
#include "sync/SyncTestSupport.h"

namespace {

using namespace TQBase;
using namespace TQBase::testsupport;

TEST(RWLock, ReadersPassAWaitingWriterAndStrayReleasesAreIgnored) {
  TQWfirstRWLock lock;
  lock.release_read();  // nothing held: both ignored
  lock.release_write();
  lock.lock_read();
  lock.release_write();  // read-held: ignored
  auto writer = onOtherThread([&] { lock.lock_write(); });
  EXPECT_TRUE(staysBlocked(writer));
  auto reader = onOtherThread([&] { lock.lock_read(); });
  EXPECT_TRUE(finishes(reader));  // admitted while the writer waits
  lock.release_read();
  EXPECT_TRUE(staysBlocked(writer));  // the reader's hold is left
  lock.release_read();
  ASSERT_TRUE(finishes(writer));
  lock.release_read();  // write-held: ignored
  auto lateReader = onOtherThread([&] { lock.lock_read(); });
  EXPECT_TRUE(staysBlocked(lateReader));
  lock.release_write();
  EXPECT_TRUE(finishes(lateReader));
}

TEST(Semaphore, PermitsOnHandPassWithoutBlocking) {
  // name, start, signals, passes before wait(0) fails, their time-out
  const std::tuple<const char*, int, int, int, long long> rows[] = {
      {"three, no wait", 3, 0, 3, 0},   {"three, unlimited", 3, 0, 3, -1},
      {"three, timed", 3, 0, 3, 60000}, {"two signals", 0, 2, 2, 0},
      {"debt paid", -2, 2, 0, 0},       {"debt paid, one spare", -2, 3, 1, 0},
  };
  for (const auto& [name, start, signals, passes, timeout] : rows) {
    SCOPED_TRACE(name);
    TQSemaphore semaphore(start);
    for (int i = 0; i < signals; ++i) semaphore.signal();
    for (int i = 0; i < passes; ++i) EXPECT_TRUE(semaphore.wait(timeout));
    EXPECT_FALSE(semaphore.wait(timeout > 0 ? 50 : 0));  // may run out
    semaphore.signal();  // the count was 0 exactly, not in debt
    EXPECT_TRUE(semaphore.wait(0));
  }
}

// k signals release k blocked waiters, also when they all come before the
// first released thread runs, and also while the count stays in debt.
TEST(Semaphore, SignalsReleaseAsManyBlockedWaiters) {
  for (int start : {0, -2}) {
    SCOPED_TRACE(start);
    TQSemaphore semaphore(start);
    std::vector<std::future<void>> waiters;
    for (long long timeout : {-1LL, 30000LL, LLONG_MAX})
      waiters.push_back(onOtherThread(
          [&, timeout] { EXPECT_TRUE(semaphore.wait(timeout)); }));
    for (auto& waiter : waiters) EXPECT_TRUE(staysBlocked(waiter));
    for (int i = 0; i < 3; ++i) semaphore.signal();
    for (auto& waiter : waiters) EXPECT_TRUE(finishes(waiter));
    for (int i = start; i < 0; ++i) semaphore.signal();
    EXPECT_FALSE(semaphore.wait(0));
  }
}

TEST(OrderLocker, OppositeOrdersNeverDeadlock) {
  std::mutex a, b;
  int pairs = 0;  // for ThreadSanitizer: guarded by both
  auto run = [&](std::mutex& first, std::mutex& second) {
    for (int i = 0; i < 200000; ++i) {
      TQOrderLocker both(first, second);
      ++pairs;
    }
  };
  auto forward = onOtherThread([&] { run(a, b); });
  run(b, a);
  forward.get();
  { TQOrderLocker same(a, a); }  // locked once
  EXPECT_TRUE(a.try_lock());
  a.unlock();
}

// For ThreadSanitizer too: only the locks order the plain ints.
TEST(SyncStress, LocksUnderContention) {
  TQWfirstRWLock lock;
  TQSemaphore semaphore;
  std::vector<int> data(64, 0);
  std::atomic<int> writers{0}, signals{0}, passes{0};
  std::atomic<bool> torn{false}, twoWriters{false};
  std::vector<std::future<void>> threads;
  for (unsigned t = 0; t < 4; ++t) {
    threads.push_back(onOtherThread([&, t] {
      std::mt19937 rng(20240607 + t);
      for (int i = 0; i < 20000; ++i) {
        const unsigned op = rng() % 7;
        if (op < 3) {
          op == 0 ? lock.lock_write() : lock.lock_read();
          for (int v : data) torn = torn || v != data[0];
          if (op == 0) {
            twoWriters = twoWriters || ++writers > 1;
            for (int& v : data) ++v;
            --writers;
          }
          op == 0 ? lock.release_write() : lock.release_read();
        } else if (op < 5) {
          semaphore.signal(), ++signals;
        } else {
          passes += semaphore.wait(op == 5 ? 0 : 1);
        }
      }
    }));
  }
  for (auto& t : threads) t.get();
  EXPECT_FALSE(torn) << "a reader saw a write half done";
  EXPECT_FALSE(twoWriters);
  // A released waiter may have been overtaken, leaving the count in debt;
  // settled, what is on hand is exactly what was not taken.
  for (int i = signals; i < passes; ++i) semaphore.signal();
  for (int i = passes; i < signals; ++i) EXPECT_TRUE(semaphore.wait(0));
  EXPECT_FALSE(semaphore.wait(0));
}

}  // namespace
