// TQProcessLock across threads and forked processes. Internal only to reach
// the system object names behind the lock and its test seams.
//
// Every wait on another thread or process has a deadline: a broken lock
// fails here within seconds. Children end through exit(), like the users
// the library serves, so its exit-time cleanup runs in them.
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "TQBase/Locks.h"
#include "gtest/gtest.h"
#include "sync/ProcessLockTestSupport.h"

namespace {

using namespace TQBase;
using namespace TQBase::testsupport;
using namespace std::chrono_literals;

// Scenario 1: the parent's end must not open the name to a fresh object
// while a forked child still holds the lock, whether the child locks the
// object it inherited or one it opened itself.
void childKeepsExclusionWhenParent(ParentEnd end, bool inherited) {
  const std::string name = uniqueName("fork");
  SharedPage page;
  Steps& s = *page.steps;
  Child parent([&] {
    auto* lock = new TQProcessLock;  // never destroyed on the exit path
    if (lock->init(name.c_str()) != 0) return 1;
    Child holder(
        [&] {
          TQProcessLock own;
          TQProcessLock& used = inherited ? *lock : own;
          if (!inherited && own.init(name.c_str()) != 0) return 1;
          used.lock();
          s.held = 1;
          if (!reach(s.release, 1)) return 2;
          used.unlock();
          return 0;
        },
        Child::kDetach);
    s.holderPid = holder.pid;
    if (!reach(s.held, 1)) return 2;
    if (end == ParentEnd::kKill) ::raise(SIGKILL);
    if (end == ParentEnd::kExit) std::exit(0);
    lock->uninit();
    delete lock;
    s.parentDone = 1;
    return reach(s.finish, 1) ? 0 : 3;
  });
  if (end == ParentEnd::kUninit) {
    ASSERT_TRUE(reach(s.parentDone, 1)) << "parent " << parent.wait();
  } else {
    ASSERT_EQ(parent.wait(), end == ParentEnd::kKill ? 128 + SIGKILL : 0);
  }
  ASSERT_EQ(s.held, 1);
  EXPECT_TRUE(exists(name));
  Child newcomer([&] {
    TQProcessLock lock;
    if (lock.init(name.c_str()) != 0) return 1;
    lock.lock();
    s.newcomerIn = s.release == 1 ? 1 : 2;
    lock.unlock();
    return 0;
  });
  // A newcomer that gets in before the release proves the loss.
  EXPECT_FALSE(reach(s.newcomerIn, 2, 300ms));
  s.release = 1;
  EXPECT_EQ(newcomer.wait(), 0);
  EXPECT_EQ(s.newcomerIn, 1) << "the newcomer locked while the child held";
  s.finish = 1;
  if (end == ParentEnd::kUninit) {
    EXPECT_EQ(parent.wait(), 0);
  }
  EXPECT_EQ(waitForPid(s.holderPid), 0);
  EXPECT_FALSE(exists(name));
}

class ForkedChildKeepsExclusion : public SubreaperTest {};

TEST_F(ForkedChildKeepsExclusion, AfterParentUninits) {
  childKeepsExclusionWhenParent(ParentEnd::kUninit, false);
  childKeepsExclusionWhenParent(ParentEnd::kUninit, true);
}

TEST_F(ForkedChildKeepsExclusion, AfterParentExits) {
  childKeepsExclusionWhenParent(ParentEnd::kExit, false);
  childKeepsExclusionWhenParent(ParentEnd::kExit, true);
}

TEST_F(ForkedChildKeepsExclusion, AfterParentIsKilled) {
  childKeepsExclusionWhenParent(ParentEnd::kKill, false);
  childKeepsExclusionWhenParent(ParentEnd::kKill, true);
}

// Scenario 1, second path: a third user holds the name while the parent
// leaves; once that third user leaves too, the child must still count.
TEST_F(ForkedChildKeepsExclusion, AfterParentAndAThirdUserLeave) {
  const std::string name = uniqueName("third");
  SharedPage page;
  Steps& s = *page.steps;
  Child third([&] {
    TQProcessLock lock;
    if (lock.init(name.c_str()) != 0) return 1;
    s.thirdOpen = 1;
    if (!reach(s.thirdLeave, 1)) return 2;
    return 0;  // the lock closes on the way out
  });
  ASSERT_TRUE(reach(s.thirdOpen, 1)) << "third " << third.wait();
  TQProcessLock parent;
  ASSERT_EQ(parent.init(name.c_str()), 0);
  Child holder([&] {
    parent.lock();
    s.held = 1;
    if (!reach(s.release, 1)) return 2;
    parent.unlock();
    return 0;
  });
  ASSERT_TRUE(reach(s.held, 1)) << "holder " << holder.wait();
  parent.uninit();
  s.thirdLeave = 1;
  ASSERT_EQ(third.wait(), 0);
  EXPECT_TRUE(exists(name));
  Child newcomer([&] {
    TQProcessLock lock;
    if (lock.init(name.c_str()) != 0) return 1;
    lock.lock();
    s.newcomerIn = s.release == 1 ? 1 : 2;
    lock.unlock();
    return 0;
  });
  EXPECT_FALSE(reach(s.newcomerIn, 2, 300ms));
  s.release = 1;
  EXPECT_EQ(holder.wait(), 0);
  EXPECT_EQ(newcomer.wait(), 0);
  EXPECT_EQ(s.newcomerIn, 1) << "the newcomer locked while the child held";
  EXPECT_FALSE(exists(name));
}

// Scenario 2: the last user leaves through exit() with locks it never
// destroyed (one of them still locked, one shared by assignment).
TEST(ProcessLockLifetime, NothingLeftAfterExitWithLocksNeverDestroyed) {
  const std::string held = uniqueName("exit-held"),
                    idle = uniqueName("exit-idle");
  Child user([&] {
    auto* a = new TQProcessLock;
    auto* b = new TQProcessLock;
    if (a->init(held.c_str()) != 0 || b->init(idle.c_str()) != 0) return 1;
    *new TQProcessLock = *b;
    a->lock();
    a->lock();
    std::exit(7);
  });
  EXPECT_EQ(user.wait(), 7);
  EXPECT_FALSE(exists(held));
  EXPECT_FALSE(exists(idle));
}

// Scenario 2: a user killed without running any code leaves the object;
// the next init reclaims it, and its users leave nothing behind.
TEST(ProcessLockLifetime, KilledLastUserLeavesWhatTheNextInitReclaims) {
  for (bool holding : {false, true}) {
    SCOPED_TRACE(holding ? "killed holding the lock" : "killed idle");
    const std::string name = uniqueName(holding ? "killed-held" : "killed");
    Child user([&] {
      TQProcessLock lock;
      if (lock.init(name.c_str()) != 0) return 1;
      if (holding) lock.lock();
      ::raise(SIGKILL);
      return 2;
    });
    EXPECT_EQ(user.wait(), 128 + SIGKILL);
    EXPECT_TRUE(exists(name));  // nobody ran a close
    Child next([&] {
      TQProcessLock lock;
      if (lock.init(name.c_str()) != 0) return 1;
      lock.lock();
      lock.unlock();
      return 0;
    });
    EXPECT_EQ(next.wait(), 0);
    EXPECT_FALSE(exists(name));
  }
}

// Scenario 3: a thread dies holding two levels, another process takes the
// lock over, and then everybody leaves.
TEST(ProcessLockLifetime, DeadThreadsLevelsAreGivenBack) {
  const std::string name = uniqueName("dead-thread");
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  std::thread([&] {
    lock.lock();
    lock.lock();
  }).join();
  Child other([&] {
    TQProcessLock own;
    if (own.init(name.c_str()) != 0) return 1;
    own.lock();
    own.unlock();
    return 0;
  });
  EXPECT_EQ(other.wait(), 0);
  lock.lock();  // free again for this process too
  lock.unlock();
  lock.uninit();
  EXPECT_FALSE(exists(name));
}

}  // namespace

static ::testing::Environment* const noLeftovers =
    ::testing::AddGlobalTestEnvironment(new TQBase::testsupport::NoLeftovers);
