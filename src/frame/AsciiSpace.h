#ifndef TQBASE_FRAME_ASCIISPACE_H_
#define TQBASE_FRAME_ASCIISPACE_H_

// The library's one whitespace set, shared by the byte array and the string
// functions; no locale plays a part.

#include <cstdint>

namespace TQBase {
namespace detail {

// Bit k stands for the byte value k + 1: tab, LF, VT, FF, CR and space.
inline constexpr std::uint32_t asciiSpaceMask = 0x80001F00u;

inline bool isAsciiSpace(unsigned char c) {
  // Unsigned wrap turns NUL into 255, so one comparison covers both ends.
  const unsigned offset = static_cast<unsigned char>(c - 1u);
  return offset <= 31u && ((asciiSpaceMask >> offset) & 1u) != 0;
}

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_FRAME_ASCIISPACE_H_
