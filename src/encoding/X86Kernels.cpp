#include "encoding/Kernels.h"

// The vector forms of the kernels: SSE2, which every x86-64 CPU has, and AVX2
// and AVX-512 in functions of their own target, called only after the CPU was
// probed for them. Elsewhere this file holds stubs that nothing calls.

#if defined(__x86_64__)

#include <immintrin.h>

#include "encoding/Cp936Tables.h"

namespace TQBase {
namespace detail {
namespace {

static_assert(sizeof(wchar_t) == 4, "x86-64 Linux has a 32-bit wchar_t");

// Classes of 64 bytes, one bit per byte. Lead bytes are high bytes that are
// no continuation byte; their class alone fixes where continuation bytes
// must stand, so whole blocks are checked with integer masks.
struct Classes {
  std::uint64_t high;   // 0x80-0xFF
  std::uint64_t cont;   // 0x80-0xBF
  std::uint64_t lead3;  // 0xE0-0xFF
  std::uint64_t bad;    // 0xF0-0xFF: no 1- to 3-byte form starts there
};

// True when a continuation byte stands where none is due, or is missing
// where one is due. `carry` holds what the leads at the end of the last block
// require of the first two bytes of this one, and is updated.
bool isMisplaced(const Classes& c, std::uint64_t& carry) {
  const std::uint64_t lead = c.high & ~c.cont;
  const std::uint64_t required = lead << 1 | c.lead3 << 2 | carry;
  carry = lead >> 63 | c.lead3 >> 62;
  return (required ^ c.cont) != 0;
}

bool isLead(unsigned char byte) { return byte >= 0xC0; }

// The start of the sequence that holds in[p], given the carry into p.
std::size_t sequenceStart(const unsigned char* in, std::size_t p,
                          std::uint64_t carry) {
  if (carry == 0) return p;
  return isLead(in[p - 1]) ? p - 1 : p - 2;
}

std::uint64_t maskOf(int bits) { return static_cast<std::uint32_t>(bits); }

// Every lane; the zeroing forms of the intrinsics, since GCC 12 warns about
// the undefined source register of the plain ones.
constexpr __mmask16 kAll16 = 0xFFFF;

Classes classifySse2(const unsigned char* in) {
  Classes c{0, 0, 0, 0};
  for (int k = 0; k < 4; ++k) {
    const __m128i v =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 16 * k));
    const std::uint64_t high = maskOf(_mm_movemask_epi8(v));
    const int shift = 16 * k;
    c.high |= high << shift;
    c.cont |= maskOf(_mm_movemask_epi8(_mm_cmplt_epi8(v, _mm_set1_epi8(-64))))
              << shift;
    c.lead3 |=
        (maskOf(_mm_movemask_epi8(_mm_cmpgt_epi8(v, _mm_set1_epi8(-33)))) &
         high)
        << shift;
    c.bad |= (maskOf(_mm_movemask_epi8(_mm_cmpgt_epi8(v, _mm_set1_epi8(-17)))) &
              high)
             << shift;
  }
  return c;
}

__attribute__((target("avx2"))) Classes classifyAvx2(const unsigned char* in) {
  Classes c{0, 0, 0, 0};
  for (int k = 0; k < 2; ++k) {
    const __m256i v =
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 32 * k));
    const std::uint64_t high = maskOf(_mm256_movemask_epi8(v));
    const int shift = 32 * k;
    c.high |= high << shift;
    c.cont |= maskOf(_mm256_movemask_epi8(
                  _mm256_cmpgt_epi8(_mm256_set1_epi8(-64), v)))
              << shift;
    c.lead3 |= (maskOf(_mm256_movemask_epi8(
                    _mm256_cmpgt_epi8(v, _mm256_set1_epi8(-33)))) &
                high)
               << shift;
    c.bad |= (maskOf(_mm256_movemask_epi8(
                  _mm256_cmpgt_epi8(v, _mm256_set1_epi8(-17)))) &
              high)
             << shift;
  }
  return c;
}

__attribute__((target("avx512f,avx512bw"))) Classes classifyAvx512(
    const unsigned char* in) {
  const __m512i v = _mm512_loadu_si512(in);
  return {
      _mm512_movepi8_mask(v),
      _mm512_cmplt_epu8_mask(v, _mm512_set1_epi8(-64)) & _mm512_movepi8_mask(v),
      _mm512_cmpge_epu8_mask(v, _mm512_set1_epi8(-32)),
      _mm512_cmpge_epu8_mask(v, _mm512_set1_epi8(-16))};
}

