#include "codec/Base64Blocks.h"

#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#define TQBASE_X86 1
#endif

namespace TQBase {
namespace detail {

#if defined(TQBASE_X86)
namespace {

// The characters of values 62 and 63 in each alphabet.
struct Base64Tail {
  char c62;
  char c63;
};
Base64Tail tailOf(bool url) {
  return url ? Base64Tail{'-', '_'} : Base64Tail{'+', '/'};
}

// --- SSSE3: 12 bytes to 16 characters and back ----------------------------

// Four 6-bit indices per 3-byte group, one per byte, in text order.
__attribute__((target("ssse3"))) inline __m128i splitIndices128(__m128i in) {
  in = _mm_shuffle_epi8(
      in, _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
  const __m128i t0 = _mm_and_si128(in, _mm_set1_epi32(0x0fc0fc00));
  const __m128i t1 = _mm_mulhi_epu16(t0, _mm_set1_epi32(0x04000040));
  const __m128i t2 = _mm_and_si128(in, _mm_set1_epi32(0x003f03f0));
  const __m128i t3 = _mm_mullo_epi16(t2, _mm_set1_epi32(0x01000010));
  return _mm_or_si128(t1, t3);
}

// Index to character: a table of offsets picked by the index's range.
__attribute__((target("ssse3"))) inline __m128i indicesToChars128(
    __m128i indices, Base64Tail tail) {
  __m128i range = _mm_subs_epu8(indices, _mm_set1_epi8(51));
  const __m128i below26 = _mm_cmpgt_epi8(_mm_set1_epi8(26), indices);
  range = _mm_or_si128(range, _mm_and_si128(below26, _mm_set1_epi8(13)));
  const __m128i offsets = _mm_setr_epi8(
      'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
      '0' - 52, '0' - 52, '0' - 52, '0' - 52, static_cast<char>(tail.c62 - 62),
      static_cast<char>(tail.c63 - 63), 'A', 0, 0);
  return _mm_add_epi8(_mm_shuffle_epi8(offsets, range), indices);
}

inline __m128i inRange128(__m128i c, char low, char high) {
  return _mm_and_si128(
      _mm_cmpgt_epi8(c, _mm_set1_epi8(static_cast<char>(low - 1))),
      _mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(high + 1)), c));
}

// Characters to their 6-bit values; `valid` gets all ones for each
// alphabet character. Bytes from 0x80 are negative here and in no range.
inline __m128i charsToValues128(__m128i c, Base64Tail tail, __m128i& valid) {
  const __m128i upper = inRange128(c, 'A', 'Z');
  const __m128i lower = inRange128(c, 'a', 'z');
  const __m128i digit = inRange128(c, '0', '9');
  const __m128i is62 = _mm_cmpeq_epi8(c, _mm_set1_epi8(tail.c62));
  const __m128i is63 = _mm_cmpeq_epi8(c, _mm_set1_epi8(tail.c63));
  valid = _mm_or_si128(_mm_or_si128(upper, lower),
                       _mm_or_si128(digit, _mm_or_si128(is62, is63)));
  __m128i offset = _mm_and_si128(upper, _mm_set1_epi8(-65));
  offset = _mm_or_si128(offset, _mm_and_si128(lower, _mm_set1_epi8(-71)));
  offset = _mm_or_si128(offset, _mm_and_si128(digit, _mm_set1_epi8(4)));
  offset = _mm_or_si128(
      offset,
      _mm_and_si128(is62, _mm_set1_epi8(static_cast<char>(62 - tail.c62))));
  offset = _mm_or_si128(
      offset,
      _mm_and_si128(is63, _mm_set1_epi8(static_cast<char>(63 - tail.c63))));
  return _mm_add_epi8(c, offset);
}

// The standard alphabet classified by nibble tables: a character is in the
// alphabet when the bits its low nibble picks from kLowClass and those its
// high nibble picks from kHighClass have none in common. Its value is the
// character plus an offset picked by the high nibble ("/" moved one place
// down, since it shares its high nibble with "+").
#define TQBASE_BASE64_LOW_CLASS                                           \
  0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, \
      0x1B, 0x1B, 0x1B, 0x1A
#define TQBASE_BASE64_HIGH_CLASS                                          \
  0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, \
      0x10, 0x10, 0x10, 0x10
#define TQBASE_BASE64_ROLL \
  0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0

__attribute__((target("ssse3"))) inline __m128i standardValues128(__m128i c,
                                                                  bool& valid) {
  const __m128i nibble = _mm_set1_epi8(0x0F);
  const __m128i high = _mm_and_si128(_mm_srli_epi32(c, 4), nibble);
  const __m128i lowClass = _mm_shuffle_epi8(
      _mm_setr_epi8(TQBASE_BASE64_LOW_CLASS), _mm_and_si128(c, nibble));
  const __m128i highClass =
      _mm_shuffle_epi8(_mm_setr_epi8(TQBASE_BASE64_HIGH_CLASS), high);
  valid = _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_and_si128(lowClass, highClass),
                                           _mm_setzero_si128())) == 0xFFFF;
  const __m128i isSlash = _mm_cmpeq_epi8(c, _mm_set1_epi8('/'));
  const __m128i roll = _mm_shuffle_epi8(_mm_setr_epi8(TQBASE_BASE64_ROLL),
                                        _mm_add_epi8(isSlash, high));
  return _mm_add_epi8(c, roll);
}

