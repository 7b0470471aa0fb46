#ifndef TQBASE_CODEC_BASE64BLOCKS_H_
#define TQBASE_CODEC_BASE64BLOCKS_H_

// Vector kernels for the bulk of Base64 text: whole groups only, clean
// alphabet characters only. Every caller finishes with its own plain loop,
// which keeps each codec's rules for padding and odd bytes; the kernels
// never decide anything that loop would decide otherwise.

#include <cstddef>

namespace TQBase {
namespace detail {

enum class Base64Simd { none, ssse3, avx2 };

// The widest kernel this processor runs (none off x86).
Base64Simd bestBase64Simd();

// Encodes whole 3-byte groups of the `n` bytes at `in` into `out` while the
// vector loads stay inside the input. Returns the bytes consumed, a
// multiple of 3; 4 characters were written for every 3 of them. `url`
// selects "-" and "_" for values 62 and 63.
std::size_t encodeBase64Blocks(Base64Simd simd, const unsigned char* in,
                               std::size_t n, char* out, bool url);

// Decodes groups of 4 characters of the `n` at `in` into `out` for as long
// as whole blocks hold alphabet characters only; stops before the first
// block with any other byte ("=" included). Writes at most `room` bytes and
// nothing but the bytes it decodes. Returns the characters
// consumed, a multiple of 4; 3 bytes were stored for every 4 of them.
std::size_t decodeBase64Blocks(Base64Simd simd, const unsigned char* in,
                               std::size_t n, unsigned char* out,
                               std::size_t room, bool url);

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_CODEC_BASE64BLOCKS_H_
