#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <vector>

#include "sync/platform/NamedMutex.h"

// The mutex is a process-shared, robust, recursive pthread mutex in a POSIX
// shared memory object, which also holds the name it belongs to.
//
// Lifetime: every open file description (OFD) that uses the object holds a
// read lock on its first byte; OFD locks belong to the description, so a
// child forked later keeps the parent's lock alive for as long as it keeps
// the inherited descriptor, whatever the parent does, and the kernel drops
// the lock when the last descriptor closes, killed process or not. (The
// mapping is made through another description: a mapping keeps its
// description, and so any lock on it, alive until it is unmapped.) Whoever
// opens, builds or removes the object holds the write lock on the second
// byte (the guard). Nothing is ever converted: to leave, a process closes
// its descriptor, then opens the name afresh, takes the guard and asks the
// kernel whether any read lock is left; if none, it unlinks the name.
// An object that has no read lock when an opener holds the guard is a
// leftover (its users were killed, or its builder died): the opener builds
// it anew. At exit the process leaves every name it still has open.
//
// A mutex owned by a thread of this process sits in that thread's robust
// list, which glibc and the kernel walk through the mutexes themselves, so
// its memory stays mapped while any thread here owns it. Each thread counts
// its levels; a thread that ends while owning gives them all back.

#if defined(__SANITIZE_THREAD__)
#define TQBASE_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TQBASE_THREAD_SANITIZER 1
#endif
#endif
#ifdef TQBASE_THREAD_SANITIZER
extern "C" void __tsan_mutex_pre_lock(void* addr, unsigned flags);
extern "C" void __tsan_mutex_post_lock(void* addr, unsigned flags,
                                       int recursion);
#endif

