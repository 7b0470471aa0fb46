#include <sys/mman.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "TQBase/Locks.h"
#include "gtest/gtest.h"
#include "sync/ProcessTestSupport.h"

namespace {

using TQBase::TQProcessLock;
using tqtest::ChildProcess;
using tqtest::countSharedObjects;
using tqtest::uniqueName;
using namespace std::chrono_literals;

constexpr auto kSettle = 100ms;

// Locks on a thread of its own and holds the lock until destroyed.
class Contender {
 public:
  explicit Contender(TQProcessLock& lock)
      : thread_([this, &lock] {
          lock.lock();
          acquired_ = true;
          while (!release_) std::this_thread::sleep_for(1ms);
          lock.unlock();
        }) {}
  ~Contender() {
    release_ = true;
    thread_.join();
  }
  bool acquiredWithin(std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!acquired_ && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(1ms);
    }
    return acquired_;
  }

 private:
  std::atomic<bool> acquired_{false};
  std::atomic<bool> release_{false};
  std::thread thread_;
};

TEST(ProcessLock, UninitialisedObjectDoesNothing) {
  TQProcessLock lock;
  lock.lock();
  {
    Contender other(lock);  // no exclusion without init
    EXPECT_TRUE(other.acquiredWithin(10s));
  }
  lock.unlock();
  lock.uninit();
  lock.uninit();
}

TEST(ProcessLock, SecondInitReturns85AndKeepsTheFirstMutex) {
  const std::string first = uniqueName("init-first");
  const std::string second = uniqueName("init-second");
  TQProcessLock lock;
  ASSERT_EQ(lock.init(first.c_str()), 0);
  EXPECT_EQ(lock.init(second.c_str()), 85);
  EXPECT_EQ(lock.init(first.c_str()), 85);
  EXPECT_EQ(countSharedObjects(first), 1);
  EXPECT_EQ(countSharedObjects(second), 0);

  TQProcessLock sameName;
  ASSERT_EQ(sameName.init(first.c_str()), 0);
  lock.lock();
  {
    Contender other(sameName);
    EXPECT_FALSE(other.acquiredWithin(kSettle));
    lock.unlock();
    EXPECT_TRUE(other.acquiredWithin(10s));
  }
  sameName.uninit();
  lock.uninit();
  lock.uninit();
  EXPECT_EQ(countSharedObjects(first), 0);
  ASSERT_EQ(lock.init(first.c_str()), 0);  // again after uninit
  lock.uninit();
  EXPECT_EQ(countSharedObjects(first), 0);
}