// The scan stays two bytes short of the end, so that no block holds a
// sequence cut off by the end: those count as good, and the plain loop sees
// them.
#define TQBASE_SCAN_LOOP(classify)                         \
  std::size_t p = 0;                                       \
  std::uint64_t carry = 0;                                 \
  for (; size - p >= 66; p += 64) {                        \
    const Classes c = classify(in + p);                    \
    if ((c.high | carry) == 0) continue;                   \
    if (isMisplaced(c, carry) || c.bad != 0) return false; \
  }                                                        \
  resume = sequenceStart(in, p, carry);                    \
  return true

bool scanSse2(const unsigned char* in, std::size_t size, std::size_t& resume) {
  TQBASE_SCAN_LOOP(classifySse2);
}

__attribute__((target("avx2"))) bool scanAvx2(const unsigned char* in,
                                              std::size_t size,
                                              std::size_t& resume) {
  TQBASE_SCAN_LOOP(classifyAvx2);
}

__attribute__((target("avx512f,avx512bw"))) bool scanAvx512(
    const unsigned char* in, std::size_t size, std::size_t& resume) {
  TQBASE_SCAN_LOOP(classifyAvx512);
}

#undef TQBASE_SCAN_LOOP

void widen16Sse2(const unsigned char* in, wchar_t* out) {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
  const __m128i zero = _mm_setzero_si128();
  const __m128i low = _mm_unpacklo_epi8(v, zero);
  const __m128i high = _mm_unpackhi_epi8(v, zero);
  auto* to = reinterpret_cast<__m128i*>(out);
  _mm_storeu_si128(to, _mm_unpacklo_epi16(low, zero));
  _mm_storeu_si128(to + 1, _mm_unpackhi_epi16(low, zero));
  _mm_storeu_si128(to + 2, _mm_unpacklo_epi16(high, zero));
  _mm_storeu_si128(to + 3, _mm_unpackhi_epi16(high, zero));
}

__attribute__((target("avx2"))) void widen16Avx2(const unsigned char* in,
                                                 wchar_t* out) {
  auto* to = reinterpret_cast<__m256i*>(out);
  for (int k = 0; k < 2; ++k)
    _mm256_storeu_si256(to + k,
                        _mm256_cvtepu8_epi32(_mm_loadl_epi64(
                            reinterpret_cast<const __m128i*>(in + 8 * k))));
}

__attribute__((target("avx512f"))) void widen16Avx512(const unsigned char* in,
                                                      wchar_t* out) {
  _mm512_storeu_si512(
      out, _mm512_maskz_cvtepu8_epi32(
               kAll16, _mm_loadu_si128(reinterpret_cast<const __m128i*>(in))));
}

// Elements of the sequences that end in in[0..15]; `ends` has a bit for each
// byte that ends a sequence. The two bytes before in[0] are readable. A
// sequence of 1 to 3 bytes ending at byte e is e, e-1, e-2 read backwards:
// 1-byte when e is ASCII, 2-byte when e-1 is a 2-byte lead, else 3-byte.
__attribute__((target("avx512f,avx512bw,popcnt"))) std::size_t decode16Avx512(
    const unsigned char* in, std::uint32_t ends, wchar_t* out) {
  const __m512i w0 = _mm512_maskz_cvtepu8_epi32(
      kAll16, _mm_loadu_si128(reinterpret_cast<const __m128i*>(in)));
  const __m512i w1 = _mm512_maskz_cvtepu8_epi32(
      kAll16, _mm_loadu_si128(reinterpret_cast<const __m128i*>(in - 1)));
  const __m512i w2 = _mm512_maskz_cvtepu8_epi32(
      kAll16, _mm_loadu_si128(reinterpret_cast<const __m128i*>(in - 2)));
  const __mmask16 longer = _mm512_cmpge_epu32_mask(w0, _mm512_set1_epi32(0x80));
  const __mmask16 three =
      longer &
      _mm512_cmpge_epu32_mask(_mm512_sub_epi32(w1, _mm512_set1_epi32(0xC0)),
                              _mm512_set1_epi32(0x20));
  __m512i value = _mm512_and_si512(w0, _mm512_set1_epi32(0x7F));
  value = _mm512_mask_or_epi32(
      value, longer, value,
      _mm512_maskz_slli_epi32(
          kAll16, _mm512_and_si512(w1, _mm512_set1_epi32(0x3F)), 6));
  value = _mm512_mask_or_epi32(
      value, three, value,
      _mm512_maskz_slli_epi32(
          kAll16, _mm512_and_si512(w2, _mm512_set1_epi32(0x0F)), 12));
  _mm512_storeu_si512(
      out, _mm512_maskz_compress_epi32(static_cast<__mmask16>(ends), value));
  return static_cast<std::size_t>(_mm_popcnt_u32(ends));
}

