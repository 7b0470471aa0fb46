#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>

#include "TQBase/Locks.h"
#include "gtest/gtest.h"

namespace {

using TQBase::TQOrderLocker;
using namespace std::chrono_literals;

TEST(OrderLocker, LocksLowerAddressFirstWhicheverArgumentItIs) {
  std::mutex pair[2];
  std::mutex& lower = pair[0];
  std::mutex& higher = pair[1];
  for (bool lowerFirst : {true, false}) {
    SCOPED_TRACE(lowerFirst);
    lower.lock();
    std::atomic<bool> built{false};
    std::thread locker([&] {
      TQOrderLocker both(lowerFirst ? lower : higher,
                         lowerFirst ? higher : lower);
      built = true;
    });
    std::this_thread::sleep_for(100ms);
    // Blocked on the lower mutex, the locker must not have taken the other.
    ASSERT_TRUE(higher.try_lock());
    higher.unlock();
    EXPECT_FALSE(built);
    lower.unlock();
    locker.join();
    EXPECT_TRUE(built);
    ASSERT_TRUE(lower.try_lock());
    ASSERT_TRUE(higher.try_lock());
    lower.unlock();
    higher.unlock();
  }
}

TEST(OrderLocker, SameMutexTwiceIsLockedOnce) {
  std::mutex only;
  { TQOrderLocker both(only, only); }
  ASSERT_TRUE(only.try_lock());
  only.unlock();
}

TEST(OrderLocker, OppositeOrdersNeverDeadlock) {
  std::mutex a;
  std::mutex b;
  long long shared = 0;
  constexpr int kRounds = 20000;
  auto run = [&](std::mutex& first, std::mutex& second) {
    for (int i = 0; i < kRounds; ++i) {
      TQOrderLocker both(first, second);
      ++shared;
    }
  };
  std::thread forward(run, std::ref(a), std::ref(b));
  std::thread backward(run, std::ref(b), std::ref(a));
  forward.join();
  backward.join();
  EXPECT_EQ(shared, 2LL * kRounds);
}

}  // namespace
