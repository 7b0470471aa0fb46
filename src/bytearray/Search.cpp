#include "TQBase/TQByteArray.h"

#include <climits>
#include <cstring>

#include "bytearray/ByteArrayData.h"
#include "frame/AsciiSpace.h"

namespace TQBase {

namespace {

// Length of a C string for the read-only members, read no further than
// `bound` bytes: a longer string only needs to be known as longer.
std::size_t boundedLength(const char* str, std::size_t bound) {
  return strnlen(str, bound);
}

// A negative `from` counts back from the end and is clamped at 0.
int startFrom(int from, int size) {
  if (from >= 0) return from;
  // size + from cannot overflow: size >= 0 and from < 0.
  const int start = size + from;
  return start < 0 ? 0 : start;
}

using detail::foldAsciiUpper;

}  // namespace

int TQByteArray::compare(const char* str, int len, bool caseSensitive) const {
  const int ownSize = size();
  if (str == nullptr) return ownSize > 0 ? 1 : 0;
  // The string's length decides only when its first `size` bytes are equal,
  // so it is measured past them only then, and never past INT_MAX + 1: a
  // string that long gives size - (INT_MAX + 1), negative and in range.
  std::size_t length =
      len >= 0 ? static_cast<std::size_t>(len) : boundedLength(str, ownSize);
  const int common = length < static_cast<std::size_t>(ownSize)
                         ? static_cast<int>(length)
                         : ownSize;
  const char* own = constData();
  if (common > 0) {
    if (caseSensitive) {
      const int result =
          std::memcmp(own, str, static_cast<std::size_t>(common));
      if (result != 0) return result;
    } else {
      for (int i = 0; i < common; ++i) {
        const unsigned char mine =
            foldAsciiUpper(static_cast<unsigned char>(own[i]));
        const unsigned char theirs =
            foldAsciiUpper(static_cast<unsigned char>(str[i]));
        if (mine != theirs) return static_cast<int>(mine) - theirs;
      }
    }
  }
  if (len < 0 && length == static_cast<std::size_t>(ownSize)) {
    const std::size_t limit = static_cast<std::size_t>(INT_MAX) + 1;
    length += boundedLength(str + length, limit - length);
  }
  return static_cast<int>(static_cast<long long>(ownSize) -
                          static_cast<long long>(length));
}

int TQByteArray::indexOf(char ch, int from) const {
  const int ownSize = size();
  from = startFrom(from, ownSize);
  if (from >= ownSize) return -1;
  const char* data = constData();
  const void* hit = std::memchr(data + from, static_cast<unsigned char>(ch),
                                static_cast<std::size_t>(ownSize - from));
  return hit == nullptr
             ? -1
             : static_cast<int>(static_cast<const char*>(hit) - data);
}

int TQByteArray::indexOf(const char* pattern, int from, int len) const {
  if (pattern == nullptr) return -1;
  const int ownSize = size();
  from = startFrom(from, ownSize);
  if (from >= ownSize) return -1;  // also for an empty pattern
  if (len < 0) {
    // Measured no further than one byte past what fits behind `from`.
    const std::size_t room = static_cast<std::size_t>(ownSize - from);
    const std::size_t length = boundedLength(pattern, room + 1);
    if (length > room) return -1;
    len = static_cast<int>(length);
  }
  if (len == 0 || len > ownSize - from) return -1;
  const char* data = constData();
  // memmem yields the leftmost start, the same as memcmp at each position.
  const void* hit =
      len == 1 ? std::memchr(data + from, static_cast<unsigned char>(*pattern),
                             static_cast<std::size_t>(ownSize - from))
               : memmem(data + from, static_cast<std::size_t>(ownSize - from),
                        pattern, static_cast<std::size_t>(len));
  return hit == nullptr
             ? -1
             : static_cast<int>(static_cast<const char*>(hit) - data);
}

TQByteArray TQByteArray::left(int n) const {
  if (n >= size()) return *this;
  if (n <= 0) return TQByteArray();
  return TQByteArray(constData(), n);
}

TQByteArray TQByteArray::right(int n) const {
  const int ownSize = size();
  if (n >= ownSize) return *this;
  if (n <= 0) return TQByteArray();
  return TQByteArray(constData() + (ownSize - n), n);
}

TQByteArray TQByteArray::mid(int pos, int len) const {
  const int ownSize = size();
  // The order of these steps is part of the contract: a negative `pos` eats
  // into a positive `len` first, and only then does a negative `len` mean
  // "to the end", so (-3, 2) gives everything while (-3, 3) gives nothing.
  if (pos < 0) {
    if (len > 0) len += pos;
    pos = 0;
  }
  if (len < 0) len = ownSize - pos;
  if (pos >= ownSize || len <= 0) return TQByteArray();
  if (pos == 0 && len == ownSize) return *this;
  if (len > ownSize - pos) len = ownSize - pos;
  return TQByteArray(constData() + pos, len);
}

TQByteArray TQByteArray::trimmed() const {
  const int ownSize = size();
  if (ownSize == 0) return TQByteArray();
  const char* data = constData();
  const char* begin = data;
  const char* end = data + ownSize;
  while (begin < end &&
         detail::isAsciiSpace(static_cast<unsigned char>(*begin)))
    ++begin;
  while (end > begin &&
         detail::isAsciiSpace(static_cast<unsigned char>(end[-1])))
    --end;
  return mid(static_cast<int>(begin - data), static_cast<int>(end - begin));
}

}  // namespace TQBase
