#include "TQBase/TQByteArray.h"

#include <array>
#include <cstring>
#include <new>

#include "bytearray/ByteArrayData.h"
#include "bytearray/TextFormsInternal.h"

namespace TQBase {
namespace detail {

int base64EncodedSize(int n) {
  const long long size = (static_cast<long long>(n) + 2) / 3 * 4;
  if (size > kMaxWantedCapacity) throw std::bad_alloc();
  return static_cast<int>(size);
}

int base64DecodedBound(int n) {
  return static_cast<int>(static_cast<long long>(n) * 3 / 4);
}

int hexEncodedSize(int n) {
  const long long size = static_cast<long long>(n) * 2;
  return size > 0x7FFFFFFF ? 0 : static_cast<int>(size);
}

int percentEncodedBound(int n) {
  const long long size = static_cast<long long>(n) * 3;
  if (size > kMaxWantedCapacity) throw std::bad_alloc();
  return static_cast<int>(size);
}

}  // namespace detail

namespace {

constexpr char kStandardAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kUrlAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr char kHexDigits[] = "0123456789ABCDEF";

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
constexpr auto kStandardValues = makeBase64Values(kStandardAlphabet);
constexpr auto kUrlValues = makeBase64Values(kUrlAlphabet);

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

// Both digits of every byte, so toHex writes a pair per lookup.
constexpr std::array<char, 512> makeHexPairs() {
  std::array<char, 512> pairs{};
  for (unsigned int c = 0; c < 256; ++c) {
    pairs[2 * c] = kHexDigits[c >> 4];
    pairs[2 * c + 1] = kHexDigits[c & 0x0F];
  }
  return pairs;
}
constexpr auto kHexPairs = makeHexPairs();

// The 67 bytes that percent encoding leaves alone: the RFC 3986 unreserved
// characters and "/".
constexpr std::array<bool, 256> makeUnescaped() {
  std::array<bool, 256> unescaped{};
  for (unsigned int c = 0; c < 256; ++c) {
    unescaped[c] = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                   (c >= 'a' && c <= 'z') || c == '-' || c == '.' || c == '/' ||
                   c == '_' || c == '~';
  }
  return unescaped;
}
constexpr auto kUnescaped = makeUnescaped();

const unsigned char* bytesOf(const TQByteArray& array) {
  return reinterpret_cast<const unsigned char*>(array.constData());
}

}  // namespace

TQByteArray TQByteArray::toBase64(int options) const {
  TQByteArray result;
  const int n = size();
  if (n == 0) return result;
  const char* alphabet = (options & 1) != 0 ? kUrlAlphabet : kStandardAlphabet;
  result.resize(detail::base64EncodedSize(n));
  char* out = result.getData();
  const unsigned char* in = bytesOf(*this);
  int i = 0;
  for (; n - i >= 3; i += 3) {
    const unsigned int group = (static_cast<unsigned int>(in[i]) << 16) |
                               (static_cast<unsigned int>(in[i + 1]) << 8) |
                               in[i + 2];
    *out++ = alphabet[group >> 18];
    *out++ = alphabet[(group >> 12) & 0x3F];
    *out++ = alphabet[(group >> 6) & 0x3F];
    *out++ = alphabet[group & 0x3F];
  }
  if (i < n) {
    const bool hasSecond = n - i == 2;
    const unsigned int group =
        (static_cast<unsigned int>(in[i]) << 16) |
        (hasSecond ? static_cast<unsigned int>(in[i + 1]) << 8 : 0u);
    *out++ = alphabet[group >> 18];
    *out++ = alphabet[(group >> 12) & 0x3F];
    *out++ = hasSecond ? alphabet[(group >> 6) & 0x3F] : '=';
    *out++ = '=';
  }
  return result;
}

TQByteArray TQByteArray::fromBase64(const TQByteArray& source, int options) {
  TQByteArray result;
  const int n = source.size();
  const int bound = detail::base64DecodedBound(n);
  if (bound == 0) return result;  // fewer than 2 characters carry no byte
  const auto& values = (options & 1) != 0 ? kUrlValues : kStandardValues;
  result.resize(bound);
  char* out = result.getData();
  const unsigned char* in = bytesOf(source);
  unsigned int accumulator = 0;
  int bits = 0;
  int stored = 0;
  for (int i = 0; i < n; ++i) {
    const int value = values[in[i]];
    if (value < 0) continue;
    accumulator = (accumulator << 6) | static_cast<unsigned int>(value);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out[stored++] = static_cast<char>((accumulator >> bits) & 0xFFu);
      accumulator &= (1u << bits) - 1u;
    }
  }
  // Bits left over (2, 4 or 6) are dropped. At most 6 of every 8 bits of
  // input become output, so `stored` never passes `bound`.
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
    std::memcpy(out + 2 * static_cast<std::size_t>(i), &kHexPairs[2 * in[i]],
                2);
  }
  return result;
}

TQByteArray TQByteArray::fromHex(const TQByteArray& source) {
  TQByteArray result;
  const int outSize = source.size() / 2;  // an odd last character is unread
  if (outSize == 0) return result;
  result.resize(outSize);
  char* out = result.getData();
  const unsigned char* in = bytesOf(source);
  for (int i = 0; i < outSize; ++i) {
    const unsigned int high = kHexCounts[in[2 * i]];
    const unsigned int low = kHexCounts[in[2 * i + 1]];
    out[i] = static_cast<char>(((high << 4) + low) & 0xFFu);
  }
  return result;
}

TQByteArray TQByteArray::toPercentEncoding() const {
  const int n = size();
  if (n == 0) return TQByteArray();
  // Starts as a share of this record: a source with nothing to escape is
  // returned without a byte allocated.
  TQByteArray result(*this);
  const unsigned char* in = bytesOf(*this);
  char* out = nullptr;
  int outLength = 0;
  for (int i = 0; i < n; ++i) {
    const unsigned char c = in[i];
    if (kUnescaped[c]) {
      // Before the first escape the byte already stands at this position.
      if (out != nullptr) out[outLength] = static_cast<char>(c);
      ++outLength;
      continue;
    }
    if (out == nullptr) {
      // The one allocation: a private copy of the source with room for the
      // worst case, so the buffer never grows during the walk.
      result.resize(detail::percentEncodedBound(n));
      out = result.getData();
    }
    out[outLength] = '%';
    out[outLength + 1] = kHexDigits[c >> 4];
    out[outLength + 2] = kHexDigits[c & 0x0F];
    outLength += 3;
  }
  if (out != nullptr) result.resize(outLength);
  return result;
}

}  // namespace TQBase
