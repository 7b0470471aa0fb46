#ifndef TQBASE_BYTEARRAY_BYTEARRAYDATA_H_
#define TQBASE_BYTEARRAY_BYTEARRAYDATA_H_

// Private storage of TQByteArray: the record and its reference holder.

#include <memory>

#include "frame/LoadState.h"  // sharedNull, emptyBuffer

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

// Largest capacity an array may ask for: its buffer, 0x7FFFF000 bytes, is
// the largest that an int-sized allocation ladder reaches.
constexpr int kMaxWantedCapacity = 0x7FFFEFFF;

// Allocation size for a wanted capacity of at least 1, terminator included:
// the next power of two strictly above w + 1 up to 4096, then w + 1 rounded
// up to a multiple of 4096. Throws std::bad_alloc above kMaxWantedCapacity.
int allocationFor(int wantedCapacity);

// Length of the C string at `str` as an int; std::bad_alloc when it exceeds
// kMaxWantedCapacity, so no caller ever sizes a buffer from a wrapped value.
int checkedLength(const char* str);

// a + b for sizes; std::bad_alloc when the sum exceeds kMaxWantedCapacity.
int checkedTotal(int a, int b);

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_BYTEARRAY_BYTEARRAYDATA_H_
