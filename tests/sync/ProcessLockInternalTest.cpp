// TQProcessLock across threads and forked processes. Internal only to reach
// the system object names behind the lock and its test seams.
#include <fcntl.h>

#include "TQBase/Locks.h"
#include "sync/SyncTestSupport.h"

static ::testing::Environment* const noLeftovers =
    ::testing::AddGlobalTestEnvironment(new TQBase::testsupport::NoLeftovers);

namespace {

using namespace TQBase;
using namespace TQBase::testsupport;
namespace seams = TQBase::platform::namedmutextest;

// Whether another thread gets `lock` now (it is free for it), twice over.
bool freeForOthers(TQProcessLock& lock) {
  auto attempt = onOtherThread([&] {
    lock.lock();
    lock.lock();
    lock.unlock();
    lock.unlock();
  });
  return finishes(attempt);
}

// A forked child locks `lock`, reopened by `name` first if one is given,
// while another holder lets go only after s.release is set (and `release`
// has run); getting in before that proves exclusion lost. (The holder is
// not another thread here: a child forked beside it would inherit its
// thread-local records, which LeakSanitizer counts as leaked.)
template <class Release>
void expectChildWaitsFor(Release release, Steps& s, TQProcessLock& lock,
                         const char* name = nullptr) {
  Child child([&] {
    if (name != nullptr) lock.uninit();
    if (name != nullptr && lock.init(name) != 0) return 1;
    lock.lock();
    s.childIn = s.release == 1 ? 1 : 2;
    lock.unlock();
    return 0;
  });
  EXPECT_FALSE(reach(s.childIn, 2, 300ms));
  s.release = 1;
  release();
  EXPECT_EQ(child.wait(), 0);
  EXPECT_EQ(s.childIn, 1) << "the child locked while another held";
}

enum class ParentEnd { kUninit, kExit, kKill };

// A parent forks a child that locks, then leaves. Its end must not open the
// name to a fresh object while the child holds the lock: not when the child
// shares the parent's description (it locks the object it inherited), nor
// when a third user holds the name while the parent leaves and leaves after
// it (a converting lock drops the child's share on the way).
TEST(ProcessLockLifetime, ForkedChildKeepsExclusionWhenItsParentLeaves) {
  struct Row {
    ParentEnd end;
    bool inherited, third;
  } const rows[] = {
      {ParentEnd::kUninit, false, false}, {ParentEnd::kUninit, true, false},
      {ParentEnd::kUninit, true, true},   {ParentEnd::kExit, false, false},
      {ParentEnd::kExit, true, false},    {ParentEnd::kExit, true, true},
      {ParentEnd::kKill, false, false},   {ParentEnd::kKill, true, false}};
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    const std::string name = uniqueName("fork");
    Steps& s = freshShared<Steps>();
    Child parent([&] {
      TQProcessLock lock;  // exit() leaves it undestroyed
      if (lock.init(name.c_str()) != 0) return 1;
      s.holderPid = spawn([&] {
        TQProcessLock own;
        TQProcessLock& used = row.inherited ? lock : own;
        if (!row.inherited && own.init(name.c_str()) != 0) return 1;
        used.lock();
        s.held = 1;
        return reach(s.release, 1) ? 0 : 2;
      });
      if (!reach(s.go, 1)) return 2;
      if (row.end == ParentEnd::kKill) ::raise(SIGKILL);
      if (row.end == ParentEnd::kUninit) lock.uninit();
      std::exit(0);
    });
    ASSERT_TRUE(reach(s.held, 1)) << "parent " << parent.wait(0ms);
    TQProcessLock third;
    if (row.third) {
      ASSERT_EQ(third.init(name.c_str()), 0);
    }
    s.go = 1;
    ASSERT_EQ(parent.wait(), row.end == ParentEnd::kKill ? 128 + SIGKILL : 0);
    third.uninit();
    EXPECT_TRUE(exists(name));
    expectChildWaitsFor([] {}, s, third, name.c_str());
    // Orphaned, the holder is reaped elsewhere: watched until it has ended.
    EXPECT_TRUE(within(10s, [&] { return hasEnded(s.holderPid); }));
    EXPECT_FALSE(exists(name));
  }
}

