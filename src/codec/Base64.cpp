#include "TQBase/TQBase64.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "codec/Base64Blocks.h"
#include "frame/ByteTables.h"

namespace TQBase {

TQBase64& TQBase64::operator=(const TQBase64&) { return *this; }
namespace {

using detail::kBase64Alphabet;

constexpr unsigned char kPadMark = 0xFE;
constexpr unsigned char kInvalidMark = 0xFF;

// Byte -> 6-bit value; "=" -> kPadMark; everything else -> kInvalidMark.
constexpr std::array<unsigned char, 256> makeDecodeTable() {
  std::array<unsigned char, 256> table{};
  for (auto& entry : table) entry = kInvalidMark;
  for (int i = 0; i < 64; ++i) {
    table[static_cast<unsigned char>(kBase64Alphabet[i])] =
        static_cast<unsigned char>(i);
  }
  table['='] = kPadMark;
  return table;
}
constexpr std::array<unsigned char, 256> kDecodeTable = makeDecodeTable();

// Fast decoding: one table per place of a group holding the 6-bit value
// already shifted into its place of the 24-bit result. "=" and invalid bytes
// set bit 24, so one test after OR-ing the four lookups sends any group with
// a mark to the exact slow path.
constexpr std::uint32_t kMarkedBit = 1u << 24;
constexpr std::array<std::uint32_t, 256> makeShiftedTable(int shift) {
  std::array<std::uint32_t, 256> table{};
  for (int c = 0; c < 256; ++c) {
    unsigned char value = kDecodeTable[c];
    table[c] = value >= 64 ? kMarkedBit : std::uint32_t{value} << shift;
  }
  return table;
}
constexpr std::array<std::uint32_t, 256> kDecodePlace0 = makeShiftedTable(18);
constexpr std::array<std::uint32_t, 256> kDecodePlace1 = makeShiftedTable(12);
constexpr std::array<std::uint32_t, 256> kDecodePlace2 = makeShiftedTable(6);
constexpr std::array<std::uint32_t, 256> kDecodePlace3 = makeShiftedTable(0);

// Fast encoding: the two characters of every 12-bit value.
constexpr const auto& kEncodePairs = detail::kBase64Pairs;

// The longest input whose text length fits an int.
constexpr int kMaxEncodeSrcLen = 1610612733;

// 32-bit signed arithmetic that wraps instead of overflowing, so the length
// formulas behave like plain int arithmetic on any input without UB.
int wrapAdd(int a, int b) {
  return static_cast<int>(static_cast<std::uint32_t>(a) +
                          static_cast<std::uint32_t>(b));
}
int wrapMul(int a, int b) {
  return static_cast<int>(static_cast<std::uint32_t>(a) *
                          static_cast<std::uint32_t>(b));
}

inline void encodeTriple(const unsigned char* src, char* dst) {
  const std::uint32_t bits =
      (std::uint32_t{src[0]} << 16) | (std::uint32_t{src[1]} << 8) | src[2];
  std::memcpy(dst, kEncodePairs[bits >> 12].chars, 2);
  std::memcpy(dst + 2, kEncodePairs[bits & 0xFFF].chars, 2);
}

// Decodes one group by the exact rules: the marks take part in the
// arithmetic as values, "=" only suppresses a byte in places 3 and 4.
// Returns the bytes written, or -1 (nothing written) on an invalid byte.
int decodeQuadExact(const char* src, unsigned char* dst) {
  const unsigned a = kDecodeTable[static_cast<unsigned char>(src[0])];
  const unsigned b = kDecodeTable[static_cast<unsigned char>(src[1])];
  const unsigned c = kDecodeTable[static_cast<unsigned char>(src[2])];
  const unsigned d = kDecodeTable[static_cast<unsigned char>(src[3])];
  if (a == kInvalidMark || b == kInvalidMark || c == kInvalidMark ||
      d == kInvalidMark) {
    return -1;
  }
  int written = 0;
  dst[written++] = static_cast<unsigned char>((a << 2) + ((b >> 4) & 3));
  if (c != kPadMark) {
    dst[written++] = static_cast<unsigned char>((b << 4) + ((c >> 2) & 15));
  }
  if (d != kPadMark) {
    dst[written++] = static_cast<unsigned char>((c << 6) + d);
  }
  return written;
}

std::string sizedString(int size) {
  if (size < 0) throw std::length_error("TQBase64: negative length");
  return std::string(static_cast<std::size_t>(size), '\0');
}

}  // namespace

int TQBase64::getEncodeDstLen(int srcLen) {
  return wrapMul(wrapAdd(srcLen, 2) / 3, 4);
}

int TQBase64::getdecodeDstLen(int srcLen) {
  return wrapMul(wrapAdd(srcLen, 3) / 4, 3);
}

int TQBase64::encode(const unsigned char* src, int srcLen, char* dst,
                     int dstLen) {
  // Above kMaxEncodeSrcLen the formula wraps; the true size exceeds any int.
  if (dstLen < getEncodeDstLen(srcLen) || srcLen > kMaxEncodeSrcLen) return -1;
  if (srcLen <= 0) return 0;

  const unsigned char* in = src;
  const unsigned char* const end = src + srcLen;
  char* out = dst;
  // The vector kernel leaves at least 4 bytes, so the tail below runs.
  const std::size_t vectorDone =
      detail::encodeBase64Blocks(detail::bestBase64Simd(), in,
                                 static_cast<std::size_t>(srcLen), out, false);
  in += vectorDone;
  out += vectorDone / 3 * 4;
  // Six bytes per step from one 8-byte big-endian load (the two bytes read
  // beyond are not used), while at least a whole triple stays for the tail.
  while (end - in >= 8) {
    std::uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) bits = (bits << 8) | in[i];
    std::memcpy(out, kEncodePairs[bits >> 52].chars, 2);
    std::memcpy(out + 2, kEncodePairs[(bits >> 40) & 0xFFF].chars, 2);
    std::memcpy(out + 4, kEncodePairs[(bits >> 28) & 0xFFF].chars, 2);
    std::memcpy(out + 6, kEncodePairs[(bits >> 16) & 0xFFF].chars, 2);
    in += 6;
    out += 8;
  }
  while (end - in > 3) {
    encodeTriple(in, out);
    in += 3;
    out += 4;
  }
  // One to three bytes left: zero-fill the block and pad with "=".
  const auto left = static_cast<int>(end - in);
  const unsigned char block[3] = {
      in[0], static_cast<unsigned char>(left > 1 ? in[1] : 0),
      static_cast<unsigned char>(left > 2 ? in[2] : 0)};
  encodeTriple(block, out);
  if (left < 3) out[3] = '=';
  if (left < 2) out[2] = '=';
  out += 4;
  return static_cast<int>(out - dst);
}

