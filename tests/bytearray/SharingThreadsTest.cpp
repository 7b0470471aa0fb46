// Handles of one record used on several threads: readers copy, read and
// drop while the owner writes in place through getData. A write in place
// needs the readers' last reads to happen before it, and nothing but the
// use count of the record may order them: the threads meet otherwise only
// through relaxed flags, which order nothing. ThreadSanitizer reports a
// missing edge as a race.
#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "TQBase/TQByteArray.h"

namespace {

using TQBase::TQByteArray;

constexpr int kRounds = 300;
constexpr int kReaders = 3;

// Every byte of a published array holds the same value; a reader that sees
// two values saw a write into storage it shares.
bool isUniform(const TQByteArray& a) {
  for (int i = 1; i < a.size(); ++i)
    if (a.constData()[i] != a.constData()[0]) return false;
  return true;
}

// Waits for a relaxed counter; false after a generous deadline, so a broken
// hand-over fails the test instead of hanging it.
bool waitFor(const std::atomic<int>& counter, int value) {
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (counter.load(std::memory_order_relaxed) < value) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

// Each round: the owner writes, publishes a copy, and once every reader has
// taken one, takes it back and lets them read and drop theirs. Then, with
// the use count back at 1, its next write goes in place into the buffer
// the readers have just read.
TEST(ByteArraySharing, InPlaceWriteIsOrderedAfterReadersLastReads) {
  std::mutex lock;
  TQByteArray published;  // guarded by `lock`
  std::atomic<int> round{0}, taken{0}, released{0}, dropped{0}, torn{0};
  std::atomic<bool> failed{false};
  std::vector<std::thread> readers;
  for (int r = 0; r < kReaders; ++r) {
    readers.emplace_back([&] {
      for (int n = 1; n <= kRounds && !failed; ++n) {
        if (!waitFor(round, n)) break;
        TQByteArray copy;
        {
          std::lock_guard<std::mutex> guard(lock);
          copy = published;
        }
        taken.fetch_add(1, std::memory_order_relaxed);
        if (!waitFor(released, n)) break;
        if (!isUniform(copy)) ++torn;
        copy.clear();
        dropped.fetch_add(1, std::memory_order_relaxed);
      }
    });
  }
  TQByteArray owner;
  owner.reserve(4096);
  const char* buffer = owner.constData();
  int inPlace = 0;
  for (int n = 1; n <= kRounds; ++n) {
    owner.append("x", 1);
    char* bytes = owner.getData();
    inPlace += bytes == buffer ? 1 : 0;
    buffer = bytes;
    std::memset(bytes, 'a' + n % 26, static_cast<std::size_t>(owner.size()));
    {
      std::lock_guard<std::mutex> guard(lock);
      published = owner;
    }
    round.store(n, std::memory_order_relaxed);
    const bool allTaken = waitFor(taken, n * kReaders);
    {
      std::lock_guard<std::mutex> guard(lock);
      published.clear();
    }
    released.store(n, std::memory_order_relaxed);
    if (!allTaken || !waitFor(dropped, n * kReaders)) {
      failed = true;
      break;
    }
  }
  for (auto& reader : readers) reader.join();
  EXPECT_FALSE(failed.load());
  EXPECT_EQ(torn.load(), 0);
  EXPECT_EQ(inPlace, kRounds);  // every write after the first round in place
}

}  // namespace