// 16 values to 12 bytes in the low part of the result.
__attribute__((target("ssse3"))) inline __m128i packValues128(__m128i values) {
  const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140));
  const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
  return _mm_shuffle_epi8(groups, _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14,
                                                13, 12, -1, -1, -1, -1));
}

__attribute__((target("ssse3"))) std::size_t encodeSsse3(
    const unsigned char* in, std::size_t n, char* out, Base64Tail tail) {
  std::size_t i = 0;
  for (; n - i >= 16; i += 12, out += 16) {
    const __m128i bytes =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                     indicesToChars128(splitIndices128(bytes), tail));
  }
  return i;
}

__attribute__((target("ssse3"))) std::size_t decodeSsse3(
    const unsigned char* in, std::size_t n, unsigned char* out,
    std::size_t room, Base64Tail tail) {
  std::size_t i = 0;
  for (; n - i >= 16 && room >= 12; i += 16, out += 12, room -= 12) {
    const __m128i chars =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
    __m128i values;
    if (tail.c62 == '+') {
      bool valid;
      values = standardValues128(chars, valid);
      if (!valid) break;
    } else {
      __m128i valid;
      values = charsToValues128(chars, tail, valid);
      if (_mm_movemask_epi8(valid) != 0xFFFF) break;
    }
    // Exactly the 12 bytes: what lies behind them is the caller's.
    const __m128i packed = packValues128(values);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), packed);
    const int last = _mm_cvtsi128_si32(_mm_srli_si128(packed, 8));
    std::memcpy(out + 8, &last, 4);
  }
  return i;
}

// --- AVX2: the same steps on two 128-bit lanes ----------------------------

__attribute__((target("avx2"))) inline __m256i inRange256(__m256i c, char low,
                                                          char high) {
  return _mm256_and_si256(
      _mm256_cmpgt_epi8(c, _mm256_set1_epi8(static_cast<char>(low - 1))),
      _mm256_cmpgt_epi8(_mm256_set1_epi8(static_cast<char>(high + 1)), c));
}