// The last user ends without uninit, its locks never destroyed: by exit()
// (one lock held twice, one shared by assignment), which leaves nothing; or
// killed without running any code (idle, holding the lock, or while
// building the object: a seam, as a real race is too rare to stage), which
// leaves the objects for the next init to reclaim, after whose users
// nothing is left.
TEST(ProcessLockLifetime, LastUserEndingWithoutUninitLeavesNothingForGood) {
  for (const std::string how :
       {"exit", "killed idle", "killed holding", "killed building"}) {
    SCOPED_TRACE(how);
    const bool killed = how != "exit";
    const std::string held = uniqueName(how + " held"),
                      idle = uniqueName(how + " idle");
    Child user([&] {
      if (how == "killed building") {
        seams::hook = [](seams::Stage stage, const std::string&) {
          if (stage == seams::Stage::kBuilding) ::raise(SIGKILL);
        };
      }
      auto* a = new TQProcessLock;
      auto* b = new TQProcessLock;
      if (a->init(held.c_str()) != 0 || b->init(idle.c_str()) != 0) return 1;
      *new TQProcessLock = *b;
      if (how != "killed idle") a->lock(), a->lock();
      if (killed) ::raise(SIGKILL);
      std::exit(7);
    });
    EXPECT_EQ(user.wait(), killed ? 128 + SIGKILL : 7);
    EXPECT_EQ(exists(held), killed);  // nobody ran a close
    EXPECT_EQ(exists(idle), killed && how != "killed building");
    for (const std::string& name : {held, idle}) {
      TQProcessLock lock;
      ASSERT_EQ(lock.init(name.c_str()), 0);
      EXPECT_TRUE(freeForOthers(lock));
      lock.uninit();
      EXPECT_FALSE(exists(name));
    }
  }
}

// A thread ends holding levels: two of a named mutex, one of an unnamed one
// through a copy, and one of a mutex whose handle it closed while holding
// it. They are given back: another process takes the named lock, and once
// everybody leaves nothing is left.
TEST(ProcessLockLifetime, DeadThreadsLevelsAreGivenBack) {
  const std::string name = uniqueName("dead-thread"),
                    closed = uniqueName("closed-while-held");
  TQProcessLock lock, unnamed;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  ASSERT_EQ(unnamed.init(nullptr), 0);
  std::thread([&] {
    TQProcessLock copy(unnamed), own;
    lock.lock();
    lock.lock();
    copy.lock();
    if (own.init(closed.c_str()) == 0) own.lock();
  }).join();
  Child other([&] {
    TQProcessLock own;
    if (own.init(name.c_str()) != 0) return 1;
    own.lock();
    own.unlock();
    return 0;
  });
  EXPECT_EQ(other.wait(), 0);
  EXPECT_TRUE(freeForOthers(lock));
  EXPECT_TRUE(freeForOthers(unnamed));
  EXPECT_FALSE(exists(closed));
  lock.uninit();
  EXPECT_FALSE(exists(name));
}

// An uninit while owning keeps the handle open for the owner's robust
// list; that is no concern of a child forked meanwhile, which owns nothing:
// it closes its copy at once, and does not keep the name alive once the
// parent leaves.
TEST(ProcessLock, InitAndUninit) {
  const std::string name = uniqueName("init/\\"), other = uniqueName("other");
  Steps& s = freshShared<Steps>();
  TQProcessLock lock;
  lock.lock();  // uninitialised: returns at once
  lock.unlock();
  lock.uninit();
  ASSERT_EQ(lock.init(name.c_str()), 0);
  EXPECT_EQ(lock.init(other.c_str()), 85);
  EXPECT_EQ(lock.init(nullptr), 85);
  EXPECT_FALSE(exists(other));
  TQProcessLock same;
  ASSERT_EQ(same.init(name.c_str()), 0);
  same.uninit();  // `lock` shares the handle: it stays open
  lock.lock();
  lock.uninit();  // still owned: stays mapped
  Child child([&] {
    s.step = 1;
    return reach(s.finish, 1) ? 0 : 1;
  });
  ASSERT_TRUE(reach(s.step, 1));
  EXPECT_TRUE(exists(name));
  ASSERT_EQ(lock.init(name.c_str()), 0);  // the same mutex again
  lock.unlock();
  EXPECT_TRUE(freeForOthers(lock));
  lock.unlock();  // no owner: ignored
  lock.uninit();
  lock.uninit();
  EXPECT_FALSE(exists(name));
  s.finish = 1;
  EXPECT_EQ(child.wait(), 0);
  ASSERT_EQ(lock.init(name.c_str()), 0);
  ASSERT_EQ(::unlink(pathOf(name).c_str()), 0);  // by someone else
  lock.uninit();                                 // finds nothing to remove
}

