#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "TQBase/Locks.h"
#include "gtest/gtest.h"

namespace {

using TQBase::TQWfirstRWLock;
using namespace std::chrono_literals;

// Long enough for a started thread to reach its wait on any loaded machine;
// the tests stay correct if it has not, they only check less.
constexpr auto kSettle = 100ms;
constexpr auto kPatience = 10s;

template <class F>
bool finishesSoon(F body) {
  auto done = std::async(std::launch::async, body);
  return done.wait_for(kPatience) == std::future_status::ready;
}

TEST(RWLock, UnmatchedReleasesAreIgnored) {
  TQWfirstRWLock lock;
  lock.release_read();
  lock.release_write();
  lock.lock_write();    // still Free
  lock.release_read();  // write-held: ignored
  std::atomic<bool> readerIn{false};
  std::thread reader([&] {
    lock.lock_read();
    readerIn = true;
    lock.release_read();
  });
  std::this_thread::sleep_for(kSettle);
  EXPECT_FALSE(readerIn);
  lock.release_write();
  reader.join();
  EXPECT_TRUE(readerIn);

  lock.lock_read();
  lock.release_write();  // read-held: ignored
  std::atomic<bool> writerIn{false};
  std::thread writer([&] {
    lock.lock_write();
    writerIn = true;
    lock.release_write();
  });
  std::this_thread::sleep_for(kSettle);
  EXPECT_FALSE(writerIn);
  lock.release_read();
  writer.join();
  EXPECT_TRUE(writerIn);
}

TEST(RWLock, ReadersAreAdmittedWhileAWriterWaits) {
  TQWfirstRWLock lock;
  lock.lock_read();
  lock.lock_read();  // two holds on one thread add up
  std::atomic<bool> writerIn{false};
  std::thread writer([&] {
    lock.lock_write();
    writerIn = true;
    lock.release_write();
  });
  std::this_thread::sleep_for(kSettle);
  EXPECT_TRUE(finishesSoon([&] {
    lock.lock_read();
    lock.release_read();
  }));
  lock.release_read();  // wakes the writer, which waits again
  std::this_thread::sleep_for(kSettle);
  EXPECT_FALSE(writerIn);
  lock.release_read();
  writer.join();
  EXPECT_TRUE(writerIn);
}

TEST(RWLock, BlockedWritersGoThroughOneAtATime) {
  TQWfirstRWLock lock;
  std::atomic<int> inside{0};
  std::atomic<int> maxInside{0};
  std::atomic<int> passed{0};
  lock.lock_write();
  std::vector<std::thread> writers;
  for (int i = 0; i < 2; ++i) {
    writers.emplace_back([&] {
      lock.lock_write();
      const int now = ++inside;
      if (now > maxInside) maxInside = now;
      std::this_thread::sleep_for(10ms);
      --inside;
      ++passed;
      lock.release_write();
    });
  }
  std::this_thread::sleep_for(kSettle);
  EXPECT_EQ(passed, 0);
  lock.release_write();
  for (auto& t : writers) t.join();
  EXPECT_EQ(passed, 2);
  EXPECT_EQ(maxInside, 1);
}

TEST(RWLock, ReleaseWriteLetsReadersOrWriterThroughNeverBoth) {
  TQWfirstRWLock lock;
  std::atomic<int> readersIn{0};
  std::atomic<int> writersIn{0};
  std::atomic<bool> overlap{false};
  lock.lock_write();
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      lock.lock_read();
      ++readersIn;
      if (writersIn > 0) overlap = true;
      std::this_thread::sleep_for(5ms);
      --readersIn;
      lock.release_read();
    });
  }
  threads.emplace_back([&] {
    lock.lock_write();
    ++writersIn;
    if (readersIn > 0) overlap = true;
    std::this_thread::sleep_for(5ms);
    --writersIn;
    lock.release_write();
  });
  std::this_thread::sleep_for(kSettle);
  lock.release_write();
  for (auto& t : threads) t.join();
  EXPECT_FALSE(overlap);
}

}  // namespace
