#ifndef TQBASE_FRAME_BYTETABLES_H_
#define TQBASE_FRAME_BYTETABLES_H_

// Byte tables and small byte tests that several families share: digits,
// the Base64 alphabet, ASCII case folding and the UTF-8 continuation test.
// All constexpr, so each user gets them at compile time; no locale plays a
// part in any of them.

#include <array>
#include <new>

namespace TQBase {
namespace detail {

inline constexpr char kHexDigitsUpper[] = "0123456789ABCDEF";
inline constexpr char kHexDigitsLower[] = "0123456789abcdef";

inline constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
inline constexpr char kBase64UrlAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

// Both digits of every byte, high digit first, so a byte is written as a
// pair with one lookup.
constexpr std::array<char, 512> makeHexPairs(const char* digits) {
  std::array<char, 512> pairs{};
  for (unsigned int c = 0; c < 256; ++c) {
    pairs[2 * c] = digits[c >> 4];
    pairs[2 * c + 1] = digits[c & 0x0F];
  }
  return pairs;
}
inline constexpr std::array<char, 512> kHexPairsUpper =
    makeHexPairs(kHexDigitsUpper);
inline constexpr std::array<char, 512> kHexPairsLower =
    makeHexPairs(kHexDigitsLower);

// The two characters of every 12-bit value, so three bytes encode with two
// lookups.
struct Base64CharPair {
  char chars[2];
};
constexpr std::array<Base64CharPair, 4096> makeBase64Pairs(
    const char* alphabet) {
  std::array<Base64CharPair, 4096> pairs{};
  for (int v = 0; v < 4096; ++v) {
    pairs[v].chars[0] = alphabet[v >> 6];
    pairs[v].chars[1] = alphabet[v & 63];
  }
  return pairs;
}
inline constexpr std::array<Base64CharPair, 4096> kBase64Pairs =
    makeBase64Pairs(kBase64Alphabet);
inline constexpr std::array<Base64CharPair, 4096> kBase64UrlPairs =
    makeBase64Pairs(kBase64UrlAlphabet);

// A-Z to a-z; every other byte, 0x80 and up included, stays.
constexpr unsigned char foldAsciiUpper(unsigned char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + 32) : c;
}

constexpr bool isUtf8Continuation(unsigned char c) {
  return (c & 0xC0) == 0x80;
}

// The largest capacity a byte array may ask for: its buffer, 0x7FFFF000
// bytes, is the largest that an int-sized allocation ladder reaches.
inline constexpr int kMaxWantedCapacity = 0x7FFFEFFF;

// A size computed in 64 bits, as an int; std::bad_alloc above
// kMaxWantedCapacity, so no caller ever sizes a buffer from a wrapped value.
inline int checkedSize(long long size) {
  if (size > kMaxWantedCapacity) throw std::bad_alloc();
  return static_cast<int>(size);
}

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_FRAME_BYTETABLES_H_
