#ifndef TQBASE_BYTEARRAY_TEXTFORMSINTERNAL_H_
#define TQBASE_BYTEARRAY_TEXTFORMSINTERNAL_H_

// Buffer sizes of the byte array's text forms, formed in 64 bits so that no
// source size can wrap them into a buffer smaller than what is written, and
// the kernels behind the forms. Each vector kernel has a plain twin that
// gives the same bytes; tests run both on every input.

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

// fromHex's arithmetic on `pairs` pairs of characters at `in`: one byte per
// pair into `out`.
void decodeHexPlain(const unsigned char* in, int pairs, unsigned char* out);
#if defined(__SSE2__)
void decodeHexSse2(const unsigned char* in, int pairs, unsigned char* out);
#endif

// fromBase64's walk over `n` characters at `in` with the 6-bit values
// `values` (-1: skipped). Returns the bytes stored at `out`, which must hold
// (3 * n) / 4 bytes. The plain form takes one character per step; the fast
// form four at a time where all four carry bits.
int decodeBase64Plain(const unsigned char* in, int n, const signed char* values,
                      unsigned char* out);
int decodeBase64Fast(const unsigned char* in, int n, bool url,
                     unsigned char* out);

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_BYTEARRAY_TEXTFORMSINTERNAL_H_