// Blocks of 64 bytes from p: pure ASCII widens, other blocks of 1- to 3-byte
// forms decode whole with AVX-512 (checked first), the rest is the plain
// loop's. Needs the byte behind each block, to see whether the block's last
// byte ends a sequence.
#define TQBASE_DECODE_LOOP(classify, widen16, decodeMixed)                     \
  std::size_t written = 0;                                                     \
  std::uint64_t carry = 0;                                                     \
  if (p < 16) return {p, 0, false};                                            \
  for (; size - p >= 65; p += 64) {                                            \
    const Classes c = classify(in + p);                                        \
    if ((c.high | carry) == 0) {                                               \
      for (int k = 0; k < 4; ++k)                                              \
        widen16(in + p + 16 * k, out + written + 16 * k);                      \
      written += 64;                                                           \
      continue;                                                                \
    }                                                                          \
    if (!decodeMixed || c.bad != 0) break;                                     \
    if (isMisplaced(c, carry)) return {p, written, true};                      \
    const std::uint64_t ends =                                                 \
        ~c.cont >> 1 | std::uint64_t{(in[p + 64] & 0xC0) != 0x80} << 63;       \
    for (int k = 0; k < 4; ++k)                                                \
      written += decode16Avx512(                                               \
          in + p + 16 * k,                                                     \
          static_cast<std::uint32_t>(ends >> 16 * k & 0xFFFF), out + written); \
  }                                                                            \
  /* The plain loop takes up a sequence left open by the last block, */        \
  /* and fails the call if it is broken.                              */       \
  return { sequenceStart(in, p, carry), written, false }

DecodeProgress decodeSse2(const unsigned char* in, std::size_t size,
                          std::size_t p, wchar_t* out) {
  TQBASE_DECODE_LOOP(classifySse2, widen16Sse2, false);
}

__attribute__((target("avx2"))) DecodeProgress decodeAvx2(
    const unsigned char* in, std::size_t size, std::size_t p, wchar_t* out) {
  TQBASE_DECODE_LOOP(classifyAvx2, widen16Avx2, false);
}

__attribute__((target("avx512f,avx512bw,popcnt"))) DecodeProgress decodeAvx512(
    const unsigned char* in, std::size_t size, std::size_t p, wchar_t* out) {
  TQBASE_DECODE_LOOP(classifyAvx512, widen16Avx512, true);
}

#undef TQBASE_DECODE_LOOP

// Shuffles that pack 4 lanes of 1 to 3 bytes each, keyed by the lanes above
// 0x7F (low 4 bits) and above 0x7FF (high 4 bits).
struct EncodeShuffles {
  unsigned char masks[256][16];
  unsigned char lengths[256];
};

constexpr EncodeShuffles makeEncodeShuffles() {
  EncodeShuffles table{};
  for (int key = 0; key < 256; ++key) {
    int length = 0;
    for (int lane = 0; lane < 4; ++lane) {
      const int bytes = 1 + (key >> lane & 1) + (key >> (lane + 4) & 1);
      for (int b = 0; b < bytes; ++b)
        table.masks[key][length++] = static_cast<unsigned char>(lane * 4 + b);
    }
    table.lengths[key] = static_cast<unsigned char>(length);
    while (length < 16) table.masks[key][length++] = 0x80;
  }
  return table;
}

constexpr EncodeShuffles kEncodeShuffles = makeEncodeShuffles();

