#ifndef TQBASE_SYNC_PLATFORM_NAMEDMUTEX_H_
#define TQBASE_SYNC_PLATFORM_NAMEDMUTEX_H_

#include <cstdint>
#include <string>

namespace TQBase {
namespace platform {

/// A mutex that threads of several processes reach by name: owned by a
/// thread, recursive, and passed on to the next locker when its owner dies.
/// Handles are reference-counted; within a process all handles of one name
/// share one object, so `lock` through any of them reaches the same mutex.
/// The state lives in the platform's source file, behind this interface.
class NamedMutex {
 public:
  /// Opens the mutex of `name` (any bytes), creating it if need be, or makes
  /// a mutex no other process can find when `name` is null. On success
  /// `*out` holds one reference and the result is 0; otherwise an errno
  /// value and `*out` is untouched.
  static int open(const char* name, NamedMutex** out);

  /// One more reference to this handle.
  void retain();
  /// Drops a reference; the last one closes the handle (unless a thread of
  /// this process still owns the mutex, see the .cpp).
  void release();

  /// Blocks until the calling thread owns the mutex; a mutex whose owner
  /// died is taken over. Failures are swallowed.
  void lock();
  /// Gives up one level of ownership; ignored for a thread that is no owner.
  void unlock();

  /// Name of the system object for `name`. Short names are escaped
  /// one-to-one; long ones are hashed, and `slot` numbers the candidates
  /// tried after a hash collision.
  static std::string systemObjectName(const std::string& name, unsigned slot);

 protected:
  NamedMutex() = default;
  ~NamedMutex() = default;
};

/// Seams for the internal tests only.
namespace namedmutextest {
/// Points in opening a named mutex where `hook`, when set, is called.
enum class Stage { kOpened, kBuilding };
extern void (*hook)(Stage stage, const std::string& objectName);
/// When not 0, every long name hashes to this value, so their slots
/// collide; a value of the test process's own (its pid) keeps other
/// processes running the same test off its objects.
extern std::uint64_t collidingHash;
/// Where the mutex lies in a named object, for tests that stage states of
/// its futex word.
extern const unsigned long mutexOffset;
}  // namespace namedmutextest

}  // namespace platform
}  // namespace TQBase

#endif  // TQBASE_SYNC_PLATFORM_NAMEDMUTEX_H_
