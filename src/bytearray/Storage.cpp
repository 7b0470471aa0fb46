#include "TQBase/TQByteArray.h"

#include <cstring>
#include <new>
#include <utility>

#include "bytearray/ByteArrayData.h"

namespace TQBase {
namespace detail {

int allocationFor(int wantedCapacity) {
  if (wantedCapacity > kMaxWantedCapacity) throw std::bad_alloc();
  unsigned int n = static_cast<unsigned int>(wantedCapacity) + 1;  // terminator
  if (n <= 4096) {
    // Smallest power of two strictly above n: an exact power still doubles.
    n |= n >> 1;
    n |= n >> 2;
    n |= n >> 4;
    n |= n >> 8;
    n |= n >> 16;
    return static_cast<int>(n + 1);
  }
  return static_cast<int>((n + 4095u) & ~4095u);
}

int checkedLength(const char* str) {
  // strlen stays within ptrdiff_t, so the length fits a long long.
  return checkedSize(static_cast<long long>(std::strlen(str)));
}

}  // namespace detail

namespace {

// A new owning record with the capacity of the ladder for `wantedCapacity`
// (at least 1). Only the first and the last byte of the buffer are set.
std::shared_ptr<TQByteArrayPrivateDat> makeOwningRecord(int wantedCapacity) {
  const int allocation = detail::allocationFor(wantedCapacity);
  std::unique_ptr<char[]> buffer(new char[allocation]);
  auto record = std::make_shared<TQByteArrayPrivateDat>();
  record->capacity = allocation - 1;
  record->size = 0;
  record->data = buffer.release();
  record->ownsBuffer = 1;
  record->data[0] = 0;
  record->data[record->capacity] = 0;
  return record;
}

}  // namespace

TQByteArrayRef::TQByteArrayRef()
    : record(std::make_shared<TQByteArrayPrivateDat>()) {
  record->capacity = 0;
  record->size = 0;
  record->ownsBuffer = 0;
  record->data = const_cast<char*>(detail::emptyBuffer);
}

TQByteArrayRef::TQByteArrayRef(int size, char fill)
    : record(makeOwningRecord(size)) {
  std::memset(record->data, fill, static_cast<std::size_t>(size));
  record->data[size] = 0;
  record->size = size;
}

TQByteArrayRef::TQByteArrayRef(const char* src, int copyLength, int capacity,
                               bool deep) {
  if (deep) {
    record = makeOwningRecord(capacity);
    if (copyLength > 0)
      std::memcpy(record->data, src, static_cast<std::size_t>(copyLength));
    record->data[copyLength] = 0;
    record->size = copyLength;
    return;
  }
  record = std::make_shared<TQByteArrayPrivateDat>();
  record->capacity = copyLength;
  record->size = copyLength;
  record->ownsBuffer = 0;
  // Never written through: raw records detach before any write.
  record->data = const_cast<char*>(src);
}

TQByteArray::TQByteArray() : d(detail::sharedNull) {}

TQByteArray::TQByteArray(const TQByteArray& other) : d(detail::sharedNull) {
  *this = other;
}

TQByteArray::TQByteArray(int size, char ch) : d(detail::sharedNull) {
  if (size <= 0) return;
  d = new TQByteArrayRef(size, ch);
}

TQByteArray::TQByteArray(const char* data, int size) : d(detail::sharedNull) {
  if (data == nullptr) return;
  if (size < 0) size = detail::checkedLength(data);
  reallocData(data, size, size);
}

TQByteArray::~TQByteArray() { clear(); }

TQByteArray& TQByteArray::operator=(const TQByteArray& other) {
  if (&other == this) return *this;
  clear();
  // An empty array is never shared through a record, reserved or not.
  if (other.size() == 0) return *this;
  d = new TQByteArrayRef(*other.d);
  return *this;
}

TQByteArray& TQByteArray::operator=(const char* str) {
  const int length = str == nullptr ? 0 : detail::checkedLength(str);
  if (length == 0) {
    clear();
    return *this;
  }
  reallocData(str, length, length);
  return *this;
}

void TQByteArray::clear() {
  if (d == detail::sharedNull) return;
  detail::announceHolderRelease(d);
  delete d;  // drops the holder's share; the last one frees the record
  d = detail::sharedNull;
}

int TQByteArray::size() const { return d->record->size; }

int TQByteArray::capacity() const { return d->record->capacity; }

const char* TQByteArray::constData() const { return d->record->data; }

char* TQByteArray::getData() {
  if (!isDetached()) {
    const TQByteArrayPrivateDat& r = *d->record;
    reallocData(r.data, r.size, r.capacity);
  }
  return d->record->data;
}

void TQByteArray::reserve(int n) {
  const TQByteArrayPrivateDat& r = *d->record;
  if (n <= r.capacity) return;
  reallocData(r.data, r.size, n);
}

void TQByteArray::resize(int n) {
  if (n <= 0) {
    clear();
    return;
  }
  if (n == size()) return;
  if (!isDetached() || n > capacity()) {
    const TQByteArrayPrivateDat& r = *d->record;
    reallocData(r.data, r.size, n);
  }
  d->record->size = n;
  d->record->data[n] = 0;
}

void TQByteArray::squeeze() {
  const TQByteArrayPrivateDat& r = *d->record;
  if (r.capacity <= r.size) return;
  reallocData(r.data, r.size, r.size);
}

void TQByteArray::swap(TQByteArray& other) { std::swap(d, other.d); }

TQByteArray TQByteArray::fromRawData(const char* data, int size) {
  TQByteArray result;
  if (data == nullptr || size <= 0) return result;
  result.d = new TQByteArrayRef(data, size, size, false);
  return result;
}

bool TQByteArray::isDetached() const {
  // A plain load suffices: at 1 no other thread can hold a share to raise it.
  return detail::isDetachedHolder(d);
}

void TQByteArray::reallocData(const char* src, int copyLength,
                              int wantedCapacity) {
  if (copyLength > wantedCapacity) copyLength = wantedCapacity;
  if (copyLength < 0) copyLength = 0;
  // The new storage is complete before the old is released, so `src` may
  // lie in this array's own buffer and a failed allocation changes nothing.
  TQByteArrayRef* next = detail::sharedNull;
  if (src != nullptr && wantedCapacity >= 1) {
    next = new TQByteArrayRef(src, copyLength, wantedCapacity, true);
  }
  clear();
  d = next;
}

}  // namespace TQBase
