#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <string>

#include "TQBase/Locks.h"
#include "gtest/gtest.h"
#include "sync/ProcessTestSupport.h"
#include "sync/platform/NamedMutex.h"

namespace {

using TQBase::TQProcessLock;
using TQBase::platform::NamedMutex;
using tqtest::uniqueName;

std::string pathOf(const std::string& objectName) {
  return "/dev/shm" + objectName;
}

bool exists(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0;
}

TEST(NamedMutexNaming, ObjectNamesAreDistinctAndValid) {
  const std::string names[] = {"",
                               "a",
                               "A",
                               "a/b",
                               "a\\b",
                               "a%2Fb",
                               "a%2fb",
                               "a b",
                               ".",
                               "..",
                               "\xFF",
                               std::string(66, 'x'),
                               std::string(67, '/'),
                               std::string(5000, 'x'),
                               std::string(5000, 'x') + "y"};
  std::set<std::string> seen;
  for (const std::string& name : names) {
    const std::string object = NamedMutex::systemObjectName(name, 0);
    SCOPED_TRACE(object);
    EXPECT_TRUE(seen.insert(object).second);
    EXPECT_EQ(object[0], '/');
    EXPECT_EQ(object.find('/', 1), std::string::npos);
    EXPECT_LT(object.size(), 255u);
  }
  const std::string longName(300, 'q');
  EXPECT_NE(NamedMutex::systemObjectName(longName, 0),
            NamedMutex::systemObjectName(longName, 1));
}

TEST(NamedMutexNaming, FailedInitLeavesTheObjectUninitialised) {
  const std::string name = uniqueName("blocked/by\\dir");
  const std::string path = pathOf(NamedMutex::systemObjectName(name, 0));
  ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
  TQProcessLock lock;
  EXPECT_EQ(lock.init(name.c_str()),
            EINVAL);  // shm_open reports a directory so
  lock.lock();        // uninitialised: returns at once
  lock.unlock();
  ASSERT_EQ(::rmdir(path.c_str()), 0);
  EXPECT_EQ(lock.init(name.c_str()), 0);  // goes to the system again
  EXPECT_TRUE(exists(path));
  lock.uninit();
  EXPECT_FALSE(exists(path));
}

TEST(NamedMutexNaming, LongNameObjectIsRemovedByTheLastUser) {
  const std::string name = std::string(400, '\\') + uniqueName("hashed");
  const std::string path = pathOf(NamedMutex::systemObjectName(name, 0));
  {
    TQProcessLock first;
    TQProcessLock second;
    ASSERT_EQ(first.init(name.c_str()), 0);
    ASSERT_EQ(second.init(name.c_str()), 0);
    EXPECT_TRUE(exists(path));
    first.uninit();
    EXPECT_TRUE(exists(path));
  }
  EXPECT_FALSE(exists(path));
}

// Closing the last handle while still owning must not unmap the mutex under
// the owner's robust list; reopening the name reaches the same mutex.
TEST(NamedMutexNaming, HandleClosedWhileOwnedStaysUsable) {
  const std::string name = uniqueName("closed-owned");
  TQProcessLock lock;
  ASSERT_EQ(lock.init(name.c_str()), 0);
  lock.lock();
  lock.uninit();
  TQProcessLock again;
  ASSERT_EQ(again.init(name.c_str()), 0);
  again.unlock();
  again.uninit();
  EXPECT_EQ(tqtest::countSharedObjects(name), 0);
}

// Two openers that both find the object unbuilt: the one that did not build
// it used to wait for the builder's shared flock, that is until it closed.
TEST(NamedMutexNaming, OpenersRacingToBuildBothGetThrough) {
  const std::string name = uniqueName("racing");
  const int fd = ::shm_open(NamedMutex::systemObjectName(name, 0).c_str(),
                            O_RDWR | O_CREAT, 0600);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(::flock(fd, LOCK_SH), 0);  // a third opener holds both off
  tqtest::ChildProcess child([&](tqtest::ChildProcess& self) {
    ::close(fd);
    TQProcessLock lock;
    if (lock.init(name.c_str()) != 0) return 1;
    self.send('I');
    return self.receive() == 'Q' ? 0 : 2;
  });
  ASSERT_TRUE(child.started());
  std::thread release([fd] {
    std::this_thread::sleep_for(tqtest::kSettle);
    ::close(fd);
  });
  TQProcessLock lock;
  EXPECT_EQ(lock.init(name.c_str()), 0);
  release.join();
  EXPECT_TRUE(child.expect('I'));
  EXPECT_TRUE(child.tell('Q'));
  EXPECT_EQ(child.wait(), 0);
  lock.uninit();
  EXPECT_EQ(tqtest::countSharedObjects(name), 0);
}

}  // namespace
