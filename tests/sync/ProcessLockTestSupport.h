// Helpers for the TQProcessLock tests: forked children with deadlines,
// handshakes in shared memory, and the names the tests leave in /dev/shm.
#ifndef TQBASE_TESTS_SYNC_PROCESSLOCKTESTSUPPORT_H_
#define TQBASE_TESTS_SYNC_PROCESSLOCKTESTSUPPORT_H_

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "sync/platform/NamedMutex.h"

namespace TQBase {
namespace testsupport {

using Clock = std::chrono::steady_clock;
using Millis = std::chrono::milliseconds;

constexpr int kHung = 1000;  // wait(): the child did not end in time

// Waits up to `limit` for `flag` to hold `value`.
template <class T>
bool reach(const std::atomic<T>& flag, T value, Millis limit = Millis(10000)) {
  const auto end = Clock::now() + limit;
  while (flag.load() != value) {
    if (Clock::now() > end) return false;
    std::this_thread::sleep_for(Millis(1));
  }
  return true;
}
inline bool reach(const std::atomic<int>& flag, int value,
                  Millis limit = Millis(10000)) {
  return reach<int>(flag, value, limit);
}

// Exit code, 128 + signal, or kHung after killing a child that did not end
// within `limit`.
inline int waitForPid(pid_t pid, Millis limit = Millis(10000)) {
  const auto end = Clock::now() + limit;
  int status = 0;
  for (;;) {
    const pid_t done = ::waitpid(pid, &status, WNOHANG);
    if (done == pid) break;
    if (done < 0) return -1;
    if (Clock::now() > end) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, &status, 0);
      return kHung;
    }
    std::this_thread::sleep_for(Millis(1));
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// A forked child running `body` and leaving through exit() with its result.
struct Child {
  enum Mode { kOwned, kDetach };
  template <class Body>
  explicit Child(Body body, Mode howToEnd = kOwned) : mode(howToEnd) {
    std::fflush(nullptr);
    pid = ::fork();
    if (pid == 0) std::exit(body());
  }
  ~Child() {
    if (pid > 0 && mode == kOwned) ::kill(pid, SIGKILL), wait();
  }
  int wait(Millis limit = Millis(10000)) {
    const int result = pid > 0 ? waitForPid(pid, limit) : -1;
    pid = -1;
    return result;
  }
  pid_t pid;
  Mode mode;
};

// Handshakes between the processes of one test, in shared memory.
struct Steps {
  std::atomic<int> held{0}, release{0}, parentDone{0}, finish{0}, newcomerIn{0},
      thirdOpen{0}, thirdLeave{0}, step{0};
  std::atomic<pid_t> holderPid{0};
};
struct SharedPage {
  SharedPage()
      : steps(new (::mmap(nullptr, sizeof(Steps), PROT_READ | PROT_WRITE,
                          MAP_SHARED | MAP_ANONYMOUS, -1, 0)) Steps) {}
  ~SharedPage() { ::munmap(steps, sizeof(Steps)); }
  Steps* steps;
};

enum class ParentEnd { kUninit, kExit, kKill };

// Grandchildren whose parent died are handed to the test, which waits for
// them like for its own.
// Whether this process reaps its orphaned descendants. qemu-user refuses
// PR_SET_CHILD_SUBREAPER; an orphan is then only watched until it ends.
inline bool& reapsOrphans() {
  static bool reaps = false;
  return reaps;
}

class SubreaperTest : public ::testing::Test {
 protected:
  void SetUp() override {
    reapsOrphans() = ::prctl(PR_SET_CHILD_SUBREAPER, 1) == 0;
  }
  void TearDown() override {
    ::prctl(PR_SET_CHILD_SUBREAPER, 0);
    reapsOrphans() = false;
  }
};

// True once `pid` has ended: gone, or a zombie left for another reaper.
inline bool hasEnded(pid_t pid) {
  if (::kill(pid, 0) != 0) return true;
  std::FILE* stat =
      std::fopen(("/proc/" + std::to_string(pid) + "/stat").c_str(), "r");
  if (stat == nullptr) return true;
  char state = '?';
  const bool read = std::fscanf(stat, "%*d (%*[^)]) %c", &state) == 1;
  std::fclose(stat);
  return read && state == 'Z';
}

// An orphaned descendant's result where this process reaps it; elsewhere 0
// once it has ended, since its status goes to another reaper.
inline int waitForOrphan(pid_t pid, Millis limit = Millis(10000)) {
  if (reapsOrphans()) return waitForPid(pid, limit);
  const auto end = Clock::now() + limit;
  while (!hasEnded(pid)) {
    if (Clock::now() > end) {
      ::kill(pid, SIGKILL);
      return kHung;
    }
    std::this_thread::sleep_for(Millis(1));
  }
  return 0;
}

inline std::vector<std::string>& usedNames() {
  static std::vector<std::string> names;
  return names;
}
inline std::string uniqueName(const std::string& label) {
  std::string name = "tqtest-" + std::to_string(::getpid()) + "-" + label;
  usedNames().push_back(name);
  return name;
}
inline std::string pathOf(const std::string& name, unsigned slot = 0) {
  return "/dev/shm" + platform::NamedMutex::systemObjectName(name, slot);
}
inline bool exists(const std::string& name, unsigned slot = 0) {
  struct stat status;
  return ::stat(pathOf(name, slot).c_str(), &status) == 0;
}

// Whether a robust mutex passes to the next locker when its owner dies.
// Emulators such as qemu-user lack it; tests that rely on it skip there.
inline bool ownerDeathRecovers() {
  static const bool recovers = [] {
    void* page =
        ::mmap(nullptr, sizeof(pthread_mutex_t), PROT_READ | PROT_WRITE,
               MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto* mutex = static_cast<pthread_mutex_t*>(page);
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    const pid_t pid = ::fork();
    if (pid == 0) {
      pthread_mutex_lock(mutex);
      ::_exit(0);
    }
    waitForPid(pid);
    timespec deadline;
    ::clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += 2;
    const int result = pthread_mutex_timedlock(mutex, &deadline);
    ::munmap(page, sizeof(pthread_mutex_t));
    return result == EOWNERDEAD;
  }();
  return recovers;
}
#define TQBASE_SKIP_WITHOUT_OWNER_DEATH_RECOVERY()                          \
  do {                                                                      \
    if (!::TQBase::testsupport::ownerDeathRecovers())                       \
      GTEST_SKIP() << "this platform does not pass a robust mutex on when " \
                      "its owner dies (as under qemu-user)";                \
  } while (false)

// After the tests: nothing of the names they used is left in /dev/shm.
// Also a last deadline for waits inside this process (a lock() that never
// returns): the run ends by SIGALRM long before CTest's time-out.
class NoLeftovers : public ::testing::Environment {
  void SetUp() override { ::alarm(60); }
  void TearDown() override {
    ::alarm(0);
    for (const std::string& name : usedNames()) {
      for (unsigned slot = 0; slot < 3; ++slot) {
        if (exists(name, slot)) {
          ADD_FAILURE() << "left in /dev/shm: " << pathOf(name, slot);
          ::unlink(pathOf(name, slot).c_str());
        }
      }
    }
    usedNames().clear();
  }
};

}  // namespace testsupport
}  // namespace TQBase

#endif  // TQBASE_TESTS_SYNC_PROCESSLOCKTESTSUPPORT_H_