namespace TQBase {
namespace platform {

namespace namedmutextest {
void (*hook)(Stage stage, const std::string& objectName) = nullptr;
std::uint64_t collidingHash = 0;
}  // namespace namedmutextest

namespace {

constexpr off_t kUsersByte = 0;
constexpr off_t kGuardByte = 1;

struct SharedBlock {
  // Set on a hashed object when another name hashed to it: later names of
  // that hash probe past it, so it keeps its name and is never unlinked.
  std::uint32_t pinned;
  std::uint64_t nameLength;  // the name's bytes follow the block
  pthread_mutex_t mutex;
};

constexpr char kDirectPrefix[] = "/tqbase.lock=";
constexpr char kHashedPrefix[] = "/tqbase.lock#";
// glibc refuses object names of NAME_MAX (255) bytes and more.
constexpr std::size_t kMaxDirectName = 200;
constexpr unsigned kMaxProbeSlots = 4096;
constexpr int kStartAgain = -1;

struct Handle final : NamedMutex {
  int references = 1;  // guarded by the registry
  // Levels owned by threads of this process; while above 0 the handle stays.
  std::atomic<int> heldLevels{0};
  SharedBlock* block = nullptr;
  std::size_t mappingSize = 0;
  int fd = -1;  // the OFD that holds our read lock; -1 once left or unnamed
  bool named = false;
  std::string key;         // the caller's name
  std::string objectName;  // the system object's name
};

Handle* handleOf(NamedMutex* mutex) { return static_cast<Handle*>(mutex); }

struct Registry {
  std::mutex mutex;
  std::map<std::string, Handle*> byName;  // named handles not yet left
  std::set<Handle*> all;                  // every handle not yet closed
};

void leaveAllAtExit();
void lockRegistryBeforeFork();
void unlockRegistryInParent();
void resetRegistryInChild();

// Never destroyed: handles may be released during static destruction.
Registry& registry() {
  static Registry* const instance = [] {
    Registry* created = new Registry;
    ::pthread_atfork(lockRegistryBeforeFork, unlockRegistryInParent,
                     resetRegistryInChild);
    std::atexit(leaveAllAtExit);
    return created;
  }();
  return *instance;
}

bool isPlainNameByte(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.';
}

// One-to-one: every byte outside the plain set, '%' included, becomes %XX.
std::string escapeName(const std::string& name) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string escaped;
  escaped.reserve(name.size());
  for (unsigned char c : name) {
    if (isPlainNameByte(c)) {
      escaped += static_cast<char>(c);
    } else {
      escaped += '%';
      escaped += kHex[c >> 4];
      escaped += kHex[c & 15];
    }
  }
  return escaped;
}

std::uint64_t mix64(std::uint64_t h) {
  h ^= h >> 33;
  h *= 0xFF51AFD7ED558CCDull;
  h ^= h >> 33;
  h *= 0xC4CEB9FE1A85EC53ull;
  h ^= h >> 33;
  return h;
}

std::uint64_t rotateLeft(std::uint64_t v, int bits) {
  return (v << bits) | (v >> (64 - bits));
}

// 128 bits in two lanes. Not cryptographic: every hashed object stores its
// full name and is verified, so a collision costs a probe, never a mix-up.
std::string hashHex(const std::string& name) {
  std::uint64_t h1 = 0x9E3779B97F4A7C15ull ^ name.size();
  std::uint64_t h2 = 0xC2B2AE3D27D4EB4Full + name.size();
  for (std::size_t i = 0; i < name.size(); i += 8) {
    unsigned char chunk[8] = {};
    std::memcpy(chunk, name.data() + i,
                name.size() - i < 8 ? name.size() - i : 8);
    std::uint64_t k = 0;
    for (int b = 7; b >= 0; --b) k = (k << 8) | chunk[b];
    h1 = rotateLeft(h1 ^ mix64(k * 0x87C37B91114253D5ull), 27) * 5 + 0x52DCE729;
    h2 = rotateLeft(h2 + mix64(k ^ 0x4CF5AD432745937Full), 31) * 9 + 0x38495AB5;
  }
  h1 = mix64(h1 + h2);
  h2 = mix64(h2 + h1);
  if (namedmutextest::collidingHash != 0)
    h1 = h2 = namedmutextest::collidingHash;
  static const char kHex[] = "0123456789abcdef";
  std::string hex;
  for (std::uint64_t lane : {h1, h2}) {
    for (int shift = 60; shift >= 0; shift -= 4)
      hex += kHex[(lane >> shift) & 15];
  }
  return hex;
}

bool isDirectName(const std::string& name) {
  return sizeof(kDirectPrefix) - 1 + escapeName(name).size() <= kMaxDirectName;
}

void callHook(namedmutextest::Stage stage, const std::string& objectName) {
  if (namedmutextest::hook != nullptr) namedmutextest::hook(stage, objectName);
}

// An OFD lock on one byte: F_RDLCK, F_WRLCK or F_UNLCK.
int lockByte(int fd, short type, off_t byte, bool wait) {
  struct flock range = {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = byte;
  range.l_len = 1;
  while (::fcntl(fd, wait ? F_OFD_SETLKW : F_OFD_SETLK, &range) != 0) {
    if (errno != EINTR) return errno;  // GCOVR_EXCL_LINE no way to fail it
  }
  return 0;
}

// Whether any other OFD holds a read lock on the users byte.
bool hasUsers(int fd) {
  struct flock probe = {};
  probe.l_type = F_WRLCK;
  probe.l_whence = SEEK_SET;
  probe.l_start = kUsersByte;
  probe.l_len = 1;
  // Fails only for a bad descriptor or argument; then the object is kept.
  return ::fcntl(fd, F_OFD_GETLK, &probe) != 0 || probe.l_type != F_UNLCK;
}

int initMutex(pthread_mutex_t* mutex) {
  pthread_mutexattr_t attributes;
  int result = pthread_mutexattr_init(&attributes);
  if (result != 0) return result;  // GCOVR_EXCL_LINE cannot fail on glibc
  result = pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  if (result == 0)
    result = pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  if (result == 0)
    result = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  if (result == 0) result = pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return result;
}

struct Mapping {
  SharedBlock* block = nullptr;
  std::size_t size = 0;
};

int mapObject(int fd, std::size_t size, Mapping& mapping) {
  void* address =
      ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (address == MAP_FAILED) return errno;  // GCOVR_EXCL_LINE out of memory
  mapping.block = static_cast<SharedBlock*>(address);
  mapping.size = size;
  return 0;
}

void unmap(Mapping& mapping) {
  if (mapping.block != nullptr) ::munmap(mapping.block, mapping.size);
  mapping = Mapping();
}

bool holdsName(const Mapping& mapping, const std::string& name) {
  const SharedBlock* block = mapping.block;
  return block->nameLength == name.size() &&
         mapping.size - sizeof(SharedBlock) >= name.size() &&
         std::memcmp(reinterpret_cast<const char*>(block + 1), name.data(),
                     name.size()) == 0;
}

// Under the guard, with nobody using the object: (re)builds it for `name`.
// A pinned slot keeps its pin.
int buildObject(int fd, const std::string& name, const std::string& objectName,
                bool pinned, Mapping& mapping) {
  const std::size_t size = sizeof(SharedBlock) + name.size();
  if (::ftruncate(fd, static_cast<off_t>(size)) != 0) return errno;
  int result = mapObject(fd, size, mapping);
  if (result != 0) return result;  // GCOVR_EXCL_LINE out of memory
  SharedBlock* block = new (mapping.block) SharedBlock;
  block->nameLength = name.size();
  callHook(namedmutextest::Stage::kBuilding, objectName);
  block->pinned = pinned ? 1 : 0;
  std::memcpy(block + 1, name.data(), name.size());
  return initMutex(&block->mutex);
}

// Under the guard: a second description of the object that holds our read
// lock. The mapping keeps the first one alive until it is unmapped, which at
// exit never happens, so a lock on that one would outlive our leaving.
int openUserDescription(int fd, const std::string& objectName, int& userFd) {
  userFd = ::shm_open(objectName.c_str(), O_RDWR, 0);
  struct stat mapped, opened;
  if (userFd >= 0 && ::fstat(fd, &mapped) == 0 &&
      ::fstat(userFd, &opened) == 0 && mapped.st_ino == opened.st_ino &&
      mapped.st_dev == opened.st_dev) {
    return lockByte(userFd, F_RDLCK, kUsersByte, false);
  }
  // GCOVR_EXCL_START only if someone else removed the name under our guard
  if (userFd >= 0) ::close(userFd);
  userFd = -1;
  return kStartAgain;
}  // GCOVR_EXCL_STOP

// Under the guard of `fd`: joins the object as a user, building it first if
// nobody uses it. `foreign` tells that a hashed slot belongs to another name
// (pinned now if it was in use).
int joinLocked(int fd, const std::string& name, const std::string& objectName,
               bool hashed, Mapping& mapping, int& userFd, bool& foreign) {
  struct stat status;
  if (::fstat(fd, &status) != 0) return errno;   // GCOVR_EXCL_LINE bad fd
  if (status.st_nlink == 0) return kStartAgain;  // unlinked meanwhile
  const bool inUse = hasUsers(fd);
  const std::size_t size = static_cast<std::size_t>(status.st_size);
  bool pinned = false;
  if (size >= sizeof(SharedBlock)) {
    const int result = mapObject(fd, size, mapping);
    if (result != 0) return result;  // GCOVR_EXCL_LINE out of memory
    const bool ours = !hashed || holdsName(mapping, name);
    pinned = mapping.block->pinned != 0;
    if (!ours && (inUse || pinned)) {
      mapping.block->pinned = 1;
      unmap(mapping);
      foreign = true;
      return 0;
    }
    if (inUse) return openUserDescription(fd, objectName, userFd);
    unmap(mapping);
    pinned = pinned && ours;
  }
  // Nobody uses it: new, left by killed users, or its builder died.
  const int result = buildObject(fd, name, objectName, pinned, mapping);
  return result != 0 ? result : openUserDescription(fd, objectName, userFd);
}

// Opens and joins the object; `userFd` is the description to keep.
int joinObject(const std::string& objectName, const std::string& name,
               bool hashed, Mapping& mapping, int& userFd, bool& foreign) {
  for (;;) {
    const int fd = ::shm_open(objectName.c_str(), O_RDWR | O_CREAT, 0600);
    if (fd < 0) return errno;
    callHook(namedmutextest::Stage::kOpened, objectName);
    int result = lockByte(fd, F_WRLCK, kGuardByte, true);
    if (result == 0) {
      result =
          joinLocked(fd, name, objectName, hashed, mapping, userFd, foreign);
      lockByte(fd, F_UNLCK, kGuardByte, false);
    }
    ::close(fd);
    if (result == 0 && !foreign) return 0;
    unmap(mapping);
    if (userFd >= 0) ::close(userFd);
    userFd = -1;
    if (result != kStartAgain) return result;
  }
}

// After this process closed its descriptor of the object: removes the name
// when no user is left. Unpinned objects only; the guard keeps openers out.
void leaveObject(const std::string& objectName) {
  const int fd = ::shm_open(objectName.c_str(), O_RDWR, 0);
  if (fd < 0) return;  // gone already
  if (lockByte(fd, F_WRLCK, kGuardByte, true) == 0) {
    struct stat status;
    SharedBlock block = {};
    const bool readable =
        ::fstat(fd, &status) == 0 && status.st_nlink > 0 &&
        (status.st_size < static_cast<off_t>(sizeof(SharedBlock)) ||
         ::pread(fd, &block, sizeof(block), 0) ==
             static_cast<ssize_t>(sizeof(block)));
    if (readable && block.pinned == 0 && !hasUsers(fd))
      ::shm_unlink(objectName.c_str());
  }
  ::close(fd);
}

// With the registry locked, and no thread here owning the mutex.
void closeHandle(Registry& shared, Handle* handle) {
  shared.all.erase(handle);
  auto found = shared.byName.find(handle->key);
  if (handle->named && found != shared.byName.end() && found->second == handle)
    shared.byName.erase(found);
  ::munmap(handle->block, handle->mappingSize);
  if (handle->fd >= 0) {
    ::close(handle->fd);
    leaveObject(handle->objectName);
  }
  delete handle;
}

void leaveAllAtExit() {
  Registry& shared = registry();
  std::lock_guard<std::mutex> guard(shared.mutex);
  // Threads may still run: mappings stay until the process is gone.
  for (auto& entry : shared.byName) {
    Handle* handle = entry.second;
    ::close(handle->fd);
    handle->fd = -1;
    leaveObject(handle->objectName);
  }
  shared.byName.clear();
}

struct Hold {
  Handle* handle;
  int levels;
};

// The levels the calling thread owns, by handle.
struct ThreadHolds {
  std::vector<Hold> holds;
  Hold* find(Handle* handle) {
    for (Hold& hold : holds)
      if (hold.handle == handle) return &hold;
    return nullptr;
  }
  // A thread that ends while owning gives its levels back, so the mutex
  // passes on and the handle may close.
  ~ThreadHolds() {
    for (const Hold& hold : holds) {
      for (int i = 0; i < hold.levels; ++i)
        pthread_mutex_unlock(&hold.handle->block->mutex);
      hold.handle->heldLevels.fetch_sub(hold.levels);
      Registry& shared = registry();
      std::lock_guard<std::mutex> guard(shared.mutex);
      if (hold.handle->references == 0 && hold.handle->heldLevels == 0)
        closeHandle(shared, hold.handle);
    }
  }
};

thread_local ThreadHolds threadHolds;

void lockRegistryBeforeFork() { registry().mutex.lock(); }
void unlockRegistryInParent() { registry().mutex.unlock(); }

// The child owns none of the mutexes that the parent's threads hold.
// (Tested by ProcessLock.InitAndUninit; gcov resets its counts in a child
// after fork() returns, so they never show.)
// GCOVR_EXCL_START
void resetRegistryInChild() {
  Registry& shared = registry();
  threadHolds.holds.clear();
  std::vector<Handle*> unused;
  for (Handle* handle : shared.all) {
    handle->heldLevels = 0;
    if (handle->references == 0) unused.push_back(handle);
  }
  for (Handle* handle : unused) closeHandle(shared, handle);
  shared.mutex.unlock();
}
// GCOVR_EXCL_STOP

// A waiter woken by an unlock and killed before it took the mutex passes
// the wake-up on only if the mutex is still free when it dies; if another
// process took it meanwhile, the waiters flag is gone with the dead waiter
// and the others sleep through every later unlock. So waiters look again
// now and then, and a lost wake-up costs a moment, not the process.
int lockWithRetries(pthread_mutex_t* mutex) {
  constexpr long kRetryNanoseconds = 50 * 1000 * 1000;
  for (;;) {
    timespec deadline;
    ::clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_nsec += kRetryNanoseconds;
    if (deadline.tv_nsec >= 1000000000L) {
      deadline.tv_nsec -= 1000000000L;
      ++deadline.tv_sec;
    }
    const int result = pthread_mutex_timedlock(mutex, &deadline);
#ifdef TQBASE_THREAD_SANITIZER
    // Its timed-lock hook records only a result of 0.
    if (result == EOWNERDEAD) {
      __tsan_mutex_pre_lock(mutex, 0);
      __tsan_mutex_post_lock(mutex, 0, 0);
    }
#endif
    if (result != ETIMEDOUT) return result;
  }
}

int openUnnamed(Registry& shared, NamedMutex** out) {
  // Shared anonymous memory: children forked later reach it too.
  Mapping mapping;
  void* address = ::mmap(nullptr, sizeof(SharedBlock), PROT_READ | PROT_WRITE,
                         MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (address == MAP_FAILED) return errno;  // GCOVR_EXCL_LINE out of memory
  mapping.block = new (address) SharedBlock;
  mapping.size = sizeof(SharedBlock);
  const int result = initMutex(&mapping.block->mutex);
  Handle* handle = result == 0 ? new (std::nothrow) Handle : nullptr;
  if (handle == nullptr) {
    unmap(mapping);                        // GCOVR_EXCL_LINE out of memory
    return result != 0 ? result : ENOMEM;  // GCOVR_EXCL_LINE
  }
  handle->block = mapping.block;
  handle->mappingSize = mapping.size;
  shared.all.insert(handle);
  *out = handle;
  return 0;
}

}  // namespace

const unsigned long namedmutextest::mutexOffset = offsetof(SharedBlock, mutex);

std::string NamedMutex::systemObjectName(const std::string& name,
                                         unsigned slot) {
  if (isDirectName(name)) return kDirectPrefix + escapeName(name);
  return kHashedPrefix + hashHex(name) + "." + std::to_string(slot);
}

int NamedMutex::open(const char* name, NamedMutex** out) {
  try {
    Registry& shared = registry();
    std::lock_guard<std::mutex> guard(shared.mutex);
    if (name == nullptr) return openUnnamed(shared, out);

    std::string key(name);
    auto found = shared.byName.find(key);
    if (found != shared.byName.end()) {
      ++found->second->references;
      *out = found->second;
      return 0;
    }

    const bool hashed = !isDirectName(key);
    Mapping mapping;
    int fd = -1;
    std::string objectName;
    int result = EEXIST;  // every slot taken by other names
    for (unsigned slot = 0; slot < kMaxProbeSlots; ++slot) {
      objectName = systemObjectName(key, slot);
      bool foreign = false;
      result = joinObject(objectName, key, hashed, mapping, fd, foreign);
      if (result != 0 || !foreign) break;
      result = EEXIST;
    }
    if (result != 0) return result;

    Handle* handle = new (std::nothrow) Handle;
    if (handle == nullptr) {
      unmap(mapping);  // GCOVR_EXCL_START out of memory
      ::close(fd);
      leaveObject(objectName);
      return ENOMEM;  // GCOVR_EXCL_STOP
    }
    handle->block = mapping.block;
    handle->mappingSize = mapping.size;
    handle->fd = fd;
    handle->named = true;
    handle->key = std::move(key);
    handle->objectName = std::move(objectName);
    shared.byName.emplace(handle->key, handle);
    shared.all.insert(handle);
    *out = handle;
    return 0;
  } catch (const std::bad_alloc&) {  // GCOVR_EXCL_START out of memory
    return ENOMEM;
  }  // GCOVR_EXCL_STOP
}

void NamedMutex::retain() {
  std::lock_guard<std::mutex> guard(registry().mutex);
  ++handleOf(this)->references;
}

// A handle whose mutex a thread here still owns stays open (and findable by
// name): that thread's robust list points into it.
void NamedMutex::release() {
  Handle* handle = handleOf(this);
  Registry& shared = registry();
  std::lock_guard<std::mutex> guard(shared.mutex);
  if (--handle->references > 0 || handle->heldLevels > 0) return;
  closeHandle(shared, handle);
}

void NamedMutex::lock() {
  Handle* handle = handleOf(this);
  pthread_mutex_t* mutex = &handle->block->mutex;
  int result = lockWithRetries(mutex);
  if (result == EOWNERDEAD) result = pthread_mutex_consistent(mutex);
  if (result != 0) return;  // not owned: nothing to count
  try {
    Hold* hold = threadHolds.find(handle);
    if (hold == nullptr) {
      threadHolds.holds.push_back(Hold{handle, 0});
      hold = &threadHolds.holds.back();
    }
    ++hold->levels;
    handle->heldLevels.fetch_add(1);
  } catch (const std::bad_alloc&) {  // GCOVR_EXCL_START out of memory
    pthread_mutex_unlock(mutex);
  }  // GCOVR_EXCL_STOP
}

void NamedMutex::unlock() {
  Handle* handle = handleOf(this);
  Hold* hold = threadHolds.find(handle);
  if (hold == nullptr) return;  // no owner
  if (--hold->levels == 0) {
    *hold = threadHolds.holds.back();
    threadHolds.holds.pop_back();
  }
  handle->heldLevels.fetch_sub(1);
  pthread_mutex_unlock(&handle->block->mutex);
}

}  // namespace platform
}  // namespace TQBase