TEST(ProcessLock, CopiesAndAssignmentsActOnTheSourcesMutex) {
  const std::string name = uniqueName("copy"), other = uniqueName("copy2");
  TQProcessLock a, c, empty;
  ASSERT_EQ(a.init(name.c_str()), 0);
  TQProcessLock b(a);
  a.lock();
  b.unlock();  // one mutex: b gives up a's level
  EXPECT_TRUE(freeForOthers(a));
  ASSERT_EQ(c.init(other.c_str()), 0);
  c = a;  // gives up `other`, which nobody else uses
  EXPECT_FALSE(exists(other));
  TQProcessLock& alias = c;
  c = alias;  // self-assignment changes nothing
  a.uninit();
  b.uninit();
  EXPECT_TRUE(exists(name));  // c still shares the handle
  // Null names: mutexes nobody finds by name, reached by the objects that
  // share their handle and by children forked later. (Forked before the
  // thread below: a thread not yet joined at fork() is one ThreadSanitizer
  // reports as leaked when the child exits.)
  ASSERT_EQ(a.init(nullptr), 0);
  ASSERT_EQ(b.init(nullptr), 0);
  a.lock();
  EXPECT_TRUE(freeForOthers(b));  // two null names, two mutexes
  expectChildWaitsFor([&] { a.unlock(); }, freshShared<Steps>(), a);
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

// A child holds two levels; a waiter here passes only once it gives both
// up, here without an unlock: killed while holding, or freeing the futex
// word without waking anyone. The second stands for a lost wake-up, a fault
// once seen: a waiter woken by an unlock and killed before it takes the
// mutex leaves the others asleep when a third process takes it meanwhile
// without the waiters flag. Where a dead owner's mutex is not passed on (as
// under qemu-user) the test skips itself after the first case.
TEST(ProcessLock, WaiterGetsTheLockFromTheDeadAndAfterALostWakeUp) {
  const std::string name = std::string(300, '/') + uniqueName("x") + "\\";
  for (const bool killed : {false, true}) {
    if (killed && !ownerDeathRecovers()) GTEST_SKIP() << kNoOwnerDeathRecovery;
    Steps& s = freshShared<Steps>();
    Child holder([&] {
      TQProcessLock lock;
      if (lock.init(name.c_str()) != 0) return 1;
      lock.lock();
      lock.lock();
      s.step = 1;
      if (!reach(s.step, 2)) return 2;
      lock.unlock();
      s.step = 3;
      if (!reach(s.step, 4)) return 2;
      if (killed) ::raise(SIGKILL);
      const int fd = ::open(pathOf(name).c_str(), O_RDWR);
      void* block =
          ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
      if (block == MAP_FAILED) return 3;
      reinterpret_cast<std::atomic<int>*>(static_cast<char*>(block) +
                                          seams::mutexOffset)
          ->store(0);
      return 0;
    });
    TQProcessLock lock;
    ASSERT_EQ(lock.init(name.c_str()), 0);
    ASSERT_TRUE(reach(s.step, 1)) << "holder " << holder.wait(0ms);
    auto waiter = onOtherThread([&] { lock.lock(), lock.unlock(); });
    EXPECT_TRUE(staysBlocked(waiter));  // two levels held
    s.step = 2;
    ASSERT_TRUE(reach(s.step, 3)) << "holder " << holder.wait(0ms);
    EXPECT_TRUE(staysBlocked(waiter));  // one level held
    s.step = 4;
    EXPECT_EQ(holder.wait(), killed ? 128 + SIGKILL : 0);
    ASSERT_TRUE(finishes(waiter));
    lock.uninit();
    EXPECT_FALSE(exists(name));
  }
}

// Seams: states that a real race reaches too rarely to stage.
struct Seams : ::testing::Test {
  void TearDown() override {
    seams::hook = nullptr;
    seams::collidingHash = 0;
  }
};

// With every long name hashed alike, a second name probes past the first
// one's slot, which stays pinned to that name from then on: unused, it is
// neither removed nor taken by the second name, whose users all meet past
// it. The first name rebuilds it, pinned still.
TEST_F(Seams, HashedSlotHoldingAnotherName) {
  const std::string first = uniqueName(std::string(250, 'a')),
                    second = uniqueName(std::string(250, 'b'));
  seams::collidingHash = static_cast<std::uint64_t>(::getpid());
  TQProcessLock a, b;
  ASSERT_EQ(a.init(first.c_str()), 0);
  ASSERT_EQ(b.init(second.c_str()), 0);
  a.lock();
  EXPECT_TRUE(freeForOthers(b));
  a.unlock();
  a.uninit();
  EXPECT_TRUE(exists(first, 0));
  b.lock();  // a child opening `second` by itself must wait for it
  expectChildWaitsFor([&] { b.unlock(); }, freshShared<Steps>(), b,
                      second.c_str());
  b.uninit();
  EXPECT_FALSE(exists(second, 1));
  ASSERT_EQ(b.init(second.c_str()), 0);
  ASSERT_EQ(a.init(first.c_str()), 0);
  EXPECT_TRUE(exists(second, 1));
  b.lock();
  EXPECT_TRUE(freeForOthers(a));
  b.unlock();
  a.uninit();
  b.uninit();
  EXPECT_TRUE(exists(first, 0));
  EXPECT_FALSE(exists(second, 1));
  ::unlink(pathOf(first, 0).c_str());
}

TEST_F(Seams, ObjectUnlinkedWhileBeingOpened) {
  const std::string name = uniqueName("unlinked");
  static int unlinks;
  unlinks = 0;
  seams::hook = [](seams::Stage stage, const std::string& objectName) {
    if (stage == seams::Stage::kOpened && unlinks++ == 0)
      ::shm_unlink(objectName.c_str());
  };
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  EXPECT_EQ(unlinks, 2);  // opened again after the unlink
  EXPECT_TRUE(exists(name));
  lock.uninit();
  EXPECT_FALSE(exists(name));
}

}  // namespace
