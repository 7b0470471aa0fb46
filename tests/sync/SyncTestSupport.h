// Helpers for the lock tests: other threads and forked children with
// deadlines, handshakes in shared memory, and the names the tests leave in
// /dev/shm. Every wait ends within seconds, so a broken lock fails the test
// long before CTest's time-out.
#ifndef TQBASE_TESTS_SYNC_SYNCTESTSUPPORT_H_
#define TQBASE_TESTS_SYNC_SYNCTESTSUPPORT_H_

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "sync/platform/NamedMutex.h"

namespace TQBase {
namespace testsupport {

using namespace std::chrono_literals;
using Millis = std::chrono::milliseconds;

template <class Body>
std::future<void> onOtherThread(Body body) {
  return std::async(std::launch::async, body);
}
// Long enough for a thread to reach its wait on a loaded machine; a thread
// that has not yet only makes the check weaker.
inline bool staysBlocked(std::future<void>& attempt) {
  return attempt.wait_for(200ms) == std::future_status::timeout;
}
inline bool finishes(std::future<void>& attempt) {
  return attempt.wait_for(10s) == std::future_status::ready;
}

// Polls `done` until it holds (true) or `limit` has passed (false).
template <class Done>
bool within(Millis limit, Done done) {
  for (const auto end = std::chrono::steady_clock::now() + limit; !done();) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}
inline bool reach(const std::atomic<int>& flag, int value, Millis limit = 10s) {
  return within(limit, [&] { return flag == value; });
}

// True once `pid` has ended: gone, or a zombie. (An orphan is reaped
// elsewhere; qemu-user refuses PR_SET_CHILD_SUBREAPER.)
inline bool hasEnded(pid_t pid) {
  std::FILE* stat =
      std::fopen(("/proc/" + std::to_string(pid) + "/stat").c_str(), "r");
  if (stat == nullptr) return true;
  char state = '?';
  const bool read = std::fscanf(stat, "%*d (%*[^)]) %c", &state) == 1;
  std::fclose(stat);
  return read && state == 'Z';
}

// Forks a child that runs `body` and leaves through exit() with its result,
// as the users the library serves do, so its exit-time cleanup runs.
template <class Body>
pid_t spawn(Body body) {
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid == 0) std::exit(body());
  return pid;
}
// A spawned child that is killed if the test leaves without waiting for it.
struct Child {
  template <class Body>
  explicit Child(Body body) : pid(spawn(body)) {}
  ~Child() { wait(0ms); }
  // Exit code, 128 + signal, or 1000 after killing a child that did not end
  // within `limit`; -1 if there is no child to wait for.
  int wait(Millis limit = 10s) {
    int status = 0;
    pid_t done = 0;
    const pid_t child = std::exchange(pid, -1);
    if (child <= 0) return -1;
    if (!within(limit, [&] {
          return (done = ::waitpid(child, &status, WNOHANG)) != 0;
        })) {
      ::kill(child, SIGKILL);
      ::waitpid(child, &status, 0);
      return 1000;
    }
    if (done < 0) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  pid_t pid;
};

// A fresh `T`, zeroed, in shared anonymous memory that children forked from
// now on share: one page per type, made once and reused.
template <class T>
T& freshShared() {
  static void* const page = ::mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE,
                                   MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return *new (page) T();
}

// Handshakes between the processes of one test.
struct Steps {
  std::atomic<int> held{0}, release{0}, go{0}, finish{0}, childIn{0}, step{0};
  std::atomic<pid_t> holderPid{0};
};

inline std::vector<std::string> usedNames;
inline std::string uniqueName(const std::string& label) {
  usedNames.push_back("tqtest-" + std::to_string(::getpid()) + "-" + label);
  return usedNames.back();
}
inline std::string pathOf(const std::string& name, unsigned slot = 0) {
  return "/dev/shm" + platform::NamedMutex::systemObjectName(name, slot);
}
inline bool exists(const std::string& name, unsigned slot = 0) {
  return ::access(pathOf(name, slot).c_str(), F_OK) == 0;
}

// Whether a robust mutex passes to the next locker when its owner dies.
// Emulators such as qemu-user lack it; tests that rely on it skip there.
inline bool ownerDeathRecovers() {
  static const bool recovers = [] {
    pthread_mutex_t* mutex = &freshShared<pthread_mutex_t>();
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
    pthread_mutex_init(mutex, &attributes);
    Child([&] { return pthread_mutex_lock(mutex); }).wait();
    const bool taken = pthread_mutex_trylock(mutex) == EOWNERDEAD;
    pthread_mutex_unlock(mutex);  // off this thread's robust list
    return taken;
  }();
  return recovers;
}
constexpr char kNoOwnerDeathRecovery[] =
    "this platform does not pass a robust mutex on when its owner dies (as "
    "under qemu-user)";

// After the tests: nothing of the names they used is left in /dev/shm.
// Also a last deadline for waits inside this process (a lock() that never
// returns): the run ends by SIGALRM long before CTest's time-out.
class NoLeftovers : public ::testing::Environment {
  void SetUp() override { ::alarm(60); }
  void TearDown() override {
    ::alarm(0);
    for (const std::string& name : usedNames) {
      for (unsigned slot = 0; slot < 3; ++slot) {
        if (exists(name, slot)) {
          ADD_FAILURE() << "left in /dev/shm: " << pathOf(name, slot);
          ::unlink(pathOf(name, slot).c_str());
        }
      }
    }
  }
};

}  // namespace testsupport
}  // namespace TQBase

#endif  // TQBASE_TESTS_SYNC_SYNCTESTSUPPORT_H_