__attribute__((target("avx2"))) std::size_t encodeAvx2(const unsigned char* in,
                                                       std::size_t n, char* out,
                                                       Base64Tail tail) {
  const __m256i order =
      _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10, 1, 0,
                       2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
  const __m256i offsets = _mm256_setr_epi8(
      'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
      '0' - 52, '0' - 52, '0' - 52, '0' - 52, static_cast<char>(tail.c62 - 62),
      static_cast<char>(tail.c63 - 63), 'A', 0, 0, 'a' - 26, '0' - 52, '0' - 52,
      '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
      '0' - 52, static_cast<char>(tail.c62 - 62),
      static_cast<char>(tail.c63 - 63), 'A', 0, 0);
  std::size_t i = 0;
  // Each lane takes 12 bytes; the upper lane's load ends 4 bytes short of
  // i + 32, so 28 readable bytes suffice.
  for (; n - i >= 28; i += 24, out += 32) {
    const __m128i low =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
    const __m128i high =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i + 12));
    __m256i bytes =
        _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
    bytes = _mm256_shuffle_epi8(bytes, order);
    const __m256i t0 = _mm256_and_si256(bytes, _mm256_set1_epi32(0x0fc0fc00));
    const __m256i t1 = _mm256_mulhi_epu16(t0, _mm256_set1_epi32(0x04000040));
    const __m256i t2 = _mm256_and_si256(bytes, _mm256_set1_epi32(0x003f03f0));
    const __m256i t3 = _mm256_mullo_epi16(t2, _mm256_set1_epi32(0x01000010));
    const __m256i indices = _mm256_or_si256(t1, t3);
    __m256i range = _mm256_subs_epu8(indices, _mm256_set1_epi8(51));
    const __m256i below26 = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), indices);
    range =
        _mm256_or_si256(range, _mm256_and_si256(below26, _mm256_set1_epi8(13)));
    const __m256i chars =
        _mm256_add_epi8(_mm256_shuffle_epi8(offsets, range), indices);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), chars);
  }
  return i;
}

// The two ways of the 128-bit code above, on 32 characters; each gives the
// values and whether all 32 are alphabet characters.
__attribute__((target("avx2"))) inline bool standardValues256(__m256i c,
                                                              __m256i& values) {
  const __m256i nibble = _mm256_set1_epi8(0x0F);
  const __m256i high = _mm256_and_si256(_mm256_srli_epi32(c, 4), nibble);
  const __m256i lowClass = _mm256_shuffle_epi8(
      _mm256_setr_epi8(TQBASE_BASE64_LOW_CLASS, TQBASE_BASE64_LOW_CLASS),
      _mm256_and_si256(c, nibble));
  const __m256i highClass = _mm256_shuffle_epi8(
      _mm256_setr_epi8(TQBASE_BASE64_HIGH_CLASS, TQBASE_BASE64_HIGH_CLASS),
      high);
  const __m256i isSlash = _mm256_cmpeq_epi8(c, _mm256_set1_epi8('/'));
  const __m256i roll = _mm256_shuffle_epi8(
      _mm256_setr_epi8(TQBASE_BASE64_ROLL, TQBASE_BASE64_ROLL),
      _mm256_add_epi8(isSlash, high));
  values = _mm256_add_epi8(c, roll);
  return _mm256_testz_si256(lowClass, highClass) != 0;
}

__attribute__((target("avx2"))) inline bool rangedValues256(__m256i c,
                                                            Base64Tail tail,
                                                            __m256i& values) {
  const __m256i upper = inRange256(c, 'A', 'Z');
  const __m256i lower = inRange256(c, 'a', 'z');
  const __m256i digit = inRange256(c, '0', '9');
  const __m256i is62 = _mm256_cmpeq_epi8(c, _mm256_set1_epi8(tail.c62));
  const __m256i is63 = _mm256_cmpeq_epi8(c, _mm256_set1_epi8(tail.c63));
  const __m256i valid =
      _mm256_or_si256(_mm256_or_si256(upper, lower),
                      _mm256_or_si256(digit, _mm256_or_si256(is62, is63)));
  __m256i offset = _mm256_and_si256(upper, _mm256_set1_epi8(-65));
  offset =
      _mm256_or_si256(offset, _mm256_and_si256(lower, _mm256_set1_epi8(-71)));
  offset =
      _mm256_or_si256(offset, _mm256_and_si256(digit, _mm256_set1_epi8(4)));
  offset = _mm256_or_si256(
      offset, _mm256_and_si256(
                  is62, _mm256_set1_epi8(static_cast<char>(62 - tail.c62))));
  offset = _mm256_or_si256(
      offset, _mm256_and_si256(
                  is63, _mm256_set1_epi8(static_cast<char>(63 - tail.c63))));
  values = _mm256_add_epi8(c, offset);
  return _mm256_movemask_epi8(valid) == -1;
}

