// Handles of one record used on several threads: readers copy, read and
// drop while the owner appends and writes in place through getData. A write
// in place needs the readers' last reads to happen before it, and nothing
// but the use count of the record may order them: the threads meet
// otherwise only through a relaxed counter, which orders nothing (a
// reader's start orders only the owner's earlier writes, and it is joined
// after the write). ThreadSanitizer reports a missing edge as a race.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "TQBase/TQByteArray.h"

namespace {

using TQBase::TQByteArray;

// Each round, readers start with a copy each, copy it again, read, and drop
// both. Once all have dropped theirs, the use count is back at 1, and the
// owner's next writes go in place into the buffer they have just read.
TEST(ByteArraySharing, InPlaceWriteIsOrderedAfterReadersLastReads) {
  constexpr int kRounds = 300, kReaders = 3;
  TQByteArray owner;
  owner.reserve(4096);
  const char* const buffer = owner.constData();
  std::atomic<int> dropped{0}, torn{0};
  int inPlace = 0;
  for (int n = 1; n <= kRounds; ++n) {
    std::vector<std::thread> readers;
    for (int r = 0; r < kReaders; ++r) {
      readers.emplace_back([copy = owner, &dropped, &torn]() mutable {
        TQByteArray again(copy);
        copy.clear();
        // Every byte holds the same value; a reader that sees two saw a
        // write into storage it shares.
        const char* bytes = again.constData();
        if (std::count(bytes, bytes + again.size(), *bytes) != again.size())
          ++torn;
        again.clear();
        dropped.fetch_add(1, std::memory_order_relaxed);
      });
    }
    // A generous deadline: a reader that never drops fails the test below
    // instead of hanging it.
    const auto deadline =
        std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (dropped.load(std::memory_order_relaxed) < n * kReaders &&
           std::chrono::steady_clock::now() < deadline)
      std::this_thread::yield();
    owner.append("x", 1);
    char* bytes = owner.getData();
    inPlace += bytes == buffer ? 1 : 0;
    std::memset(bytes, 'a' + n % 26, static_cast<std::size_t>(owner.size()));
    for (auto& reader : readers) reader.join();
  }
  EXPECT_EQ(dropped.load(), kRounds * kReaders);
  EXPECT_EQ(torn.load(), 0);
  EXPECT_EQ(inPlace, kRounds);  // every write in place
}

}  // namespace