__attribute__((target("avx2"))) std::size_t encodeAvx2(const wchar_t* in,
                                                       std::size_t size,
                                                       unsigned char* out,
                                                       std::size_t& written) {
  std::size_t i = 0;
  unsigned char* const start = out;
  const __m256i above16 = _mm256_set1_epi32(static_cast<int>(0xFFFF0000));
  const __m256i low6 = _mm256_set1_epi32(0x3F);
  const __m256i notAscii = _mm256_set1_epi32(~0x7F);
  for (; size - i >= 8; i += 8) {
    const __m256i u =
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i));
    if (!_mm256_testz_si256(u, above16)) break;  // 4-byte forms: plain loop
    if (size - i >= 16) {
      // ASCII 16 at a time: pack to 16 then 8 bits, then put the 4-byte
      // groups back in order (the packs work within 128-bit halves).
      const __m256i v =
          _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i + 8));
      if (_mm256_testz_si256(_mm256_or_si256(u, v), notAscii)) {
        const __m256i words = _mm256_packus_epi32(u, v);
        const __m256i bytes = _mm256_permutevar8x32_epi32(
            _mm256_packus_epi16(words, words),
            _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                         _mm256_castsi256_si128(bytes));
        out += 16;
        i += 8;  // and 8 more by the loop
        continue;
      }
    }
    const __m256i over7F = _mm256_cmpgt_epi32(u, _mm256_set1_epi32(0x7F));
    const __m256i over7FF = _mm256_cmpgt_epi32(u, _mm256_set1_epi32(0x7FF));
    const __m256i last =
        _mm256_or_si256(_mm256_and_si256(u, low6), _mm256_set1_epi32(0x80));
    const __m256i middle =
        _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi32(u, 6), low6),
                        _mm256_set1_epi32(0x80));
    const __m256i two = _mm256_or_si256(
        _mm256_or_si256(_mm256_srli_epi32(u, 6), _mm256_set1_epi32(0xC0)),
        _mm256_slli_epi32(last, 8));
    const __m256i three = _mm256_or_si256(
        _mm256_or_si256(_mm256_srli_epi32(u, 12), _mm256_set1_epi32(0xE0)),
        _mm256_or_si256(_mm256_slli_epi32(middle, 8),
                        _mm256_slli_epi32(last, 16)));
    const __m256i bytes =
        _mm256_blendv_epi8(_mm256_blendv_epi8(u, two, over7F), three, over7FF);
    const unsigned small =
        static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(over7F)));
    const unsigned large =
        static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(over7FF)));
    const unsigned keyLow = (small & 0xF) | (large & 0xF) << 4;
    const unsigned keyHigh = small >> 4 | (large >> 4) << 4;
    _mm_storeu_si128(
        reinterpret_cast<__m128i*>(out),
        _mm_shuffle_epi8(_mm256_castsi256_si128(bytes),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(
                             kEncodeShuffles.masks[keyLow]))));
    out += kEncodeShuffles.lengths[keyLow];
    _mm_storeu_si128(
        reinterpret_cast<__m128i*>(out),
        _mm_shuffle_epi8(_mm256_extracti128_si256(bytes, 1),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(
                             kEncodeShuffles.masks[keyHigh]))));
    out += kEncodeShuffles.lengths[keyHigh];
  }
  written = static_cast<std::size_t>(out - start);
  return i;
}

// ASCII 64 elements at a time; any other stretch of 64 goes to the AVX2
// form.
__attribute__((target("avx512f,avx512bw"))) std::size_t encodeAvx512(
    const wchar_t* in, std::size_t size, unsigned char* out,
    std::size_t& written) {
  std::size_t i = 0, added = 0;
  unsigned char* const start = out;
  while (size - i >= 64) {
    const __m512i a = _mm512_loadu_si512(in + i),
                  b = _mm512_loadu_si512(in + i + 16),
                  c = _mm512_loadu_si512(in + i + 32),
                  d = _mm512_loadu_si512(in + i + 48);
    const __m512i any =
        _mm512_or_si512(_mm512_or_si512(a, b), _mm512_or_si512(c, d));
    if (_mm512_test_epi32_mask(any, _mm512_set1_epi32(~0x7F)) != 0) {
      const std::size_t done = encodeAvx2(in + i, 64, out, added);
      i += done;
      out += added;
      if (done < 64) break;  // a 4-byte form: the plain loop's
      continue;
    }
    const __m512i parts[] = {a, b, c, d};
    for (int k = 0; k < 4; ++k)
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16 * k),
                       _mm512_maskz_cvtepi32_epi8(kAll16, parts[k]));
    out += 64;
    i += 64;
  }
  if (size - i < 64) {
    i += encodeAvx2(in + i, size - i, out, added);
    out += added;
  }
  written = static_cast<std::size_t>(out - start);
  return i;
}

