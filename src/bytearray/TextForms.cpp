#include "TQBase/TQByteArray.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <new>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "bytearray/ByteArrayData.h"
#include "bytearray/TextFormsInternal.h"
#include "codec/Base64Blocks.h"
#include "frame/ByteTables.h"

namespace TQBase {
namespace detail {

int base64EncodedSize(int n) {
  return checkedSize((static_cast<long long>(n) + 2) / 3 * 4);
}

int base64DecodedBound(int n) {
  return static_cast<int>(static_cast<long long>(n) * 3 / 4);
}

int hexEncodedSize(int n) {
  const long long size = static_cast<long long>(n) * 2;
  return size > 0x7FFFFFFF ? 0 : static_cast<int>(size);
}

int percentEncodedBound(int n) {
  return checkedSize(static_cast<long long>(n) * 3);
}

}  // namespace detail

namespace {

// 6-bit value of each byte in an alphabet, -1 for a byte that is skipped
// ("=" among them: padding carries no bits here).
constexpr std::array<signed char, 256> makeBase64Values(const char* alphabet) {
  std::array<signed char, 256> values{};
  for (auto& value : values) value = -1;
  for (int i = 0; i < 64; ++i)
    values[static_cast<unsigned char>(alphabet[i])] =
        static_cast<signed char>(i);
  return values;
}
constexpr auto kStandardValues = makeBase64Values(detail::kBase64Alphabet);
constexpr auto kUrlValues = makeBase64Values(detail::kBase64UrlAlphabet);

// Four characters at once: one table per place of a group, the value
// already shifted to its place in 24 bits. A skipped byte sets bit 24, so
// one test of the four OR-ed lookups tells whether all of them carry bits.
constexpr std::uint32_t kSkippedBit = 1u << 24;
struct Base64PlaceTables {
  std::uint32_t place[4][256];
};
constexpr Base64PlaceTables makePlaceTables(
    const std::array<signed char, 256>& values) {
  Base64PlaceTables tables{};
  for (int p = 0; p < 4; ++p) {
    for (int c = 0; c < 256; ++c) {
      tables.place[p][c] = values[c] < 0 ? kSkippedBit
                                         : static_cast<std::uint32_t>(values[c])
                                               << (18 - 6 * p);
    }
  }
  return tables;
}
constexpr Base64PlaceTables kStandardPlaces = makePlaceTables(kStandardValues);
constexpr Base64PlaceTables kUrlPlaces = makePlaceTables(kUrlValues);

// fromHex's digit arithmetic, taken modulo 256 since only the low 8 bits of
// (high << 4) + low survive. There is no validation: every byte counts, and
// bytes from 0x80 up fall in the c - 0x57 branch.
constexpr std::array<unsigned char, 256> makeHexCounts() {
  std::array<unsigned char, 256> counts{};
  for (unsigned int c = 0; c < 256; ++c) {
    const unsigned int count = c >= 0x61   ? c - 0x57
                               : c >= 0x41 ? c - 0x37
                                           : c - 0x30;
    counts[c] = static_cast<unsigned char>(count & 0xFFu);
  }
  return counts;
}
constexpr auto kHexCounts = makeHexCounts();

// What percent encoding writes for each byte: the byte itself (length 1)
// for the 67 that stay, the RFC 3986 unreserved characters and "/", else
// "%" and two upper-case digits. Four bytes are always stored and `length`
// of them kept, so the walk has no branch on the byte's class.
struct PercentCode {
  char text[4];
  int length;
};
constexpr std::array<PercentCode, 256> makePercentCodes() {
  std::array<PercentCode, 256> codes{};
  for (unsigned int c = 0; c < 256; ++c) {
    const bool keep = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                      (c >= 'a' && c <= 'z') || c == '-' || c == '.' ||
                      c == '/' || c == '_' || c == '~';
    PercentCode& code = codes[c];
    if (keep) {
      code.text[0] = static_cast<char>(c);
      code.length = 1;
    } else {
      code.text[0] = '%';
      code.text[1] = detail::kHexDigitsUpper[c >> 4];
      code.text[2] = detail::kHexDigitsUpper[c & 0x0F];
      code.length = 3;
    }
  }
  return codes;
}
constexpr auto kPercentCodes = makePercentCodes();

const unsigned char* bytesOf(const TQByteArray& array) {
  return reinterpret_cast<const unsigned char*>(array.constData());
}

// The first byte percent encoding escapes, or n if none.
int firstEscaped(const unsigned char* in, int n) {
  int i = 0;
  while (n - i >= 4 &&
         (kPercentCodes[in[i]].length | kPercentCodes[in[i + 1]].length |
          kPercentCodes[in[i + 2]].length | kPercentCodes[in[i + 3]].length) ==
             1) {
    i += 4;
  }
  while (i < n && kPercentCodes[in[i]].length == 1) ++i;
  return i;
}

std::uint64_t loadBigEndian64(const unsigned char* in) {
  std::uint64_t bits = 0;
  for (int i = 0; i < 8; ++i) bits = (bits << 8) | in[i];
  return bits;
}

}  // namespace

namespace detail {

void decodeHexPlain(const unsigned char* in, int pairs, unsigned char* out) {
  for (int i = 0; i < pairs; ++i) {
    const unsigned int high = kHexCounts[in[2 * i]];
    const unsigned int low = kHexCounts[in[2 * i + 1]];
    out[i] = static_cast<unsigned char>(((high << 4) + low) & 0xFFu);
  }
}

#if defined(__SSE2__)
namespace {

// The counts of 16 characters: c - 0x30, less 7 from 0x41 up and 0x20 more
// from 0x61 up, all modulo 256. Bytes compare unsigned by flipping bit 7.
inline __m128i hexCounts16(__m128i chars) {
  const __m128i flipped = _mm_xor_si128(chars, _mm_set1_epi8(-128));
  const __m128i from41 = _mm_cmpgt_epi8(flipped, _mm_set1_epi8(0x40 - 128));
  const __m128i from61 = _mm_cmpgt_epi8(flipped, _mm_set1_epi8(0x60 - 128));
  __m128i counts = _mm_sub_epi8(chars, _mm_set1_epi8(0x30));
  counts = _mm_sub_epi8(counts, _mm_and_si128(from41, _mm_set1_epi8(7)));
  return _mm_sub_epi8(counts, _mm_and_si128(from61, _mm_set1_epi8(0x20)));
}

// 16 counts as 8 pairs, the first of each pair the high digit: one 16-bit
// lane per output byte, (high << 4) + low in its low 8 bits.
inline __m128i hexPairs8(__m128i counts) {
  const __m128i low8 = _mm_set1_epi16(0x00FF);
  const __m128i high = _mm_slli_epi16(_mm_and_si128(counts, low8), 4);
  const __m128i low = _mm_srli_epi16(counts, 8);
  return _mm_and_si128(_mm_add_epi16(high, low), low8);
}

}  // namespace

void decodeHexSse2(const unsigned char* in, int pairs, unsigned char* out) {
  int i = 0;
  for (; pairs - i >= 16; i += 16) {
    const __m128i first = _mm_loadu_si128(
        reinterpret_cast<const __m128i*>(in + 2 * static_cast<long>(i)));
    const __m128i second = _mm_loadu_si128(
        reinterpret_cast<const __m128i*>(in + 2 * static_cast<long>(i) + 16));
    const __m128i bytes = _mm_packus_epi16(hexPairs8(hexCounts16(first)),
                                           hexPairs8(hexCounts16(second)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), bytes);
  }
  decodeHexPlain(in + 2 * static_cast<long>(i), pairs - i, out + i);
}
#endif

// Takes in one 6-bit value; a whole byte, once there, goes out.
inline void pushSextet(int value, std::uint32_t& accumulator, int& bits,
                       unsigned char* out, int& stored) {
  accumulator = (accumulator << 6) | static_cast<std::uint32_t>(value);
  bits += 6;
  if (bits >= 8) {
    bits -= 8;
    out[stored++] = static_cast<unsigned char>(accumulator >> bits);
    accumulator &= (1u << bits) - 1u;
  }
}

int decodeBase64Plain(const unsigned char* in, int n, const signed char* values,
                      unsigned char* out) {
  std::uint32_t accumulator = 0;
  int bits = 0;
  int stored = 0;
  for (int i = 0; i < n; ++i) {
    const int value = values[in[i]];
    if (value < 0) continue;
    pushSextet(value, accumulator, bits, out, stored);
  }
  // Bits left over (2, 4 or 6) are dropped. At most 6 of every 8 bits of
  // input become output, so `stored` never passes (3 * n) / 4.
  return stored;
}

int decodeBase64Fast(const unsigned char* in, int n, bool url,
                     unsigned char* out) {
  const Base64PlaceTables& tables = url ? kUrlPlaces : kStandardPlaces;
  const signed char* values = url ? kUrlValues.data() : kStandardValues.data();
  const Base64Simd simd = bestBase64Simd();
  std::uint32_t accumulator = 0;  // holds `bits` bits, fewer than 8
  int bits = 0;
  int stored = 0;
  int i = 0;
  bool tryVector = true;
  while (i < n) {
    // Clean blocks on a byte boundary go to the vector kernel. It stops at
    // any byte outside the alphabet; once a group decodes cleanly behind
    // that byte it is tried again. The room left is at least 3/4 of the
    // characters left, less one.
    if (tryVector && bits == 0) {
      tryVector = false;
      const std::size_t done = decodeBase64Blocks(
          simd, in + i, static_cast<std::size_t>(n - i), out + stored,
          static_cast<std::size_t>(base64DecodedBound(n) - stored), url);
      i += static_cast<int>(done);
      stored += static_cast<int>(done / 4 * 3);
      if (i == n) break;
    }
    if (n - i >= 4) {
      const std::uint32_t group =
          tables.place[0][in[i]] | tables.place[1][in[i + 1]] |
          tables.place[2][in[i + 2]] | tables.place[3][in[i + 3]];
      if (group < kSkippedBit) {
        // 24 more bits make three whole bytes; the bits held before stay
        // below them, so `bits` is unchanged.
        accumulator = (accumulator << 24) | group;
        out[stored] = static_cast<unsigned char>(accumulator >> (bits + 16));
        out[stored + 1] = static_cast<unsigned char>(accumulator >> (bits + 8));
        out[stored + 2] = static_cast<unsigned char>(accumulator >> bits);
        stored += 3;
        accumulator &= (1u << bits) - 1u;
        i += 4;
        tryVector = true;
        continue;
      }
    }
    const int value = values[in[i++]];
    if (value < 0) continue;
    pushSextet(value, accumulator, bits, out, stored);
  }
  return stored;
}

}  // namespace detail

TQByteArray TQByteArray::toBase64(int options) const {
  TQByteArray result;
  const int n = size();
  if (n == 0) return result;
  const auto& pairs =
      (options & 1) != 0 ? detail::kBase64UrlPairs : detail::kBase64Pairs;
  result.resize(detail::base64EncodedSize(n));
  char* out = result.getData();
  const unsigned char* in = bytesOf(*this);
  const unsigned char* const end = in + n;
  const std::size_t vectorDone = detail::encodeBase64Blocks(
      detail::bestBase64Simd(), in, static_cast<std::size_t>(n), out,
      (options & 1) != 0);
  in += vectorDone;
  out += vectorDone / 3 * 4;
  // Six bytes per step from one 8-byte load (the two bytes read beyond are
  // not used).
  while (end - in >= 8) {
    const std::uint64_t bits = loadBigEndian64(in);
    std::memcpy(out, pairs[bits >> 52].chars, 2);
    std::memcpy(out + 2, pairs[(bits >> 40) & 0xFFF].chars, 2);
    std::memcpy(out + 4, pairs[(bits >> 28) & 0xFFF].chars, 2);
    std::memcpy(out + 6, pairs[(bits >> 16) & 0xFFF].chars, 2);
    in += 6;
    out += 8;
  }
  for (; end - in >= 3; in += 3, out += 4) {
    const std::uint32_t bits =
        (std::uint32_t{in[0]} << 16) | (std::uint32_t{in[1]} << 8) | in[2];
    std::memcpy(out, pairs[bits >> 12].chars, 2);
    std::memcpy(out + 2, pairs[bits & 0xFFF].chars, 2);
  }
  if (in != end) {
    // One or two bytes left: zero bits fill the group, "=" the text.
    const bool hasSecond = end - in == 2;
    const std::uint32_t bits = (std::uint32_t{in[0]} << 16) |
                               (hasSecond ? std::uint32_t{in[1]} << 8 : 0u);
    std::memcpy(out, pairs[bits >> 12].chars, 2);
    out[2] = hasSecond ? pairs[bits & 0xFFF].chars[0] : '=';
    out[3] = '=';
  }
  return result;
}

TQByteArray TQByteArray::fromBase64(const TQByteArray& source, int options) {
  TQByteArray result;
  const int n = source.size();
  const int bound = detail::base64DecodedBound(n);
  if (bound == 0) return result;  // fewer than 2 characters carry no byte
  result.resize(bound);
  const int stored = detail::decodeBase64Fast(
      bytesOf(source), n, (options & 1) != 0,
      reinterpret_cast<unsigned char*>(result.getData()));
  result.resize(stored);
  return result;
}

TQByteArray TQByteArray::fromBase64(const TQByteArray& source) {
  return fromBase64(source, 0);
}

TQByteArray TQByteArray::toHex() const {
  TQByteArray result;
  const int n = size();
  const int hexSize = detail::hexEncodedSize(n);
  if (hexSize == 0) return result;  // empty, or too long to double
  result.resize(hexSize);
  char* out = result.getData();
  const unsigned char* in = bytesOf(*this);
  for (int i = 0; i < n; ++i) {
    std::memcpy(out + 2 * static_cast<std::size_t>(i),
                &detail::kHexPairsUpper[2 * in[i]], 2);
  }
  return result;
}

TQByteArray TQByteArray::fromHex(const TQByteArray& source) {
  TQByteArray result;
  const int outSize = source.size() / 2;  // an odd last character is unread
  if (outSize == 0) return result;
  result.resize(outSize);
  auto* out = reinterpret_cast<unsigned char*>(result.getData());
#if defined(__SSE2__)
  detail::decodeHexSse2(bytesOf(source), outSize, out);
#else
  detail::decodeHexPlain(bytesOf(source), outSize, out);
#endif
  return result;
}

TQByteArray TQByteArray::toPercentEncoding() const {
  // One named result on every path, so it is built in the caller's place.
  TQByteArray result;
  const int n = size();
  const unsigned char* in = bytesOf(*this);
  const int first = firstEscaped(in, n);
  if (first == n) {
    // Nothing to escape (or nothing at all): share this record.
    result = *this;
  } else {
    // The one allocation, sized for the worst case so it never grows. The
    // bytes before the first escape go over as they are.
    result.resize(detail::percentEncodedBound(n));
    char* out = result.getData();
    std::memcpy(out, in, static_cast<std::size_t>(first));
    // Every code is stored as four bytes: at most one byte past the last
    // code, which lands on the buffer's terminator place (capacity >= 3n).
    int length = first;
    for (int i = first; i < n; ++i) {
      const PercentCode& code = kPercentCodes[in[i]];
      std::memcpy(out + length, code.text, 4);
      length += code.length;
    }
    result.resize(length);
  }
  return result;
}

}  // namespace TQBase
