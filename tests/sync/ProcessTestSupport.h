#ifndef TQBASE_TESTS_SYNC_PROCESSTESTSUPPORT_H_
#define TQBASE_TESTS_SYNC_PROCESSTESTSUPPORT_H_

#include <dirent.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "gtest/gtest.h"

namespace tqtest {

using namespace std::chrono_literals;
constexpr auto kSettle = 200ms;  // negative checks only: longer checks more
constexpr auto kPatience = 10s;

// Runs `body` on a thread of its own; joined on destruction, so whatever it
// blocks on must be freed before.
class Attempt {
 public:
  template <class Body>
  explicit Attempt(Body body)
      : thread_([this, body] {
          body();
          done_ = true;
        }) {}
  ~Attempt() { thread_.join(); }
  bool doneWithin(std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done_ && std::chrono::steady_clock::now() < end)
      std::this_thread::sleep_for(1ms);
    return done_;
  }

 private:
  std::atomic<bool> done_{false};
  std::thread thread_;
};

// A forked child running `body(child)` and leaving with its result through
// _exit; it talks through two pipes only (no gtest, no threads). SIGPIPE is
// ignored, so a side that has gone shows as a failed send, and the parent's
// checks report the child's exit code instead of dying.
class ChildProcess {
 public:
  template <class Body>
  explicit ChildProcess(Body body) {
    ::signal(SIGPIPE, SIG_IGN);
    if (::pipe(toChild_) != 0 || ::pipe(toParent_) != 0) return;
    pid_ = ::fork();
    // Each side keeps only its own ends: the other's exit then reads as EOF.
    int& unused1 = pid_ == 0 ? toChild_[1] : toChild_[0];
    int& unused2 = pid_ == 0 ? toParent_[0] : toParent_[1];
    ::close(unused1);
    ::close(unused2);
    unused1 = unused2 = -1;
    if (pid_ == 0) ::_exit(body(*this));
  }
  ~ChildProcess() {
    if (pid_ > 0 && exit_ < 0) {
      killNow();
      wait();
    }
    for (int fd : {toChild_[0], toChild_[1], toParent_[0], toParent_[1]})
      ::close(fd);
  }
  bool started() const { return pid_ > 0; }

  bool send(char c) {
    ssize_t written;
    while ((written = ::write(pid_ == 0 ? toParent_[1] : toChild_[1], &c, 1)) <
               0 &&
           errno == EINTR) {
    }
    return written == 1;
  }
  // The next byte from the other side; 0 after `timeoutMs` or at its exit.
  char receive(int timeoutMs = 10000) {
    pollfd entry{pid_ == 0 ? toChild_[0] : toParent_[0], POLLIN, 0};
    int ready;
    while ((ready = ::poll(&entry, 1, timeoutMs)) < 0 && errno == EINTR) {
    }
    char c = 0;
    return ready == 1 && ::read(entry.fd, &c, 1) == 1 ? c : 0;
  }
  // Parent side: send or receive `c`, or say what became of the child.
  ::testing::AssertionResult tell(char c) {
    if (send(c)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "child gone, exit " << wait();
  }
  ::testing::AssertionResult expect(char c) {
    const char got = receive();
    if (got == c) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "child sent " << int(got) << ", exit " << wait();
  }

  void killNow() { ::kill(pid_, SIGKILL); }
  // Exit code, or 128 + signal; a child still running after 10 s is killed.
  int wait() {
    if (exit_ >= 0) return exit_;
    int status = 0;
    for (int ms = 0;; ++ms) {
      const pid_t reaped = ::waitpid(pid_, &status, WNOHANG);
      if (reaped == pid_) break;
      if (reaped < 0 && errno != EINTR) return exit_ = 255;
      if (ms == 10000) killNow();
      std::this_thread::sleep_for(1ms);
    }
    exit_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return exit_;
  }

 private:
  int toChild_[2] = {-1, -1};
  int toParent_[2] = {-1, -1};
  pid_t pid_ = -1;
  int exit_ = -1;
};

// Entries of /dev/shm whose name contains `token`.
inline int countSharedObjects(const std::string& token) {
  int count = 0;
  if (DIR* dir = ::opendir("/dev/shm")) {
    while (dirent* entry = ::readdir(dir))
      count += std::strstr(entry->d_name, token.c_str()) != nullptr;
    ::closedir(dir);
  }
  return count;
}

// A name no other test and no other run uses.
inline std::string uniqueName(const char* label) {
  return "tqtest-" + std::to_string(::getpid()) + "-" + label;
}

}  // namespace tqtest

#endif  // TQBASE_TESTS_SYNC_PROCESSTESTSUPPORT_H_