TEST(ProcessLock, ExcludesAcrossProcesses) {
  const std::string name = uniqueName("exclusion");
  auto* counter = static_cast<std::atomic<int>*>(
      ::mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
             MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(counter, MAP_FAILED);
  new (counter) std::atomic<int>(0);
  constexpr int kRounds = 300;
  // A load and a separate store: without exclusion, increments get lost.
  auto addRounds = [&](TQProcessLock& lock) {
    for (int i = 0; i < kRounds; ++i) {
      lock.lock();
      const int seen = counter->load(std::memory_order_relaxed);
      if (i % 8 == 0) ::usleep(100);
      counter->store(seen + 1, std::memory_order_relaxed);
      lock.unlock();
    }
  };
  {
    ChildProcess child([&](ChildProcess& self) {
      TQProcessLock lock;
      if (lock.init(name.c_str()) != 0) return 1;
      self.send('R');
      if (self.receive() != 'G') return 2;
      addRounds(lock);
      return 0;
    });
    ASSERT_TRUE(child.started());
    TQProcessLock lock;
    ASSERT_EQ(lock.init(name.c_str()), 0);
    ASSERT_EQ(child.receive(), 'R');
    child.send('G');
    addRounds(lock);
    EXPECT_EQ(child.wait(), 0);
  }
  EXPECT_EQ(counter->load(), 2 * kRounds);
  ::munmap(counter, sizeof(std::atomic<int>));
  EXPECT_EQ(countSharedObjects(name), 0);
}

TEST(ProcessLock, NestedOwnershipInAnotherProcessNeedsAsManyUnlocks) {
  const std::string name = uniqueName("recursion");
  ChildProcess child([&](ChildProcess& self) {
    TQProcessLock lock;
    if (lock.init(name.c_str()) != 0) return 1;
    lock.lock();
    lock.lock();
    self.send('H');
    for (int level = 0; level < 2; ++level) {
      if (self.receive() != 'U') return 2;
      lock.unlock();
      self.send('u');
    }
    return self.receive() == 'Q' ? 0 : 3;
  });
  ASSERT_TRUE(child.started());
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  ASSERT_EQ(child.receive(), 'H');
  {
    Contender parent(lock);
    EXPECT_FALSE(parent.acquiredWithin(kSettle));
    child.send('U');
    ASSERT_EQ(child.receive(), 'u');
    EXPECT_FALSE(parent.acquiredWithin(kSettle));
    child.send('U');
    ASSERT_EQ(child.receive(), 'u');
    EXPECT_TRUE(parent.acquiredWithin(10s));
  }
  child.send('Q');
  EXPECT_EQ(child.wait(), 0);
  lock.uninit();
  EXPECT_EQ(countSharedObjects(name), 0);
}

TEST(ProcessLock, KilledOwnerProcessPassesTheLock) {
  const std::string name = uniqueName("killed-owner");
  ChildProcess child([&](ChildProcess& self) {
    TQProcessLock lock;
    if (lock.init(name.c_str()) != 0) return 1;
    lock.lock();
    lock.lock();
    self.send('L');
    self.receive(60000);  // killed before this ends
    return 2;
  });
  ASSERT_TRUE(child.started());
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  ASSERT_EQ(child.receive(), 'L');
  {
    Contender parent(lock);
    EXPECT_FALSE(parent.acquiredWithin(kSettle));
    child.killNow();
    EXPECT_EQ(child.wait(), 128 + SIGKILL);
    EXPECT_TRUE(parent.acquiredWithin(10s));
  }
  // The taker owns it at one level: one unlock frees it for the next.
  {
    Contender next(lock);
    EXPECT_TRUE(next.acquiredWithin(10s));
  }
  lock.uninit();
  EXPECT_EQ(countSharedObjects(name), 0);  // the dead child's share is gone too
}

TEST(ProcessLock, DeadOwnerThreadPassesTheLock) {
  const std::string name = uniqueName("dead-thread");
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  std::thread([&] {
    lock.lock();
    lock.lock();
  }).join();
  lock.lock();  // taken over
  lock.unlock();
  {
    Contender next(lock);
    EXPECT_TRUE(next.acquiredWithin(10s));
  }
  lock.uninit();
  EXPECT_EQ(countSharedObjects(name), 0);
}

TEST(ProcessLock, NullNameGivesAPrivateMutex) {
  TQProcessLock first;
  TQProcessLock second;
  ASSERT_EQ(first.init(nullptr), 0);
  ASSERT_EQ(second.init(nullptr), 0);
  first.lock();
  first.lock();
  {
    Contender other(second);
    EXPECT_TRUE(other.acquiredWithin(10s));
  }
  {
    Contender other(first);
    EXPECT_FALSE(other.acquiredWithin(kSettle));
    first.unlock();
    first.unlock();
    EXPECT_TRUE(other.acquiredWithin(10s));
  }
}

// A child that inherited the handles and closes them must leave the parent's
// mutexes working: it neither destroys the unnamed one nor removes the named.
TEST(ProcessLock, ChildClosingInheritedHandlesLeavesThemToTheParent) {
  const std::string name = uniqueName("inherited");
  TQProcessLock unnamed;
  TQProcessLock named;
  ASSERT_EQ(unnamed.init(nullptr), 0);
  ASSERT_EQ(named.init(name.c_str()), 0);
  {
    ChildProcess child([&](ChildProcess&) {
      unnamed.uninit();
      named.uninit();
      return 0;
    });
    ASSERT_TRUE(child.started());
    EXPECT_EQ(child.wait(), 0);
  }
  EXPECT_EQ(countSharedObjects(name), 1);
  for (TQProcessLock* lock : {&unnamed, &named}) {
    lock->lock();
    Contender other(*lock);
    EXPECT_FALSE(other.acquiredWithin(kSettle));
    lock->unlock();
    EXPECT_TRUE(other.acquiredWithin(10s));
  }
  named.uninit();
  EXPECT_EQ(countSharedObjects(name), 0);
}

TEST(ProcessLock, AssignmentSharesTheHandleAndClosesItOnce) {
  const std::string name = uniqueName("assign");
  const std::string other = uniqueName("assign-other");
  TQProcessLock source;
  ASSERT_EQ(source.init(name.c_str()), 0);
  TQProcessLock& alias = source;
  source = alias;  // self-assignment
  EXPECT_EQ(source.init(name.c_str()), 85);

  TQProcessLock target;
  ASSERT_EQ(target.init(other.c_str()), 0);
  target = source;  // gives up its own mutex
  EXPECT_EQ(countSharedObjects(other), 0);
  EXPECT_EQ(target.init(other.c_str()), 85);
  source.uninit();
  EXPECT_EQ(countSharedObjects(name), 1);

  TQProcessLock copy(target);
  TQProcessLock probe;
  ASSERT_EQ(probe.init(name.c_str()), 0);
  copy.lock();
  {
    Contender contender(probe);
    EXPECT_FALSE(contender.acquiredWithin(kSettle));
    target.unlock();  // same mutex, same thread
    EXPECT_TRUE(contender.acquiredWithin(10s));
  }
  target = TQProcessLock();
  EXPECT_EQ(target.init(other.c_str()), 0);
  target.uninit();
  copy.uninit();
  probe.uninit();
  EXPECT_EQ(countSharedObjects(name), 0);
}

TEST(ProcessLock, DifferentNamesNeverShareAMutex) {
  const std::string base = uniqueName("names");
  const std::string longName(1000, 'n');
  const std::string names[] = {
      base + "/a",
      base + "\\a",
      base + "%2Fa",
      base + "%2fa",
      base + "_a",
      base,
      base + std::string("\0a", 2),  // cut at the NUL: the same as base
      base + "\xC3\xA9",
      longName + base + "x",
      longName + base + "y",
  };
  for (const std::string& name : names) {
    SCOPED_TRACE(name.substr(0, 60));
    TQProcessLock first;
    TQProcessLock second;
    ASSERT_EQ(first.init(name.c_str()), 0);
    ASSERT_EQ(second.init(name.c_str()), 0);
    first.lock();
    {
      Contender same(second);
      EXPECT_FALSE(same.acquiredWithin(50ms));
      for (const std::string& otherName : names) {
        if (std::string(otherName.c_str()) == name.c_str()) continue;
        TQProcessLock different;
        ASSERT_EQ(different.init(otherName.c_str()), 0);
        Contender apart(different);
        EXPECT_TRUE(apart.acquiredWithin(10s)) << otherName.substr(0, 60);
      }
      first.unlock();
      EXPECT_TRUE(same.acquiredWithin(10s));
    }
  }
  EXPECT_EQ(countSharedObjects(base), 0);
}

TEST(ProcessLock, LongNameExcludesAcrossProcesses) {
  const std::string name = std::string(3000, '/') + uniqueName("long") + "\\";
  ChildProcess child([&](ChildProcess& self) {
    TQProcessLock lock;
    if (lock.init(name.c_str()) != 0) return 1;
    lock.lock();
    self.send('H');
    if (self.receive() != 'U') return 2;
    lock.unlock();
    return 0;
  });
  ASSERT_TRUE(child.started());
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  ASSERT_EQ(child.receive(), 'H');
  {
    Contender parent(lock);
    EXPECT_FALSE(parent.acquiredWithin(kSettle));
    child.send('U');
    EXPECT_TRUE(parent.acquiredWithin(10s));
  }
  EXPECT_EQ(child.wait(), 0);
}

}  // namespace
