// Many threads on one lock; meant to run under ThreadSanitizer, which reports
// any access to the guarded data that the lock does not order.
#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include "TQBase/Locks.h"
#include "gtest/gtest.h"

namespace {

using TQBase::TQSemaphore;
using TQBase::TQWfirstRWLock;

constexpr unsigned kSeed = 20240607;

TEST(SyncStress, RWLockOrdersReadersAndWriters) {
  TQWfirstRWLock lock;
  std::vector<int> data(64, 0);  // plain ints: only the lock orders them
  long long writes = 0;
  std::atomic<bool> torn{false};
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      std::mt19937 rng(kSeed + t);
      for (int i = 0; i < 2000; ++i) {
        if (rng() % 4 == 0) {
          lock.lock_write();
          for (int& v : data) ++v;
          ++writes;
          lock.release_write();
        } else {
          lock.lock_read();
          for (int v : data) {
            if (v != data[0]) torn = true;
          }
          lock.release_read();
        }
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_FALSE(torn);
  EXPECT_EQ(data[0], writes);
}

TEST(SyncStress, SemaphoreHandsOverEveryPermit) {
  constexpr int kPerProducer = 3000;
  constexpr int kProducers = 2;
  constexpr int kConsumers = 3;
  TQSemaphore semaphore;
  std::atomic<int> taken{0};
  std::vector<std::thread> threads;
  for (int c = 0; c < kConsumers; ++c) {
    threads.emplace_back([&, c] {
      std::mt19937 rng(kSeed + 100 + c);
      while (taken.load() < kProducers * kPerProducer) {
        // Mix of unlimited, timed and non-blocking waits.
        const long long timeout = rng() % 3 == 0 ? 0 : 20;
        if (semaphore.wait(timeout)) ++taken;
      }
    });
  }
  for (int p = 0; p < kProducers; ++p) {
    threads.emplace_back([&] {
      for (int i = 0; i < kPerProducer; ++i) semaphore.signal();
    });
  }
  for (auto& t : threads) t.join();
  // Each pass took one from the count, which may have gone into debt when a
  // newcomer overtook a released waiter: pay the debt, then one more permit
  // must be exactly one on hand.
  const int debt = taken.load() - kProducers * kPerProducer;
  ASSERT_GE(debt, 0);
  for (int i = 0; i < debt; ++i) semaphore.signal();
  EXPECT_FALSE(semaphore.wait(0));
  semaphore.signal();
  EXPECT_TRUE(semaphore.wait(0));
}

}  // namespace
