#ifndef TQBASE_BYTEARRAY_BYTEARRAYDATA_H_
#define TQBASE_BYTEARRAY_BYTEARRAYDATA_H_

// Private storage of TQByteArray: the record and its reference holder.

#include <atomic>
#include <memory>

#include "frame/ByteTables.h"
#include "frame/LoadState.h"  // sharedNull, emptyBuffer

#if defined(__SANITIZE_THREAD__)
#define TQBASE_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TQBASE_TSAN 1
#endif
#endif
#if defined(TQBASE_TSAN)
#include <sanitizer/tsan_interface.h>
#endif

namespace TQBase {

// The record. 4-byte packing puts `data` right behind `ownsBuffer`, keeping
// the record at 20 bytes inside its control block.
#pragma pack(push, 4)
struct TQByteArrayPrivateDat {
  int capacity;  // bytes besides the terminator
  int size;
  int ownsBuffer;  // 1: `data` came from new[] and is freed with the record
  char* data;      // never null

  ~TQByteArrayPrivateDat() {
    if (ownsBuffer != 0) delete[] data;
  }
};
#pragma pack(pop)

// The reference holder: one per handle (sharedNull excepted), made with plain
// new. Copying a handle makes a new holder whose pointer shares the record.
class TQByteArrayRef {
 public:
  // Over a new empty record on emptyBuffer: how sharedNull is made.
  TQByteArrayRef();
  // Over a new owning record of `size` bytes of `fill`; `size` >= 1.
  TQByteArrayRef(int size, char fill);
  // `deep`: a new owning record with the capacity for `capacity` holding
  // `copyLength` bytes of `src`. Otherwise a raw record over `src` whose
  // size and capacity are `copyLength`.
  TQByteArrayRef(const char* src, int copyLength, int capacity, bool deep);

  std::shared_ptr<TQByteArrayPrivateDat> record;
};

namespace detail {

// Allocation size for a wanted capacity of at least 1, terminator included:
// the next power of two strictly above w + 1 up to 4096, then w + 1 rounded
// up to a multiple of 4096. Throws std::bad_alloc above kMaxWantedCapacity.
int allocationFor(int wantedCapacity);

// Length of the C string at `str` as an int; std::bad_alloc when it exceeds
// kMaxWantedCapacity, so no caller ever sizes a buffer from a wrapped value.
int checkedLength(const char* str);

// Whether `holder` may write into its record in place: an owning record
// that no other holder shares. The per-call path of the writers, kept to
// one pointer chain and a plain load of the use count.
inline bool isDetachedHolder(const TQByteArrayRef* holder) {
  if (holder->record->ownsBuffer == 0 || holder->record.use_count() != 1)
    return false;
    // The count was read relaxed. Another holder's last reads of this buffer
    // came before its release decrement of the count; this acquire makes them
    // happen before our writes. (Free on x86; ThreadSanitizer does not model
    // fences, so it is told the same edge through an annotation.)
#if defined(TQBASE_TSAN)
  __tsan_acquire(holder->record.get());
#else
  std::atomic_thread_fence(std::memory_order_acquire);
#endif
  return true;
}

// The release half of the edge above, for ThreadSanitizer only: the count's
// own decrement is the release in a real build.
inline void announceHolderRelease(const TQByteArrayRef* holder) {
#if defined(TQBASE_TSAN)
  __tsan_release(holder->record.get());
#else
  static_cast<void>(holder);
#endif
}

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_BYTEARRAY_BYTEARRAYDATA_H_
