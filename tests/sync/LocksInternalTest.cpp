// Internal only to reach the system object names behind TQProcessLock.
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <future>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "TQBase/Locks.h"
#include "gtest/gtest.h"
#include "sync/platform/NamedMutex.h"

namespace {

using namespace TQBase;
using namespace std::chrono_literals;

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

TEST(RWLock, ReadersPassAWaitingWriterAndStrayReleasesAreIgnored) {
  TQWfirstRWLock lock;
  lock.release_read();  // nothing held: both ignored
  lock.release_write();
  lock.lock_read();
  lock.release_write();  // read-held: ignored
  auto writer = onOtherThread([&] { lock.lock_write(); });
  EXPECT_TRUE(staysBlocked(writer));
  auto reader = onOtherThread([&] { lock.lock_read(); });
  EXPECT_TRUE(finishes(reader));  // admitted while the writer waits
  lock.release_read();
  EXPECT_TRUE(staysBlocked(writer));  // the reader's hold is left
  lock.release_read();
  ASSERT_TRUE(finishes(writer));
  lock.release_read();  // write-held: ignored
  auto lateReader = onOtherThread([&] { lock.lock_read(); });
  EXPECT_TRUE(staysBlocked(lateReader));
  lock.release_write();
  EXPECT_TRUE(finishes(lateReader));
}

TEST(Semaphore, PermitsOnHandPassWithoutBlocking) {
  // name, start, signals, passes before wait(0) fails, their time-out
  const std::tuple<const char*, int, int, int, long long> rows[] = {
      {"three, no wait", 3, 0, 3, 0},   {"three, unlimited", 3, 0, 3, -1},
      {"three, timed", 3, 0, 3, 60000}, {"two signals", 0, 2, 2, 0},
      {"debt paid", -2, 2, 0, 0},       {"debt paid, one spare", -2, 3, 1, 0},
  };
  for (const auto& [name, start, signals, passes, timeout] : rows) {
    SCOPED_TRACE(name);
    TQSemaphore semaphore(start);
    for (int i = 0; i < signals; ++i) semaphore.signal();
    for (int i = 0; i < passes; ++i) EXPECT_TRUE(semaphore.wait(timeout));
    EXPECT_FALSE(semaphore.wait(timeout > 0 ? 50 : 0));  // may run out
    semaphore.signal();  // the count was 0 exactly, not in debt
    EXPECT_TRUE(semaphore.wait(0));
  }
}

// k signals release k blocked waiters, also when they all come before the
// first released thread runs, and also while the count stays in debt.
TEST(Semaphore, SignalsReleaseAsManyBlockedWaiters) {
  for (int start : {0, -2}) {
    SCOPED_TRACE(start);
    TQSemaphore semaphore(start);
    std::vector<std::future<void>> waiters;
    for (long long timeout : {-1LL, 30000LL, LLONG_MAX})
      waiters.push_back(onOtherThread(
          [&, timeout] { EXPECT_TRUE(semaphore.wait(timeout)); }));
    for (auto& waiter : waiters) EXPECT_TRUE(staysBlocked(waiter));
    for (int i = 0; i < 3; ++i) semaphore.signal();
    for (auto& waiter : waiters) EXPECT_TRUE(finishes(waiter));
    for (int i = start; i < 0; ++i) semaphore.signal();
    EXPECT_FALSE(semaphore.wait(0));
  }
}

TEST(OrderLocker, OppositeOrdersNeverDeadlock) {
  std::mutex a, b;
  int pairs = 0;  // for ThreadSanitizer: guarded by both
  auto run = [&](std::mutex& first, std::mutex& second) {
    for (int i = 0; i < 200000; ++i) {
      TQOrderLocker both(first, second);
      ++pairs;
    }
  };
  auto forward = onOtherThread([&] { run(a, b); });
  run(b, a);
  forward.get();
  { TQOrderLocker same(a, a); }  // locked once
  EXPECT_TRUE(a.try_lock());
  a.unlock();
}

// For ThreadSanitizer too: only the locks order the plain ints.
TEST(SyncStress, LocksUnderContention) {
  TQWfirstRWLock lock;
  TQSemaphore semaphore;
  std::vector<int> data(64, 0);
  std::atomic<int> writers{0}, signals{0}, passes{0};
  std::atomic<bool> overlap{false};
  std::vector<std::future<void>> threads;
  for (unsigned t = 0; t < 4; ++t) {
    threads.push_back(onOtherThread([&, t] {
      std::mt19937 rng(20240607 + t);
      for (int i = 0; i < 20000; ++i) {
        const unsigned op = rng() % 7;
        if (op < 3) {
          op == 0 ? lock.lock_write() : lock.lock_read();
          for (int v : data) overlap = overlap || v != data[0];
          if (op == 0) {
            overlap = overlap || ++writers > 1;
            for (int& v : data) ++v;
            --writers;
          }
          op == 0 ? lock.release_write() : lock.release_read();
        } else if (op < 5) {
          semaphore.signal(), ++signals;
        } else {
          passes += semaphore.wait(op == 5 ? 0 : 1);
        }
      }
    }));
  }
  for (auto& t : threads) t.get();
  EXPECT_FALSE(overlap);
  // A released waiter may have been overtaken, leaving the count in debt;
  // settled, what is on hand is exactly what was not taken.
  for (int i = signals; i < passes; ++i) semaphore.signal();
  for (int i = passes; i < signals; ++i) EXPECT_TRUE(semaphore.wait(0));
  EXPECT_FALSE(semaphore.wait(0));
}

// Waits up to 10 s for `step` to be `value`.
bool reach(const std::atomic<int>& step, int value) {
  for (int ms = 0; step != value && ms < 10000; ++ms)
    std::this_thread::sleep_for(1ms);
  return step == value;
}

// A forked child running `body` (no gtest, no threads) and leaving through
// _exit with its result. The sides meet in shared memory, not a pipe: a
// child gone early shows as a step never reached, and stop() tells why.
struct Child {
  template <class Body>
  explicit Child(Body body) : pid(::fork()) {
    if (pid == 0) ::_exit(body());
  }
  ~Child() { stop(); }
  // Kills the child if it still runs; its exit code, or 128 + signal.
  int stop() {
    int status = 0;
    if (pid > 0) ::kill(pid, SIGKILL), ::waitpid(pid, &status, 0);
    pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  pid_t pid;
};

std::string uniqueName(const char* label) {
  return "tqtest-" + std::to_string(::getpid()) + "-" + label;
}
std::string pathOf(const std::string& name) {
  return "/dev/shm" + platform::NamedMutex::systemObjectName(name, 0);
}
bool exists(const std::string& name) {
  struct stat status;
  return ::stat(pathOf(name).c_str(), &status) == 0;
}

TEST(ProcessLock, InitAndUninit) {
  const std::string name = uniqueName("init/\\"), other = uniqueName("other");
  TQProcessLock lock;
  lock.lock();  // uninitialised: returns at once
  lock.unlock();
  ASSERT_EQ(lock.init(name.c_str()), 0);
  EXPECT_EQ(lock.init(other.c_str()), 85);
  EXPECT_FALSE(exists(other));
  lock.lock();
  lock.uninit();  // still owned: stays mapped for the owner's robust list
  ASSERT_EQ(lock.init(name.c_str()), 0);  // the same mutex again
  lock.unlock();
  EXPECT_TRUE(exists(name));
  lock.uninit();
  lock.uninit();
  EXPECT_FALSE(exists(name));
}

// Both processes open the (long, so hashed) name at once, when a third
// opener lets go: the one that did not build the mutex used to wait for the
// builder's shared flock, that is until the builder closed.
TEST(ProcessLock, AcrossProcessesExcludesNestsAndPassesOnFromTheDead) {
  const std::string name = std::string(300, '/') + uniqueName("x") + "\\";
  const int fd = ::open(pathOf(name).c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_EQ(::flock(fd, LOCK_SH), 0);
  auto* step = static_cast<std::atomic<int>*>(
      ::mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
             MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(step, MAP_FAILED);
  Child child([&] {
    ::close(fd);
    TQProcessLock lock;
    if (lock.init(name.c_str()) != 0) return 1;
    lock.lock();
    lock.lock();
    *step = 1;
    if (!reach(*step, 2)) return 2;
    lock.unlock();
    *step = 3;
    reach(*step, 0);  // killed meanwhile, still owning it
    return 3;
  });
  auto release = onOtherThread([fd] {
    std::this_thread::sleep_for(200ms);
    ::close(fd);
  });
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  release.get();
  ASSERT_TRUE(reach(*step, 1)) << "child exit " << child.stop();
  auto waiter = onOtherThread([&] { lock.lock(), lock.unlock(); });
  EXPECT_TRUE(staysBlocked(waiter));  // two levels held
  *step = 2;
  ASSERT_TRUE(reach(*step, 3)) << "child exit " << child.stop();
  EXPECT_TRUE(staysBlocked(waiter));  // one level held
  EXPECT_EQ(child.stop(), 128 + SIGKILL);
  EXPECT_TRUE(finishes(waiter));
  lock.uninit();
  EXPECT_FALSE(exists(name));
  ::munmap(step, sizeof(std::atomic<int>));
}

TEST(ProcessLock, DifferentNamesNeverShareAMutex) {
  const std::string base = uniqueName("n"), longName(300, 'x');
  const std::vector<std::string> names = {
      base + "/a", base + "\\a",    base + "%2Fa",        base + "_a",
      base,        longName + base, longName + base + "y"};
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

}  // namespace