__attribute__((target("avx2"))) std::size_t decodeAvx2(const unsigned char* in,
                                                       std::size_t n,
                                                       unsigned char* out,
                                                       std::size_t room,
                                                       Base64Tail tail) {
  std::size_t i = 0;
  for (; n - i >= 32 && room >= 24; i += 32, out += 24, room -= 24) {
    const __m256i c =
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i));
    __m256i values;
    const bool valid = tail.c62 == '+' ? standardValues256(c, values)
                                       : rangedValues256(c, tail, values);
    if (!valid) break;
    const __m256i pairs =
        _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i groups =
        _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i packed = _mm256_shuffle_epi8(
        groups, _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1,
                                 -1, -1, 2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12,
                                 -1, -1, -1, -1));
    const __m256i joined = _mm256_permutevar8x32_epi32(
        packed, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                     _mm256_castsi256_si128(joined));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16),
                     _mm256_extracti128_si256(joined, 1));
  }
  return i;
}

}  // namespace

Base64Simd bestBase64Simd() {
  if (__builtin_cpu_supports("avx2"))  // GCOVR_EXCL_BR_LINE: AVX2 here
    return Base64Simd::avx2;
  // GCOVR_EXCL_START: processors without AVX2; their kernels are tested
  // by level on this one.
  if (__builtin_cpu_supports("ssse3")) return Base64Simd::ssse3;
  return Base64Simd::none;
  // GCOVR_EXCL_STOP
}

std::size_t encodeBase64Blocks(Base64Simd simd, const unsigned char* in,
                               std::size_t n, char* out, bool url) {
  switch (simd) {
    case Base64Simd::avx2: {
      // The AVX2 loop leaves up to 27 bytes, of which SSSE3 takes a block.
      const std::size_t done = encodeAvx2(in, n, out, tailOf(url));
      return done +
             encodeSsse3(in + done, n - done, out + done / 3 * 4, tailOf(url));
    }
    case Base64Simd::ssse3:
      return encodeSsse3(in, n, out, tailOf(url));
    default:
      return 0;
  }
}

std::size_t decodeBase64Blocks(Base64Simd simd, const unsigned char* in,
                               std::size_t n, unsigned char* out,
                               std::size_t room, bool url) {
  switch (simd) {
    case Base64Simd::avx2: {
      const std::size_t done = decodeAvx2(in, n, out, room, tailOf(url));
      const std::size_t stored = done / 4 * 3;
      return done + decodeSsse3(in + done, n - done, out + stored,
                                room - stored, tailOf(url));
    }
    case Base64Simd::ssse3:
      return decodeSsse3(in, n, out, room, tailOf(url));
    default:
      return 0;
  }
}

#else  // no vector kernels: the plain loops do all

Base64Simd bestBase64Simd() { return Base64Simd::none; }

std::size_t encodeBase64Blocks(Base64Simd, const unsigned char*, std::size_t,
                               char*, bool) {
  return 0;
}

std::size_t decodeBase64Blocks(Base64Simd, const unsigned char*, std::size_t,
                               unsigned char*, std::size_t, bool) {
  return 0;
}

#endif

}  // namespace detail
}  // namespace TQBase