// 16 elements below 0x80 to bytes, or false.
bool narrow16Sse2(const wchar_t* in, unsigned char* out) {
  const auto* from = reinterpret_cast<const __m128i*>(in);
  const __m128i a = _mm_loadu_si128(from), b = _mm_loadu_si128(from + 1),
                c = _mm_loadu_si128(from + 2), d = _mm_loadu_si128(from + 3);
  const __m128i any = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
  const __m128i above = _mm_andnot_si128(_mm_set1_epi32(0x7F), any);
  if (_mm_movemask_epi8(_mm_cmpeq_epi32(above, _mm_setzero_si128())) != 0xFFFF)
    return false;
  _mm_storeu_si128(
      reinterpret_cast<__m128i*>(out),
      _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d)));
  return true;
}

std::size_t encodeSse2(const wchar_t* in, std::size_t size, unsigned char* out,
                       std::size_t& written) {
  std::size_t i = 0;
  for (; size - i >= 16 && narrow16Sse2(in + i, out + i); i += 16) {
  }
  written = i;
  return i;
}

// Sums the extra bytes (1 above 0x7F, 2 above 0x7FF) of 8 elements at a time
// while all lie below 0x10000.
__attribute__((target("avx2"))) std::size_t lengthAvx2(const wchar_t* in,
                                                       std::size_t size,
                                                       std::size_t& done) {
  std::size_t i = 0;
  __m256i extra = _mm256_setzero_si256();
  const __m256i above16 = _mm256_set1_epi32(static_cast<int>(0xFFFF0000));
  for (; size - i >= 8; i += 8) {
    const __m256i u =
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i));
    if (!_mm256_testz_si256(u, above16)) break;
    extra =
        _mm256_sub_epi32(extra, _mm256_cmpgt_epi32(u, _mm256_set1_epi32(0x7F)));
    extra = _mm256_sub_epi32(extra,
                             _mm256_cmpgt_epi32(u, _mm256_set1_epi32(0x7FF)));
  }
  alignas(32) std::uint32_t lanes[8];
  _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), extra);
  std::size_t length = i;
  for (const std::uint32_t lane : lanes) length += lane;
  done = i;
  return length;
}

// Counts of bytes in a range: (b - low) mod 256 below span.
std::size_t countBytesSse2(const unsigned char* in, std::size_t size,
                           unsigned char low, unsigned char span,
                           std::size_t& done) {
  const __m128i lowBytes = _mm_set1_epi8(static_cast<char>(low));
  const __m128i top = _mm_set1_epi8(static_cast<char>(span - 1));
  std::size_t i = 0, count = 0;
  for (; size - i >= 16; i += 16) {
    const __m128i x = _mm_sub_epi8(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i)), lowBytes);
    const __m128i inside = _mm_cmpeq_epi8(_mm_min_epu8(x, top), x);
    count += static_cast<std::size_t>(
        __builtin_popcount(static_cast<unsigned>(_mm_movemask_epi8(inside))));
  }
  done = i;
  return count;
}

__attribute__((target("avx512f,avx512bw,popcnt"))) std::size_t countBytesAvx512(
    const unsigned char* in, std::size_t size, unsigned char low,
    unsigned char span, std::size_t& done) {
  const __m512i lowBytes = _mm512_set1_epi8(static_cast<char>(low));
  const __m512i spanBytes = _mm512_set1_epi8(static_cast<char>(span));
  std::size_t i = 0, count = 0;
  for (; size - i >= 64; i += 64)
    count += static_cast<std::size_t>(_mm_popcnt_u64(_mm512_cmplt_epu8_mask(
        _mm512_sub_epi8(_mm512_loadu_si512(in + i), lowBytes), spanBytes)));
  done = i;
  return count;
}

__attribute__((target("avx2"))) std::size_t countWideAvx2(const wchar_t* in,
                                                          std::size_t size,
                                                          std::size_t& done) {
  const __m256i notAscii = _mm256_set1_epi32(~0x7F);
  __m256i ascii = _mm256_setzero_si256();
  std::size_t i = 0;
  for (; size - i >= 8; i += 8)
    ascii = _mm256_sub_epi32(
        ascii,
        _mm256_cmpeq_epi32(
            _mm256_and_si256(
                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + i)),
                notAscii),
            _mm256_setzero_si256()));
  alignas(32) std::uint32_t lanes[8];
  _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), ascii);
  std::size_t count = i;
  for (const std::uint32_t lane : lanes) count -= lane;
  done = i;
  return count;
}

