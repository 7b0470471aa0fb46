#ifndef TQBASE_LOCKS_H_
#define TQBASE_LOCKS_H_

#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "TQBase/TQBaseExport.h"

namespace TQBase {

namespace platform {
class NamedMutex;
}  // namespace platform

/// Read/write lock for the threads of one process: many readers or one
/// writer. Despite the name, a waiting writer holds no reader back: while it
/// waits for the readers to leave, every new `lock_read` is granted at once,
/// so a steady stream of overlapping readers keeps a writer waiting.
///
/// Holds are counted, not owned: a release may come from another thread than
/// the matching lock. A release without a matching hold (`release_read`
/// while nothing is read-held, `release_write` while nothing is write-held)
/// is ignored. Not recursive and no upgrade: a thread that holds a read hold
/// and calls `lock_write`, or holds the write hold and locks again, waits for
/// itself for ever. Failures of the underlying mutex or condition leave as
/// `std::system_error`; a failed lock holds nothing.
class TQBASE_EXPORT TQWfirstRWLock {
 public:
  TQWfirstRWLock();
  /// The caller sees to it that no thread holds or waits for the lock.
  ~TQWfirstRWLock();

  TQWfirstRWLock(const TQWfirstRWLock&) = delete;
  TQWfirstRWLock& operator=(const TQWfirstRWLock&) = delete;

  /// Blocks while a writer holds the lock, then adds one read hold.
  void lock_read();
  /// Blocks while any reader or writer holds the lock, then takes it alone.
  void lock_write();
  /// Gives one read hold back; ignored when no read hold is granted.
  void release_read();
  /// Gives the write hold back and wakes all blocked readers and one blocked
  /// writer, who then race for the lock; ignored when not write-held.
  void release_write();

 private:
  std::int32_t readerCount;
  std::int32_t writerCount;
  std::mutex mutex;
  std::condition_variable writerCondition;
  std::condition_variable readerCondition;
};

/// Counting semaphore for the threads of one process.
///
/// `wait` looks at the count once: with a permit on hand it takes it without
/// blocking, whatever the time-out. Otherwise it blocks until a `signal`
/// releases it, and then takes its permit without looking again, so the count
/// can fall below zero when a newcomer overtook it. A blocked thread passes
/// only when a `signal` released it (spurious wake-ups of the platform are
/// absorbed), and k signals release k blocked threads even when they arrive
/// before the first released thread has run.
class TQBASE_EXPORT TQSemaphore {
 public:
  /// Starts with no permit.
  TQSemaphore();
  /// Starts with `count` permits; a negative start is a debt that `signal`
  /// pays off, but it stops no thread already blocked (see `signal`).
  TQSemaphore(int count);
  /// The caller sees to it that no thread is inside `wait` or `signal`.
  ~TQSemaphore();

  TQSemaphore(const TQSemaphore&) = delete;
  TQSemaphore& operator=(const TQSemaphore&) = delete;

  /// Adds one permit and releases one blocked `wait`, if there is one, at any
  /// count: a blocked thread passes on one `signal` even while the count
  /// stays negative. The count has no upper guard; callers keep it below
  /// 2^31 - 1.
  void signal();

  /// Takes one permit. `timeout` is in milliseconds: below 0 waits without a
  /// limit, 0 never blocks, above 0 is the longest time to block, measured on
  /// the wall clock (a change of the system time moves the end of a wait
  /// under way; deadlines beyond the clock's range wait without a limit).
  /// True when the call passed, with the count one lower; false on time-out,
  /// with the count not changed by this call. A timed wait that is released
  /// while running out may report either.
  bool wait(long long timeout);

 private:
  std::int32_t count;
  // Threads blocked in wait and not yet released by a signal, and releases
  // granted but not yet taken. Only these decide who leaves a wait.
  std::int32_t blockedWaiters;
  std::int32_t pendingReleases;
  std::mutex mutex;
  std::condition_variable condition;
};

/// Locks two of the caller's mutexes for the life of the object, always the
/// one at the lower address first, so that lockers naming the same pair in
/// opposite orders cannot deadlock each other. The same mutex passed twice is
/// locked once. Unlocks in the same order, lower address first. If locking
/// the higher mutex throws, the lower one is unlocked before the exception
/// (`std::system_error`) leaves. A mutex that the calling thread already
/// holds must not be passed in.
class TQBASE_EXPORT TQOrderLocker {
 public:
  TQOrderLocker(std::mutex& m1, std::mutex& m2);
  ~TQOrderLocker();

