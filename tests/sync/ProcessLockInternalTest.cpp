// TQProcessLock across threads and forked processes. Internal only to reach
// the system object names behind the lock and its test seams.
//
// Every wait on another thread or process has a deadline: a broken lock
// fails here within seconds. Children end through exit(), like the users
// the library serves, so its exit-time cleanup runs in them.
#include <fcntl.h>
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

// A newcomer opens `name` and locks while the child holds it; getting in
// before the child is told to release (s.release) proves exclusion lost.
void expectNewcomerWaitsForRelease(const std::string& name, Steps& s) {
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
  EXPECT_EQ(newcomer.wait(), 0);
  EXPECT_EQ(s.newcomerIn, 1) << "the newcomer locked while the child held";
}

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
  expectNewcomerWaitsForRelease(name, s);
  s.finish = 1;
  if (end == ParentEnd::kUninit) {
    EXPECT_EQ(parent.wait(), 0);
  }
  EXPECT_EQ(waitForOrphan(s.holderPid), 0);
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
  expectNewcomerWaitsForRelease(name, s);
  EXPECT_EQ(holder.wait(), 0);
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

namespace {

const auto onOtherThread = [](auto body) {
  return std::async(std::launch::async, body);
};
// Long enough for a thread to reach its wait on a loaded machine; a thread
// that has not yet only makes the check weaker.
bool staysBlocked(std::future<void>& attempt) {
  return attempt.wait_for(200ms) == std::future_status::timeout;
}
bool finishes(std::future<void>& attempt) {
  return attempt.wait_for(10s) == std::future_status::ready;
}
// Whether another thread gets `lock` now (it is free for it).
bool freeForOthers(TQProcessLock& lock) {
  auto attempt = onOtherThread([&] { lock.lock(), lock.unlock(); });
  return finishes(attempt);
}

TEST(ProcessLock, InitAndUninit) {
  const std::string name = uniqueName("init/\\"), other = uniqueName("other");
  TQProcessLock lock;
  lock.lock();  // uninitialised: returns at once
  lock.unlock();
  lock.uninit();
  ASSERT_EQ(lock.init(name.c_str()), 0);
  EXPECT_EQ(lock.init(other.c_str()), 85);
  EXPECT_EQ(lock.init(nullptr), 85);
  EXPECT_FALSE(exists(other));
  lock.lock();
  lock.uninit();  // still owned: stays mapped for the owner's robust list
  EXPECT_TRUE(exists(name));
  ASSERT_EQ(lock.init(name.c_str()), 0);  // the same mutex again
  lock.unlock();
  EXPECT_TRUE(freeForOthers(lock));
  lock.unlock();  // no owner: ignored
  lock.uninit();
  lock.uninit();
  EXPECT_FALSE(exists(name));
}

TEST(ProcessLock, CopiesAndAssignmentsActOnTheSourcesMutex) {
  const std::string name = uniqueName("copy"), other = uniqueName("copy2");
  TQProcessLock a;
  ASSERT_EQ(a.init(name.c_str()), 0);
  TQProcessLock b(a);
  a.lock();
  b.unlock();  // one mutex: b gives up a's level
  EXPECT_TRUE(freeForOthers(a));

  TQProcessLock c, empty;
  ASSERT_EQ(c.init(other.c_str()), 0);
  c = a;  // gives up `other`, which nobody else uses
  EXPECT_FALSE(exists(other));
  TQProcessLock& alias = c;
  c = alias;  // self-assignment changes nothing
  a.uninit();
  b.uninit();
  EXPECT_TRUE(exists(name));  // c still shares the handle
  c.lock();
  auto blocked = onOtherThread([&] { c.lock(), c.unlock(); });
  EXPECT_TRUE(staysBlocked(blocked));
  c.unlock();
  EXPECT_TRUE(finishes(blocked));
  TQProcessLock copyOfEmpty(empty);
  c = copyOfEmpty;  // an uninitialised source uninitialises the target
  EXPECT_FALSE(exists(name));
  EXPECT_EQ(c.init(name.c_str()), 0);
  c = alias;  // self-assignment of an initialised object
  EXPECT_TRUE(exists(name));
}

// A null name: a mutex nobody finds by name, reached by the objects that
// share its handle and by children forked later.
TEST(ProcessLock, UnnamedMutexReachesForkedChildren) {
  SharedPage page;
  Steps& s = *page.steps;
  TQProcessLock a, b;
  ASSERT_EQ(a.init(nullptr), 0);
  ASSERT_EQ(b.init(nullptr), 0);
  a.lock();
  EXPECT_TRUE(freeForOthers(b));  // two null names, two mutexes
  Child child([&] {
    a.lock();
    s.held = s.release == 1 ? 1 : 2;
    a.unlock();
    return 0;
  });
  EXPECT_FALSE(reach(s.held, 2, 300ms)) << "the child locked past the parent";
  s.release = 1;
  a.unlock();
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(s.held, 1);
  // A thread that ends owning gives its levels back, and handles closed
  // while it owned them go with it.
  const std::string name = uniqueName("thread-end");
  std::thread([&] {
    TQProcessLock shared(a), unnamed, named;
    shared.lock();
    if (unnamed.init(nullptr) == 0) unnamed.lock();
    if (named.init(name.c_str()) == 0) named.lock(), named.lock();
  }).join();
  EXPECT_TRUE(freeForOthers(a));
  EXPECT_FALSE(exists(name));
}

TEST(ProcessLock, DifferentNamesNeverShareAMutex) {
  const std::string base = uniqueName("n"), longName(300, 'x');
  const std::vector<std::string> names = {
      base + "/a", base + "\\a",    base + "%2Fa",         base + "_a",
      base,        longName + base, longName + base + "y", uniqueName("")};
  std::vector<TQProcessLock> locks(names.size());
  for (std::size_t i = 0; i < names.size(); ++i)
    ASSERT_EQ(locks[i].init(names[i].c_str()), 0);
  for (std::size_t i = 0; i < names.size(); ++i) {
    locks[i].lock();
    auto others = onOtherThread([&] {
      for (std::size_t j = 0; j < names.size(); ++j)
        if (j != i) locks[j].lock(), locks[j].unlock();
    });
    EXPECT_TRUE(finishes(others)) << names[i].substr(0, 40);
    locks[i].unlock();
  }
  for (TQProcessLock& lock : locks) lock.uninit();
  for (const std::string& name : names) EXPECT_FALSE(exists(name));
}

TEST(ProcessLock, AcrossProcessesExcludesNestsAndPassesOnFromTheDead) {
  TQBASE_SKIP_WITHOUT_OWNER_DEATH_RECOVERY();
  const std::string name = std::string(300, '/') + uniqueName("x") + "\\";
  SharedPage page;
  Steps& s = *page.steps;
  Child child([&] {
    TQProcessLock lock;
    if (lock.init(name.c_str()) != 0) return 1;
    lock.lock();
    lock.lock();
    s.step = 1;
    if (!reach(s.step, 2)) return 2;
    lock.unlock();
    s.step = 3;
    reach(s.step, 4);  // killed meanwhile, still owning it
    return 3;
  });
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  ASSERT_TRUE(reach(s.step, 1)) << "child exit " << child.wait(0ms);
  auto waiter = onOtherThread([&] { lock.lock(), lock.unlock(); });
  EXPECT_TRUE(staysBlocked(waiter));  // two levels held
  s.step = 2;
  ASSERT_TRUE(reach(s.step, 3)) << "child exit " << child.wait(0ms);
  EXPECT_TRUE(staysBlocked(waiter));  // one level held
  ::kill(child.pid, SIGKILL);
  EXPECT_EQ(child.wait(), 128 + SIGKILL);
  EXPECT_TRUE(finishes(waiter));
  lock.uninit();
  EXPECT_FALSE(exists(name));
}

// A waiter whose wake-up was lost still gets the lock. (A waiter woken by
// an unlock and killed before it takes the mutex leaves the others asleep
// when a third process takes it meanwhile without the waiters flag.) Here
// the holder frees the futex word without waking anyone.
TEST(ProcessLock, WaiterWhoseWakeUpWasLostStillGetsTheLock) {
  const std::string name = uniqueName("lost-wake");
  SharedPage page;
  Steps& s = *page.steps;
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  Child holder([&] {
    lock.lock();
    s.held = 1;
    if (!reach(s.release, 1)) return 2;
    const int fd = ::open(pathOf(name).c_str(), O_RDWR);
    void* block =
        ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (block == MAP_FAILED) return 3;
    reinterpret_cast<std::atomic<int>*>(static_cast<char*>(block) +
                                        platform::namedmutextest::mutexOffset)
        ->store(0);
    return 0;
  });
  ASSERT_TRUE(reach(s.held, 1)) << "holder exit " << holder.wait(0ms);
  auto waiter = onOtherThread([&] { lock.lock(), lock.unlock(); });
  EXPECT_TRUE(staysBlocked(waiter));
  s.release = 1;
  EXPECT_EQ(holder.wait(), 0);
  ASSERT_TRUE(finishes(waiter));
  lock.uninit();
  EXPECT_FALSE(exists(name));
}

// A handle kept open for a thread that owns the mutex is no concern of a
// forked child, which owns nothing: it closes its copy at once.
TEST(ProcessLockLifetime, ForkedChildClosesHandlesKeptForTheParentsOwners) {
  const std::string name = uniqueName("kept");
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  lock.lock();
  lock.uninit();
  Child child([&] { return exists(name) ? 0 : 1; });
  EXPECT_EQ(child.wait(), 0);
  EXPECT_TRUE(exists(name));
  ASSERT_EQ(lock.init(name.c_str()), 0);
  lock.unlock();
  lock.uninit();
  EXPECT_FALSE(exists(name));
}

TEST(ProcessLockLifetime, NameRemovedByOthersWhileInUse) {
  const std::string name = uniqueName("removed");
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  ASSERT_EQ(::unlink(pathOf(name).c_str()), 0);
  lock.uninit();  // finds nothing to remove
  EXPECT_FALSE(exists(name));
}

// Seams: states that a real race reaches too rarely to stage.
struct Seams : ::testing::Test {
  void TearDown() override {
    platform::namedmutextest::hook = nullptr;
    platform::namedmutextest::collideHashes = false;
  }
};

// With every long name hashed alike, a second name probes past the first
// one's slot, which stays pinned to its name from then on.
TEST_F(Seams, HashedSlotHoldingAnotherName) {
  const std::string first = uniqueName(std::string(250, 'a')),
                    second = uniqueName(std::string(250, 'b'));
  platform::namedmutextest::collideHashes = true;
  TQProcessLock a, b;
  ASSERT_EQ(a.init(first.c_str()), 0);
  ASSERT_EQ(b.init(second.c_str()), 0);
  EXPECT_TRUE(exists(second, 1));
  a.lock();
  EXPECT_TRUE(freeForOthers(b));
  a.unlock();
  a.uninit();
  b.uninit();
  EXPECT_TRUE(exists(first, 0));  // pinned
  EXPECT_FALSE(exists(second, 1));
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(b.init(second.c_str()), 0);  // past the unused pinned slot
    ASSERT_EQ(a.init(first.c_str()), 0);   // rebuilds its pinned slot
    EXPECT_TRUE(exists(second, 1));
    b.lock();
    EXPECT_TRUE(freeForOthers(a));
    b.unlock();
    a.uninit();
    b.uninit();
  }
  EXPECT_FALSE(exists(second, 1));
  ASSERT_TRUE(exists(first, 0));
  ::unlink(pathOf(first, 0).c_str());
}

