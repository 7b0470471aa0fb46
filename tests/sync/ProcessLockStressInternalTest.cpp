// Seeded random runs of up to four forked processes on a few names: init,
// lock (nested), unlock, uninit, fork, exit() with locks held and never
// destroyed, and SIGKILL of oneself or of another process at any point. Whoever
// takes a lock passes through a window that records its pid in a shared
// anonymous page: finding another live process inside is an overlap, which
// no seed may ever show. After each run, nothing of the names may be left
// once one more user has come and gone (a killed last user leaves the
// object for the next init to reclaim).
//
// CI runs a fixed set of seeds. To run more by hand:
//   TQBASE_STRESS_SEEDS=1000:500 ./tqbase_sync_internal_tests
//       --gtest_filter='ProcessLockStress.*'
// runs seeds 1000 to 1499 (the variable is read by this test only).
#include <sched.h>
#include <sys/prctl.h>

#include <algorithm>
#include <cstdint>
#include <random>

#include "TQBase/Locks.h"
#include "sync/SyncTestSupport.h"

// Defined only in a program built with ThreadSanitizer.
extern "C" __attribute__((weak)) void __tsan_init();

namespace {

using namespace TQBase;
using namespace TQBase::testsupport;

constexpr int kNames = 3, kProcesses = 4, kOpsPerProcess = 300;

struct StressPage {
  std::atomic<pid_t> inside[kNames];  // who is in the window, or 0
  // Processes running: a pid, -1 while forking, or 0 when free.
  std::atomic<pid_t> members[kProcesses];
  std::atomic<int> overlaps, wrongResults;
};

// Reaps the children that have ended (all, waiting, with 0 for `options`);
// true once none is left.
bool reapAll(int options) {
  pid_t done;
  while ((done = ::waitpid(-1, nullptr, options)) > 0) {
  }
  return done < 0;
}

struct Worker {
  StressPage& page;
  const std::string* names;
  std::mt19937 rng;
  // Never destroyed on the exit paths.
  TQProcessLock* locks[kNames] = {new TQProcessLock, new TQProcessLock,
                                  new TQProcessLock};
  int levels[kNames] = {-1, -1, -1};  // the model: -1 while not initialised
  unsigned member = 0;                // its entry in the page's members

  unsigned pick(std::size_t n) { return static_cast<unsigned>(rng() % n); }

  // A holder killed inside leaves its pid behind, and the lock passes on
  // only once it is dying: the next one waits for it to end. Any other pid
  // found there, or leaving meanwhile, was inside at the same time.
  void window(int name) {
    const pid_t self = ::getpid();
    pid_t other = 0;
    if (!page.inside[name].compare_exchange_strong(other, self)) {
      const auto stays = [&] { return page.inside[name] == other; };
      if (!within(5s, [&] { return !stays() || hasEnded(other); }) ||
          !stays()) {
        ++page.overlaps;
      }
      page.inside[name] = self;
    }
    for (unsigned i = pick(20); i > 0; --i) ::sched_yield();
    other = self;  // not when an overlapping holder took the window over
    page.inside[name].compare_exchange_strong(other, 0);
  }

  void init(int name) {
    const int expected = levels[name] < 0 ? 0 : 85;
    if (locks[name]->init(names[name].c_str()) != expected) ++page.wrongResults;
    levels[name] = std::max(levels[name], 0);
  }

  void lock(int name) {
    if (levels[name] < 0) return;  // would pass without exclusion
    for (int higher = name + 1; higher < kNames; ++higher)
      if (levels[higher] > 0) return;  // one order for all: no deadlock
    locks[name]->lock();
    if (++levels[name] == 1 || pick(2) == 0) window(name);
  }

  void unlock(int name) {
    if (levels[name] <= 0) return;
    --levels[name];
    locks[name]->unlock();
  }

  void uninit(int name) {
    while (levels[name] > 0) unlock(name);
    locks[name]->uninit();
    levels[name] = -1;
  }

  // Frees entry `i` of the members if it still holds `pid`.
  void leave(unsigned i, pid_t pid) {
    page.members[i].compare_exchange_strong(pid, 0);
  }