  TQOrderLocker(const TQOrderLocker&) = delete;
  TQOrderLocker& operator=(const TQOrderLocker&) = delete;

 private:
  std::mutex* lowerMutex;
  std::mutex* higherMutex;  // null when both arguments are one mutex
};

/// Named mutex shared by the threads of all processes that use the same name
/// (same user). Ownership belongs to a thread and nests: the owner may lock
/// again and unlocks as often. A lock whose owning thread or process died
/// passes to the next thread that locks it, which then owns it.
///
/// Any name is accepted: any bytes, any length, with "/" or "\\"; different
/// names never share a mutex, and the empty name is an ordinary name. A null
/// name gives a mutex that no other process can find; only this object, the
/// objects that share its handle and children forked later reach it.
///
/// The handle is shared, reference-counted: copying or assigning makes both
/// objects act on the source's mutex (an uninitialised source makes the
/// target uninitialised). The target first gives up the handle it held, so
/// nothing leaks, and the mutex is closed once, when the last object sharing
/// it uninitialises. In a process, all objects of one name share one mapping
/// of the mutex.
///
/// Lifetime on Linux: the mutex lives in a shared memory object under
/// /dev/shm. Each process using a name holds a lock of the kernel on an open
/// description of that object, which the kernel keeps while any process has
/// the description open and drops when the last one closes or dies; the
/// name is removed by the last user that leaves, which it tells by asking
/// the kernel whether any such lock is left. So:
/// - fork: a child inherits its parent's objects, which act on the same
///   mutex, and its use of them keeps the name alive whatever the parent
///   does afterwards (uninit, exit, being killed). An `init` in the child
///   gives it its own reference (sharing the inherited handle of that name
///   if it still has one).
/// - leaving: after the last user of a name leaves by `uninit`, the
///   destructor, `exit()` or a return from `main` (objects never destroyed
///   included), nothing of that name is left. A thread that ends while
///   owning the mutex gives all its levels back, so the mutex passes on.
/// - killed users: a process killed without running any code (SIGKILL, a
///   fatal signal, `_exit`) cannot clean up. Its share of the lock is gone with
///   it (a lock it owned passes to the next locker), but when it was the last
///   user the object stays under /dev/shm until the next `init` of that name,
///   which sees that nobody uses it, builds it anew and works normally; once
///   its users leave, nothing is left.
///
/// Only `init` reports: 0, 85 when already initialised (nothing else
/// happens, even for another name), otherwise an `errno` value with the
/// object left uninitialised. On an uninitialised object `lock` and `unlock`
/// return at once without exclusion. `unlock` by a thread that is no owner
/// is ignored. Closing the last handle while a thread of this process still
/// owns the mutex leaves it owned: its memory stays until that owner unlocks
/// through another object of the same name or ends. `init`, `uninit`,
/// assignment and destruction must not run beside other calls on the same
/// object; `lock` and `unlock` may run on several threads at once.
class TQBASE_EXPORT TQProcessLock {
 public:
  TQProcessLock();
  TQProcessLock(const TQProcessLock& other);
  ~TQProcessLock();

  /// Opens the mutex of that name, creating it if need be. 0, 85 or errno.
  int init(const char* name);
  /// Blocks until the calling thread owns the mutex (one level deeper if it
  /// owns it already).
  void lock();
  /// Gives up one level of the calling thread's ownership.
  void unlock();
  /// Drops this object's share of the handle; a second call does nothing.
  /// Does not unlock: an owner unlocks first.
  void uninit();

  TQProcessLock& operator=(const TQProcessLock& other);

 private:
  platform::NamedMutex* handle;
};

}  // namespace TQBase

#endif  // TQBASE_LOCKS_H_