TEST_F(Seams, ObjectUnlinkedWhileBeingOpened) {
  const std::string name = uniqueName("unlinked");
  static int unlinks;
  unlinks = 0;
  platform::namedmutextest::hook = [](platform::namedmutextest::Stage stage,
                                      const std::string& objectName) {
    if (stage == platform::namedmutextest::Stage::kOpened && unlinks++ == 0)
      ::shm_unlink(objectName.c_str());
  };
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  EXPECT_EQ(unlinks, 2);  // opened again after the unlink
  EXPECT_TRUE(exists(name));
  lock.uninit();
  EXPECT_FALSE(exists(name));
}

TEST_F(Seams, BuilderDiedMidBuild) {
  const std::string name = uniqueName("builder");
  Child builder([&] {
    platform::namedmutextest::hook = [](platform::namedmutextest::Stage stage,
                                        const std::string&) {
      if (stage == platform::namedmutextest::Stage::kBuilding) ::raise(SIGKILL);
    };
    TQProcessLock lock;
    lock.init(name.c_str());
    return 1;
  });
  EXPECT_EQ(builder.wait(), 128 + SIGKILL);
  EXPECT_TRUE(exists(name));
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  EXPECT_TRUE(freeForOthers(lock));
  lock.uninit();
  EXPECT_FALSE(exists(name));
}

}  // namespace
