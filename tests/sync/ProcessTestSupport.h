#ifndef TQBASE_TESTS_SYNC_PROCESSTESTSUPPORT_H_
#define TQBASE_TESTS_SYNC_PROCESSTESTSUPPORT_H_

#include <dirent.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace tqtest {

// A forked child running `body(child)` and leaving with its result through
// _exit. The child only talks through two pipes: no gtest, no threads.
class ChildProcess {
 public:
  template <class Body>
  explicit ChildProcess(Body body) {
    if (::pipe(toChild_) != 0 || ::pipe(toParent_) != 0) return;
    pid_ = ::fork();
    if (pid_ == 0) {
      ::close(toChild_[1]);
      ::close(toParent_[0]);
      inChild_ = true;
      ::_exit(body(*this));
    }
    ::close(toChild_[0]);
    ::close(toParent_[1]);
  }
  ~ChildProcess() {
    if (pid_ > 0 && !reaped_) {
      ::kill(pid_, SIGKILL);
      wait();
    }
    ::close(inChild_ ? toChild_[0] : toChild_[1]);
    ::close(inChild_ ? toParent_[1] : toParent_[0]);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool started() const { return pid_ > 0; }

  void send(char c) {
    const int fd = inChild_ ? toParent_[1] : toChild_[1];
    while (::write(fd, &c, 1) < 0 && errno == EINTR) {
    }
  }
  // The next byte from the other side, or 0 after `timeoutMs` or at EOF.
  char receive(int timeoutMs = 10000) {
    const int fd = inChild_ ? toChild_[0] : toParent_[0];
    pollfd entry{fd, POLLIN, 0};
    if (::poll(&entry, 1, timeoutMs) <= 0) return 0;
    char c = 0;
    return ::read(fd, &c, 1) == 1 ? c : 0;
  }

  void killNow() { ::kill(pid_, SIGKILL); }
  // Exit code, or 128 + signal for a killed child.
  int wait() {
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    reaped_ = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  int toChild_[2] = {-1, -1};
  int toParent_[2] = {-1, -1};
  pid_t pid_ = -1;
  bool inChild_ = false;
  bool reaped_ = false;
};

// Entries of /dev/shm whose name contains `token`.
inline int countSharedObjects(const std::string& token) {
  int count = 0;
  if (DIR* dir = ::opendir("/dev/shm")) {
    while (dirent* entry = ::readdir(dir)) {
      if (std::strstr(entry->d_name, token.c_str()) != nullptr) ++count;
    }
    ::closedir(dir);
  }
  return count;
}

// A name no other test and no other run uses.
inline std::string uniqueName(const char* label) {
  return std::string("tqtest-") + std::to_string(::getpid()) + "-" + label;
}

}  // namespace tqtest

#endif  // TQBASE_TESTS_SYNC_PROCESSTESTSUPPORT_H_
