// Handles of one record used on several threads: readers copy, read and
// drop while the owner writes in place through getData. A write in place
// needs the readers' last reads to happen before it; ThreadSanitizer
// reports any missing edge.
#include <atomic>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "TQBase/TQByteArray.h"

namespace {

using TQBase::TQByteArray;

constexpr int kRounds = 2000;
constexpr int kReaders = 3;

// Every byte of a published array holds the same value; a reader that sees
// two values saw a write into storage it shares.
bool isUniform(const TQByteArray& a) {
  for (int i = 1; i < a.size(); ++i)
    if (a.constData()[i] != a.constData()[0]) return false;
  return true;
}

TEST(ByteArraySharing, OwnerWritesWhileReadersCopyAndDrop) {
  std::mutex lock;
  TQByteArray published;  // guarded by `lock`; readers copy it
  std::atomic<bool> done{false};
  std::atomic<int> torn{0};
  std::vector<std::thread> readers;
  for (int r = 0; r < kReaders; ++r) {
    readers.emplace_back([&] {
      while (!done.load()) {
        TQByteArray copy;
        {
          std::lock_guard<std::mutex> guard(lock);
          copy = published;
        }
        if (!isUniform(copy)) ++torn;
      }  // the copy's handle drops here, outside the lock
    });
  }
  TQByteArray owner;
  owner.reserve(4096);
  for (int round = 0; round < kRounds; ++round) {
    owner.append("x", 1);
    // In place when no reader holds the record any more, else a copy.
    char* bytes = owner.getData();
    std::memset(bytes, 'a' + round % 26,
                static_cast<std::size_t>(owner.size()));
    std::lock_guard<std::mutex> guard(lock);
    published = round % 2 == 0 ? owner : TQByteArray();
  }
  done = true;
  for (auto& reader : readers) reader.join();
  EXPECT_EQ(torn.load(), 0);
  EXPECT_TRUE(isUniform(owner));
}

}  // namespace
