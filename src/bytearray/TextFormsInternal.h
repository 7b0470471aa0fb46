#ifndef TQBASE_BYTEARRAY_TEXTFORMSINTERNAL_H_
#define TQBASE_BYTEARRAY_TEXTFORMSINTERNAL_H_

// Buffer sizes of the byte array's text forms, formed in 64 bits so that no
// source size can wrap them into a buffer smaller than what is written.

namespace TQBase {
namespace detail {

// ((n + 2) / 3) * 4 for a source of n >= 0 bytes; std::bad_alloc when that
// exceeds kMaxWantedCapacity (n above 1,610,609,661).
int base64EncodedSize(int n);

// (3 * n) / 4, rounded down: room for the bytes of any Base64 text of n
// characters. Defined for every n >= 0, so decoding has no size limit.
int base64DecodedBound(int n);

// 2 * n, or 0 when that does not fit a positive int (n >= 2^30): toHex gives
// the empty array there. Sizes up to that limit may still exceed the largest
// capacity and then fail in the allocation with std::bad_alloc.
int hexEncodedSize(int n);

// 3 * n, the working buffer of percent encoding once a byte needs escaping;
// std::bad_alloc when that exceeds kMaxWantedCapacity (n above 715,826,517).
int percentEncodedBound(int n);

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_BYTEARRAY_TEXTFORMSINTERNAL_H_