// GBK: only ASCII blocks, which widen like UTF-8's.
DecodeProgress decodeGbkAscii(const unsigned char* in, std::size_t size,
                              std::size_t p, wchar_t* out, Isa isa) {
  std::size_t written = 0;
  for (; size - p >= 16; p += 16, written += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + p));
    if (_mm_movemask_epi8(v) != 0) break;
    if (isa == Isa::avx2)
      widen16Avx2(in + p, out + written);
    else
      widen16Sse2(in + p, out + written);
  }
  return {p, written, false};
}

// Which bytes of 64 are lead bytes, given whether in[0] is the trail of a
// lead before. Bytes 0x81-0xFE ("lead range") are lead bytes at a character
// start and trail bytes behind a lead byte; every other byte starts a
// character. So in each run of lead-range bytes the leads alternate from the
// run's first byte, and adding a run's first bit to the run clears it:
// that finds all runs that begin at an even place at once.
std::uint64_t gbkLeads(std::uint64_t leadRange, std::uint64_t trailCarry) {
  constexpr std::uint64_t kEven = 0x5555555555555555ULL;
  const std::uint64_t range = leadRange & ~trailCarry;
  const std::uint64_t runStarts = range & ~(range << 1);
  const std::uint64_t evenRuns = range & ~(range + (runStarts & kEven));
  return (evenRuns & kEven) | (range & ~evenRuns & ~kEven);
}

// 64 bytes at a time: finds the lead bytes, checks the trail bytes, looks
// the pairs up with a gather, and packs one element per character start.
// 0x80 and 0xFF, which stand alone, are left to the plain loop. Needs the
// byte behind each block, the trail of a lead that ends it.
__attribute__((target("avx512f,avx512bw,popcnt"))) DecodeProgress
decodeGbkAvx512(const unsigned char* in, std::size_t size, std::size_t p,
                wchar_t* out) {
  std::size_t written = 0;
  std::uint64_t carry = 0;  // in[p] is the trail of in[p - 1]
  const auto* table = reinterpret_cast<const int*>(kCp936PairUnits);
  for (; size - p >= 65; p += 64) {
    const __m512i bytes = _mm512_loadu_si512(in + p);
    const std::uint64_t high = _mm512_movepi8_mask(bytes);
    if ((high | carry) == 0) {
      for (int k = 0; k < 4; ++k)
        widen16Avx512(in + p + 16 * k, out + written + 16 * k);
      written += 64;
      continue;
    }
    const std::uint64_t leads = gbkLeads(
        _mm512_cmplt_epu8_mask(_mm512_sub_epi8(bytes, _mm512_set1_epi8(-0x7F)),
                               _mm512_set1_epi8(0x7E)),
        carry);
    const std::uint64_t trails = leads << 1 | carry;
    if ((trails & _mm512_cmplt_epu8_mask(bytes, _mm512_set1_epi8(0x40))) != 0)
      return {p, written, true};
    const std::uint64_t starts = ~trails;
    const std::uint64_t alone =
        _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8(-0x80)) |
        _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8(-1));
    if ((alone & starts) != 0) break;
    for (int k = 0; k < 4; ++k) {
      const auto leadLanes = static_cast<__mmask16>(leads >> 16 * k);
      const auto startLanes = static_cast<__mmask16>(starts >> 16 * k);
      const __m512i first = _mm512_maskz_cvtepu8_epi32(
          kAll16,
          _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + p + 16 * k)));
      const __m512i second = _mm512_maskz_cvtepu8_epi32(
          kAll16, _mm_loadu_si128(
                      reinterpret_cast<const __m128i*>(in + p + 16 * k + 1)));
      const __m512i row = _mm512_sub_epi32(first, _mm512_set1_epi32(0x81));
      const __m512i index = _mm512_add_epi32(
          _mm512_add_epi32(_mm512_maskz_slli_epi32(kAll16, row, 7),
                           _mm512_maskz_slli_epi32(kAll16, row, 6)),
          _mm512_sub_epi32(second, _mm512_set1_epi32(0x40)));
      __m512i units =
          _mm512_mask_i32gather_epi32(first, leadLanes, index, table, 2);
      units = _mm512_and_si512(units, _mm512_set1_epi32(0xFFFF));
      if (_mm512_mask_cmpeq_epi32_mask(leadLanes, units,
                                       _mm512_setzero_si512()) != 0)
        return {p, written, true};
      _mm512_storeu_si512(out + written,
                          _mm512_maskz_compress_epi32(startLanes, units));
      written += static_cast<std::size_t>(_mm_popcnt_u32(startLanes));
    }
    carry = leads >> 63;
  }
  // A lead that ended the last block was looked up with the byte here.
  if (carry != 0) {
    if (in[p] < 0x40) return {p, written, true};
    ++p;
  }
  return {p, written, false};
}