bool TQBase64::encode(const unsigned char* src, int srcLen, std::string& dst) {
  dst.clear();
  const int size = getEncodeDstLen(srcLen);
  // Sizes made from a negative length are refused as the standard library
  // refuses them, even where the wrapped formula happens to be positive.
  dst = sizedString(srcLen < 0 && size != 0 ? -1 : size);
  return encode(src, srcLen, &dst[0], size) >= 0;
}

bool TQBase64::encode(const std::string& src, std::string& dst) {
  return encode(reinterpret_cast<const unsigned char*>(src.data()),
                static_cast<int>(src.size()), dst);
}

int TQBase64::decode(const char* src, int srcLen, unsigned char* dst,
                     int dstLen) {
  // For lengths where the int formula wraps, compare with the exact bound.
  const long long bound =
      srcLen > 2147483644 ? (srcLen / 4 + 1) * 3LL : getdecodeDstLen(srcLen);
  if (dstLen < bound) return -1;
  if (srcLen <= 0) {
    if (srcLen % 4 != 0) throw std::length_error("TQBase64: negative length");
    return 0;
  }

  const char* in = src;
  const char* const fullEnd = src + (srcLen & ~3);
  unsigned char* out = dst;
  // Clean blocks go to the vector kernel; it stops at any other byte, and
  // is tried again once a group has decoded cleanly behind it.
  const detail::Base64Simd simd = detail::bestBase64Simd();
  bool tryVector = true;
  while (in != fullEnd) {
    if (tryVector) {
      tryVector = false;
      const std::size_t done = detail::decodeBase64Blocks(
          simd, reinterpret_cast<const unsigned char*>(in),
          static_cast<std::size_t>(fullEnd - in), out,
          static_cast<std::size_t>(dstLen - (out - dst)), false);
      in += done;
      out += done / 4 * 3;
      if (in == fullEnd) break;
    }
    const std::uint32_t bits =
        kDecodePlace0[static_cast<unsigned char>(in[0])] |
        kDecodePlace1[static_cast<unsigned char>(in[1])] |
        kDecodePlace2[static_cast<unsigned char>(in[2])] |
        kDecodePlace3[static_cast<unsigned char>(in[3])];
    if (bits < kMarkedBit) {
      out[0] = static_cast<unsigned char>(bits >> 16);
      out[1] = static_cast<unsigned char>(bits >> 8);
      out[2] = static_cast<unsigned char>(bits);
      out += 3;
      tryVector = true;
    } else {
      const int written = decodeQuadExact(in, out);
      if (written < 0) return -1;
      out += written;
    }
    in += 4;
  }
  // A short last group is read as if completed with "=".
  const int left = srcLen & 3;
  if (left != 0) {
    char group[4] = {'=', '=', '=', '='};
    std::memcpy(group, fullEnd, static_cast<std::size_t>(left));
    const int written = decodeQuadExact(group, out);
    if (written < 0) return -1;
    out += written;
  }
  return static_cast<int>(out - dst);
}

bool TQBase64::decode(const char* src, int srcLen, std::string& dst) {
  dst.clear();
  const int size = getdecodeDstLen(srcLen);
  dst = sizedString(size);
  const int written =
      decode(src, srcLen, reinterpret_cast<unsigned char*>(&dst[0]), size);
  if (written < 0) return false;
  dst.resize(static_cast<std::size_t>(written));
  return true;
}

bool TQBase64::decode(const std::string& src, std::string& dst) {
  return decode(src.data(), static_cast<int>(src.size()), dst);
}

}  // namespace TQBase