  void forkChild(int) {
    const unsigned i = pick(kProcesses);
    pid_t entry = 0;
    if (!page.members[i].compare_exchange_strong(entry, -1)) return;
    std::fflush(nullptr);
    const std::uint32_t childSeed = rng();
    const pid_t pid = ::fork();
    // Either side may come first to write the entry; a failed fork frees it.
    entry = -1;
    page.members[i].compare_exchange_strong(
        entry, pid == 0 ? ::getpid() : std::max(pid, 0));
    if (pid != 0) return;
    member = i;
    rng.seed(childSeed);
    for (int& level : levels) level = std::min(level, 0);  // the parent's
    run();  // on the inherited objects
  }

  // Any process but this one, at any point.
  void killOther(int) {
    const unsigned i = pick(kProcesses);
    const pid_t pid = page.members[i];
    if (pid <= 0 || pid == ::getpid()) return;
    ::kill(pid, SIGKILL);
    leave(i, pid);
  }

  // With whatever it still holds.
  [[noreturn]] void exitNow(int) {
    leave(member, ::getpid());
    std::exit(0);
  }
  void killSelf(int) {
    leave(member, ::getpid());
    ::raise(SIGKILL);
  }

  struct Op {
    unsigned weight;  // in thousandths
    void (Worker::*run)(int name);
  };
  static constexpr Op kOps[] = {
      {200, &Worker::init},  {350, &Worker::lock},     {300, &Worker::unlock},
      {68, &Worker::uninit}, {70, &Worker::forkChild}, {2, &Worker::killOther},
      {5, &Worker::exitNow}, {5, &Worker::killSelf}};

  [[noreturn]] void run() {
    for (int i = 0; i < kOpsPerProcess; ++i) {
      const int name = static_cast<int>(pick(kNames));
      unsigned choice = pick(1000);
      const Op* op = kOps;
      while (choice >= op->weight) choice -= op++->weight;
      (this->*op->run)(name);
      reapAll(WNOHANG);
    }
    if (pick(2) == 0) exitNow(0);
    for (int name = 0; name < kNames; ++name) uninit(name);
    for (TQProcessLock* lock : locks) delete lock;
    exitNow(0);
  }
};

// One seed, its processes in a group of their own under a deadline.
void runSeed(std::uint32_t seed, const std::string* names) {
  StressPage& page = freshShared<StressPage>();
  const pid_t root = spawn([&]() -> int {
    ::setpgid(0, 0);
    page.members[0] = ::getpid();
    Worker{page, names, std::mt19937(seed)}.run();
  });
  ::setpgid(root, root);
  // As subreaper, every worker ends up a child of this process.
  const bool ended = within(15s, [] { return reapAll(WNOHANG); });
  if (!ended) ::kill(-root, SIGKILL), reapAll(0);
  EXPECT_TRUE(ended) << "seed " << seed << ": processes still running";
  EXPECT_EQ(page.overlaps.load(), 0) << "seed " << seed;
  EXPECT_EQ(page.wrongResults.load(), 0) << "seed " << seed;
  // One more user of every name reclaims what killed users left.
  Child last([&] {
    for (int name = 0; name < kNames; ++name) {
      TQProcessLock lock;
      if (lock.init(names[name].c_str()) != 0) return 1;
      lock.lock();
      lock.unlock();
    }
    return 0;
  });
  EXPECT_EQ(last.wait(), 0) << "seed " << seed;
  for (int name = 0; name < kNames; ++name)
    EXPECT_FALSE(exists(names[name])) << "seed " << seed << " name " << name;
}

TEST(ProcessLockStress, NoTwoHoldersAndNothingLeft) {
  if (!ownerDeathRecovers()) GTEST_SKIP() << kNoOwnerDeathRecovery;
  // Its view of a mutex is per process: states copied into forked children
  // and addresses that later mappings reuse give false reports.
  if (__tsan_init != nullptr)
    GTEST_SKIP() << "ThreadSanitizer cannot follow mutexes across processes";
  std::uint32_t first = 20240601, count = 40;
  if (const char* seeds = std::getenv("TQBASE_STRESS_SEEDS")) {
    ASSERT_EQ(std::sscanf(seeds, "%u:%u", &first, &count), 2)
        << "want first:count";
    ::alarm(0);  // long runs by hand: each seed keeps its own deadline
  }
  const std::string names[kNames] = {uniqueName("stress"),
                                     uniqueName("stress/\\x"),
                                     uniqueName(std::string(250, 's'))};
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  for (std::uint32_t seed = first; seed - first < count && !HasFailure();
       ++seed)
    runSeed(seed, names);
  ::prctl(PR_SET_CHILD_SUBREAPER, 0);
}

}  // namespace