// Per 8 lanes of 16 bits: the shuffle that keeps 1 byte of a lane whose bit
// is clear and 2 of a lane whose bit is set.
struct GbkShuffles {
  unsigned char masks[256][16];
  unsigned char lengths[256];
};

constexpr GbkShuffles makeGbkShuffles() {
  GbkShuffles table{};
  for (int key = 0; key < 256; ++key) {
    int length = 0;
    for (int lane = 0; lane < 8; ++lane) {
      table.masks[key][length++] = static_cast<unsigned char>(2 * lane);
      if (key >> lane & 1)
        table.masks[key][length++] = static_cast<unsigned char>(2 * lane + 1);
    }
    table.lengths[key] = static_cast<unsigned char>(length);
    while (length < 16) table.masks[key][length++] = 0x80;
  }
  return table;
}

constexpr GbkShuffles kGbkShuffles = makeGbkShuffles();

// 16 elements at a time: a gather for each of the two table levels, then
// the codes packed, lead byte first. A block with an element that has no
// code is left to the plain loop, which fails there.
__attribute__((target("avx512f,avx512bw"))) std::size_t encodeGbkAvx512(
    const wchar_t* in, std::size_t size, unsigned char* out,
    std::size_t& written) {
  std::size_t i = 0;
  unsigned char* const start = out;
  const auto* pages = reinterpret_cast<const int*>(kCp936CodePageOfBlock);
  const auto* codes = reinterpret_cast<const int*>(kCp936Codes);
  for (; size - i >= 16; i += 16) {
    const __m512i u = _mm512_loadu_si512(in + i);
    if (_mm512_test_epi32_mask(u, _mm512_set1_epi32(~0x7F)) == 0) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                       _mm512_maskz_cvtepi32_epi8(kAll16, u));
      out += 16;
      continue;
    }
    if (_mm512_test_epi32_mask(u, _mm512_set1_epi32(~0xFFFF)) != 0) break;
    const __m512i page =
        _mm512_and_si512(_mm512_mask_i32gather_epi32(
                             _mm512_setzero_si512(), kAll16,
                             _mm512_maskz_srli_epi32(kAll16, u, 8), pages, 1),
                         _mm512_set1_epi32(0xFF));
    const __m512i index =
        _mm512_or_si512(_mm512_maskz_slli_epi32(kAll16, page, 8),
                        _mm512_and_si512(u, _mm512_set1_epi32(0xFF)));
    const __m512i code =
        _mm512_and_si512(_mm512_mask_i32gather_epi32(_mm512_setzero_si512(),
                                                     kAll16, index, codes, 2),
                         _mm512_set1_epi32(0xFFFF));
    if ((_mm512_testn_epi32_mask(code, code) & _mm512_test_epi32_mask(u, u)) !=
        0)
      break;
    const __mmask16 two =
        _mm512_cmpgt_epu32_mask(code, _mm512_set1_epi32(0xFF));
    const __m512i swapped = _mm512_or_si512(
        _mm512_maskz_srli_epi32(kAll16, code, 8),
        _mm512_and_si512(_mm512_maskz_slli_epi32(kAll16, code, 8),
                         _mm512_set1_epi32(0xFF00)));
    const __m256i words = _mm512_maskz_cvtepi32_epi16(
        kAll16, _mm512_mask_mov_epi32(code, two, swapped));
    const unsigned keyLow = two & 0xFF, keyHigh = two >> 8;
    _mm_storeu_si128(
        reinterpret_cast<__m128i*>(out),
        _mm_shuffle_epi8(_mm256_castsi256_si128(words),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(
                             kGbkShuffles.masks[keyLow]))));
    out += kGbkShuffles.lengths[keyLow];
    _mm_storeu_si128(
        reinterpret_cast<__m128i*>(out),
        _mm_shuffle_epi8(_mm256_extracti128_si256(words, 1),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(
                             kGbkShuffles.masks[keyHigh]))));
    out += kGbkShuffles.lengths[keyHigh];
  }
  written = static_cast<std::size_t>(out - start);
  return i;
}

}  // namespace

