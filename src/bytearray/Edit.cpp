#include "TQBase/TQByteArray.h"

#include <cstring>
#include <memory>

#include "bytearray/ByteArrayData.h"

namespace TQBase {

TQByteArray& TQByteArray::append(const char* src, int len) {
  if (src == nullptr) return *this;
  if (len < 0) len = detail::checkedLength(src);
  if (len == 0) return *this;
  TQByteArrayPrivateDat& own = *d->record;
  // capacity - size cannot overflow, so the room test needs no wide sum.
  if (len <= own.capacity - own.size && detail::isDetachedHolder(d)) {
    // `src` may overlap the bytes behind the old end if it lies in this
    // buffer; memmove still copies what it held on entry.
    char* end = own.data + own.size;
    std::memmove(end, src, static_cast<std::size_t>(len));
    end[len] = 0;
    own.size += len;
    return *this;
  }
  const int total = detail::checkedSize(static_cast<long long>(own.size) + len);
  // What reallocData(data, size, total) would do, except that the new bytes
  // go in before the old holder is released: `src` may lie in the old buffer
  // (a.append(a)), which may die with that holder.
  // The record is packed, so its fields go by value: make_unique would bind
  // references to the misaligned pointer.
  std::unique_ptr<TQByteArrayRef> next(
      new TQByteArrayRef(own.data, own.size, total, true));
  TQByteArrayPrivateDat& fresh = *next->record;
  std::memcpy(fresh.data + fresh.size, src, static_cast<std::size_t>(len));
  fresh.size = total;
  fresh.data[total] = 0;
  clear();
  d = next.release();
  return *this;
}

TQByteArray& TQByteArray::append(const TQByteArray& other) {
  if (size() > 0) return append(other.constData(), other.size());
  if (&other == this) return *this;
  // An empty array takes a share instead of copying: this is assignment,
  // reserved capacity dropped, and an `other` of size 0 leaves it empty.
  return *this = other;
}

TQByteArray& TQByteArray::insert(int pos, const TQByteArray& other) {
  return insert(pos, other.constData(), other.size());
}

TQByteArray& TQByteArray::insert(int pos, const char* src, int len) {
  if (src == nullptr) return *this;
  if (len < 0) len = detail::checkedLength(src);
  const TQByteArrayPrivateDat& own = *d->record;
  if (len == 0 || pos < 0 || pos > own.size) return *this;
  const int total = detail::checkedSize(static_cast<long long>(own.size) + len);
  // Always a fresh record with the ladder's capacity for `total`, even when
  // this one has room: the old record stays whole until the swap, so `src`
  // may lie in it.
  std::unique_ptr<TQByteArrayRef> next(
      new TQByteArrayRef(own.data, pos, total, true));
  char* out = next->record->data;
  std::memcpy(out + pos, src, static_cast<std::size_t>(len));
  std::memcpy(out + pos + len, own.data + pos,
              static_cast<std::size_t>(own.size - pos));
  next->record->size = total;
  out[total] = 0;
  clear();
  d = next.release();
  return *this;
}

TQByteArray& TQByteArray::remove(int pos, int len) {
  const int ownSize = size();
  if (pos < 0 || len <= 0 || pos >= ownSize) return *this;
  if (len >= ownSize - pos) {
    resize(pos);  // a cut at the end; resize(0) clears
    return *this;
  }
  getData();  // detaches, keeping the capacity
  TQByteArrayPrivateDat& own = *d->record;
  std::memmove(own.data + pos, own.data + pos + len,
               static_cast<std::size_t>(own.size - pos - len));
  own.size -= len;
  own.data[own.size] = 0;
  return *this;
}

TQByteArray& TQByteArray::replace(const TQByteArray& before,
                                  const TQByteArray& after) {
  // `before` and `after` may be this array or share its record, so both are
  // read afresh after every change and nothing is carried across one.
  int pos = indexOf(before.constData(), 0, before.size());
  while (pos >= 0) {
    remove(pos, before.size());
    insert(pos, after.constData(), after.size());
    // Go on behind what was put in; it is never searched. The sum stays within
    // the new size, so it cannot overflow.
    pos = indexOf(before.constData(), pos + after.size(), before.size());
  }
  return *this;
}

TQByteArray& TQByteArray::replace(char before, char after) {
  if (before == after) return *this;
  const int ownSize = size();
  const void* first =
      std::memchr(constData(), static_cast<unsigned char>(before),
                  static_cast<std::size_t>(ownSize));
  if (first == nullptr) return *this;  // no hit, no detach
  const int start =
      static_cast<int>(static_cast<const char*>(first) - constData());
  char* data = getData();  // detaches, keeping the capacity
  for (int i = start; i < ownSize; ++i) {
    if (data[i] == before) data[i] = after;
  }
  return *this;
}

TQByteArray& TQByteArray::replace(int pos, int len, const TQByteArray& after) {
  remove(pos, len);
  return insert(pos, after.constData(), after.size());
}

}  // namespace TQBase
