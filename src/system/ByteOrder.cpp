#include "TQBase/System.h"

#include <cstdint>
#include <cstring>

namespace TQBase {
namespace {

// The byte at the lowest address of this word tells the host's order.
constexpr std::uint32_t kOrderProbe = 0x12345678;

bool isBigEndianHost() {
  unsigned char first = 0;
  std::memcpy(&first, &kOrderProbe, 1);
  return first == 0x12;
}

}  // namespace

unsigned short ToBigEndianInt16(unsigned short value) {
  if (isBigEndianHost()) return value;
  return static_cast<unsigned short>(__builtin_bswap16(value));
}

unsigned int ToBigEndianInt32(unsigned int value) {
  if (isBigEndianHost()) return value;
  return __builtin_bswap32(value);
}

unsigned long long ToBigEndianInt64(unsigned long long value) {
  if (isBigEndianHost()) return value;
  return __builtin_bswap64(value);
}

}  // namespace TQBase