bool scanUtf8X86(const unsigned char* in, std::size_t size, Isa isa,
                 std::size_t& resume) {
  if (isa == Isa::avx512) return scanAvx512(in, size, resume);
  if (isa == Isa::avx2) return scanAvx2(in, size, resume);
  return scanSse2(in, size, resume);
}

DecodeProgress decodeUtf8X86(const unsigned char* in, std::size_t size,
                             std::size_t p, wchar_t* out, Isa isa) {
  if (isa == Isa::avx512) return decodeAvx512(in, size, p, out);
  if (isa == Isa::avx2) return decodeAvx2(in, size, p, out);
  return decodeSse2(in, size, p, out);
}

std::size_t utf8LengthX86(const wchar_t* in, std::size_t size, Isa isa,
                          std::size_t& done) {
  if (isa == Isa::sse2) {
    done = 0;
    return 0;
  }
  return lengthAvx2(in, size, done);
}

std::size_t encodeUtf8X86(const wchar_t* in, std::size_t size,
                          unsigned char* out, Isa isa, std::size_t& written) {
  if (isa == Isa::avx512) return encodeAvx512(in, size, out, written);
  if (isa == Isa::avx2) return encodeAvx2(in, size, out, written);
  return encodeSse2(in, size, out, written);
}

std::size_t countBytesInX86(const unsigned char* in, std::size_t size,
                            unsigned char low, unsigned char span, Isa isa,
                            std::size_t& done) {
  if (isa == Isa::avx512) return countBytesAvx512(in, size, low, span, done);
  return countBytesSse2(in, size, low, span, done);
}

std::size_t countWideX86(const wchar_t* in, std::size_t size, Isa isa,
                         std::size_t& done) {
  if (isa == Isa::sse2) {
    done = 0;
    return 0;
  }
  return countWideAvx2(in, size, done);
}

DecodeProgress decodeCp936X86(const unsigned char* in, std::size_t size,
                              std::size_t p, wchar_t* out, Isa isa) {
  if (isa == Isa::avx512) return decodeGbkAvx512(in, size, p, out);
  return decodeGbkAscii(in, size, p, out, isa);
}

std::size_t encodeCp936X86(const wchar_t* in, std::size_t size,
                           unsigned char* out, Isa isa, std::size_t& written) {
  if (isa == Isa::avx512) return encodeGbkAvx512(in, size, out, written);
  return encodeSse2(in, size, out, written);
}

}  // namespace detail
}  // namespace TQBase

#else  // Stubs: every caller checks for Isa::scalar first.

namespace TQBase {
namespace detail {

bool scanUtf8X86(const unsigned char*, std::size_t, Isa, std::size_t& resume) {
  resume = 0;
  return true;
}
DecodeProgress decodeUtf8X86(const unsigned char*, std::size_t, std::size_t p,
                             wchar_t*, Isa) {
  return {p, 0, false};
}
std::size_t utf8LengthX86(const wchar_t*, std::size_t, Isa, std::size_t& done) {
  done = 0;
  return 0;
}
std::size_t encodeUtf8X86(const wchar_t*, std::size_t, unsigned char*, Isa,
                          std::size_t& written) {
  written = 0;
  return 0;
}
DecodeProgress decodeCp936X86(const unsigned char*, std::size_t, std::size_t p,
                              wchar_t*, Isa) {
  return {p, 0, false};
}
std::size_t encodeCp936X86(const wchar_t*, std::size_t, unsigned char*, Isa,
                           std::size_t& written) {
  written = 0;
  return 0;
}
std::size_t countBytesInX86(const unsigned char*, std::size_t, unsigned char,
                            unsigned char, Isa, std::size_t& done) {
  done = 0;
  return 0;
}
std::size_t countWideX86(const wchar_t*, std::size_t, Isa, std::size_t& done) {
  done = 0;
  return 0;
}

}  // namespace detail
}  // namespace TQBase

#endif
