#include "sync/platform/NamedMutex.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <vector>

// The mutex is a process-shared, robust, recursive pthread mutex in a POSIX
// shared memory object. Lifetime of the object: every process that has it
// open holds a shared flock on its descriptor. Whoever builds the mutex, or
// closes and may remove the object, holds the exclusive flock. So the last
// process to close it (a killed process has closed it too) sees the
// exclusive lock granted and unlinks the name, and an opener that reached an
// object unlinked meanwhile sees a link count of 0 and starts again.

namespace TQBase {
namespace platform {

namespace {

// Stored last, once the mutex in the block is usable.
constexpr std::uint32_t kReadyMagic = 0x544B4C31u;

struct SharedBlock {
  std::atomic<std::uint32_t> ready;
  // Set on a hashed object when another name hashed to it: later names of
  // that hash probe past it, so it must never disappear while they live.
  std::atomic<std::uint32_t> pinned;
  std::uint64_t nameLength;  // the name's bytes follow the block
  pthread_mutex_t mutex;
};

constexpr char kDirectPrefix[] = "/tqbase.lock=";
constexpr char kHashedPrefix[] = "/tqbase.lock#";
// glibc refuses object names of NAME_MAX (255) bytes and more.
constexpr std::size_t kMaxDirectName = 200;
constexpr unsigned kMaxProbeSlots = 4096;
constexpr int kStartAgain = -1;

struct Registry {
  std::mutex mutex;
  std::map<std::string, NamedMutex*> byName;
  // Unnamed mutexes closed while still owned; their owners' robust lists
  // point into them, so they are never unmapped.
  std::vector<NamedMutex*> keptUnnamed;
};

// Never destroyed: handles may be released during static destruction.
Registry& registry() {
  static Registry* const instance = new Registry;
  return *instance;
}

SharedBlock* blockOf(void* mapping) {
  return static_cast<SharedBlock*>(mapping);
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

int lockFile(int fd, int operation) {
  while (::flock(fd, operation) != 0) {
    if (errno != EINTR) return errno;
  }
  return 0;
}

int initMutex(pthread_mutex_t* mutex) {
  pthread_mutexattr_t attributes;
  int result = pthread_mutexattr_init(&attributes);
  if (result != 0) return result;
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
  void* address = nullptr;
  std::size_t size = 0;
};

void unmap(Mapping& mapping) {
  if (mapping.address != nullptr) ::munmap(mapping.address, mapping.size);
  mapping = Mapping();
}

// Maps the object if it is built. 0 with an empty mapping when it is not
// (new, or its builder died), kStartAgain when it was unlinked meanwhile.
int mapIfReady(int fd, Mapping& mapping) {
  struct stat status;
  if (::fstat(fd, &status) != 0) return errno;
  if (status.st_nlink == 0) return kStartAgain;
  if (status.st_size < static_cast<off_t>(sizeof(SharedBlock))) return 0;
  const std::size_t size = static_cast<std::size_t>(status.st_size);
  void* address =
      ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (address == MAP_FAILED) return errno;
  mapping.address = address;
  mapping.size = size;
  if (blockOf(address)->ready.load(std::memory_order_acquire) != kReadyMagic) {
    unmap(mapping);
  }
  return 0;
}

// Under the exclusive flock: nobody else has the object mapped.
int buildObject(int fd, const std::string& name) {
  const std::size_t size = sizeof(SharedBlock) + name.size();
  if (::ftruncate(fd, static_cast<off_t>(size)) != 0) return errno;
  void* address =
      ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (address == MAP_FAILED) return errno;
  SharedBlock* block = new (address) SharedBlock;
  block->ready.store(0, std::memory_order_relaxed);
  block->pinned.store(0, std::memory_order_relaxed);
  block->nameLength = name.size();
  std::memcpy(static_cast<char*>(address) + sizeof(SharedBlock), name.data(),
              name.size());
  int result = initMutex(&block->mutex);
  if (result == 0) block->ready.store(kReadyMagic, std::memory_order_release);
  ::munmap(address, size);
  return result;
}

bool holdsName(const Mapping& mapping, const std::string& name) {
  const SharedBlock* block = blockOf(mapping.address);
  return block->nameLength == name.size() &&
         mapping.size - sizeof(SharedBlock) >= name.size() &&
         std::memcmp(
             static_cast<const char*>(mapping.address) + sizeof(SharedBlock),
             name.data(), name.size()) == 0;
}

// With `fd` open: takes the shared flock, builds the mutex if nobody has,
// and maps it. `foreign` tells that the object holds another name; then it
// is pinned when `pinIfForeign` (a hash slot) and left unmapped.
// The exclusive flock is tried, never waited for: converting drops our
// shared flock first, so two openers that both found the object unbuilt
// would have the loser wait for the winner's shared flock, which the winner
// keeps for as long as it uses the mutex.
int attachOpened(int fd, const std::string& name, bool pinIfForeign,
                 Mapping& mapping, bool& foreign) {
  for (;;) {
    int result = lockFile(fd, LOCK_SH);
    if (result == 0) result = mapIfReady(fd, mapping);
    if (result != 0) return result;
    if (mapping.address != nullptr) {
      if (!holdsName(mapping, name)) {
        if (pinIfForeign)
          blockOf(mapping.address)->pinned.store(1, std::memory_order_relaxed);
        unmap(mapping);
        foreign = true;
      }
      return 0;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
      // Alone with it; someone may have built it between the two looks.
      result = mapIfReady(fd, mapping);
      if (result == 0 && mapping.address != nullptr)
        unmap(mapping);
      else if (result == 0)
        result = buildObject(fd, name);
      if (result != 0) return result;
    } else if (errno == EWOULDBLOCK) {
      ::usleep(1000);  // another opener is building it or about to
    } else if (errno != EINTR) {
      return errno;
    }
  }
}

int attachShared(const std::string& objectName, const std::string& name,
                 bool pinIfForeign, Mapping& mapping, int& fd, bool& foreign) {
  for (;;) {
    fd = ::shm_open(objectName.c_str(), O_RDWR | O_CREAT, 0600);
    if (fd < 0) return errno;
    int result = attachOpened(fd, name, pinIfForeign, mapping, foreign);
    if (result == 0 && !foreign) return 0;
    ::close(fd);
    fd = -1;
    if (result != kStartAgain) return result;
  }
}

}  // namespace

std::string NamedMutex::systemObjectName(const std::string& name,
                                         unsigned slot) {
  if (isDirectName(name)) return kDirectPrefix + escapeName(name);
  return kHashedPrefix + hashHex(name) + "." + std::to_string(slot);
}

int NamedMutex::open(const char* name, NamedMutex** out) {
  try {
    Registry& shared = registry();
    std::lock_guard<std::mutex> guard(shared.mutex);
    if (name == nullptr) {
      // Shared anonymous memory: children forked later reach it too.
      void* address =
          ::mmap(nullptr, sizeof(SharedBlock), PROT_READ | PROT_WRITE,
                 MAP_SHARED | MAP_ANONYMOUS, -1, 0);
      if (address == MAP_FAILED) return errno;
      SharedBlock* block = new (address) SharedBlock;
      int result = initMutex(&block->mutex);
      if (result != 0) {
        ::munmap(address, sizeof(SharedBlock));
        return result;
      }
      NamedMutex* handle = new (std::nothrow) NamedMutex;
      if (handle == nullptr) {
        pthread_mutex_destroy(&block->mutex);
        ::munmap(address, sizeof(SharedBlock));
        return ENOMEM;
      }
      handle->mapping = address;
      handle->mappingSize = sizeof(SharedBlock);
      handle->openerProcess = static_cast<long>(::getpid());
      *out = handle;
      return 0;
    }

    std::string key(name);
    auto found = shared.byName.find(key);
    if (found != shared.byName.end()) {
      ++found->second->references;
      *out = found->second;
      return 0;
    }

    const bool direct = isDirectName(key);
    Mapping mapping;
    int fd = -1;
    std::string objectName;
    int result = EEXIST;  // every slot taken by other names
    for (unsigned slot = 0; slot < kMaxProbeSlots; ++slot) {
      objectName = systemObjectName(key, slot);
      bool foreign = false;
      result = attachShared(objectName, key, !direct, mapping, fd, foreign);
      if (result != 0) return result;
      if (!foreign) break;
      // A direct name holding another name is no object of ours.
      result = EEXIST;
      if (direct) return result;
    }
    if (result != 0) return result;

    NamedMutex* handle = new (std::nothrow) NamedMutex;
    if (handle == nullptr) {
      unmap(mapping);
      ::close(fd);
      return ENOMEM;
    }
    handle->mapping = mapping.address;
    handle->mappingSize = mapping.size;
    handle->fileDescriptor = fd;
    handle->openerProcess = static_cast<long>(::getpid());
    handle->named = true;
    handle->key = std::move(key);
    handle->objectName = std::move(objectName);
    shared.byName.emplace(handle->key, handle);
    *out = handle;
    return 0;
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
}

void NamedMutex::retain() {
  std::lock_guard<std::mutex> guard(registry().mutex);
  ++references;
}

// A mutex owned by a thread of this process sits in that thread's robust
// list, which glibc and the kernel walk through the mutexes themselves:
// unmapping it would leave them writing into freed memory. So a handle whose
// mutex is still owned here stays open, and a later open of the same name
// picks it up again.
void NamedMutex::release() {
  Registry& shared = registry();
  std::lock_guard<std::mutex> guard(shared.mutex);
  if (--references > 0) return;
  if (heldLevels.load(std::memory_order_acquire) > 0) {
    if (!named) shared.keptUnnamed.push_back(this);
    return;
  }
  if (named) shared.byName.erase(key);
  close();
  delete this;
}

void NamedMutex::close() {
  SharedBlock* block = blockOf(mapping);
  // A forked child shares the memory, the descriptor and so the flock with
  // its parent: it only drops its own mapping and descriptor.
  const bool opener = openerProcess == static_cast<long>(::getpid());
  if (opener && !named) pthread_mutex_destroy(&block->mutex);
  if (opener && named && ::flock(fileDescriptor, LOCK_EX | LOCK_NB) == 0 &&
      block->pinned.load(std::memory_order_relaxed) == 0) {
    ::shm_unlink(objectName.c_str());
  }
  ::munmap(mapping, mappingSize);
  if (fileDescriptor >= 0) ::close(fileDescriptor);
}

void NamedMutex::lock() {
  pthread_mutex_t* mutex = &blockOf(mapping)->mutex;
  const int result = pthread_mutex_lock(mutex);
  if (result == EOWNERDEAD) {
    // The dead owner's levels, if it was one of ours, died with it.
    pthread_mutex_consistent(mutex);
    heldLevels.store(1, std::memory_order_release);
  } else if (result == 0) {
    heldLevels.fetch_add(1, std::memory_order_relaxed);
  }
}

void NamedMutex::unlock() {
  // Counted down while still owned, so a concurrent EOWNERDEAD reset cannot
  // be undone by a late decrement.
  heldLevels.fetch_sub(1, std::memory_order_relaxed);
  if (pthread_mutex_unlock(&blockOf(mapping)->mutex) != 0) {
    heldLevels.fetch_add(1, std::memory_order_relaxed);
  }
}

}  // namespace platform
}  // namespace TQBase
