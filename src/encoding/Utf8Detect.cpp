#include "TQBase/Encoding.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace TQBase {
namespace {

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

}  // namespace

bool IsUTF8BomFile(const char* data, int length) {
  if (length < 3) return false;
  const auto* bytes = reinterpret_cast<const unsigned char*>(data);
  return bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF;
}

bool IsUTF8File(const char* data, int length) {
  if (length <= 0) return true;
  const auto* p = reinterpret_cast<const unsigned char*>(data);
  const unsigned char* const end = p + length;
  while (p != end) {
    if (end - p >= 8) {
      std::uint64_t word;
      std::memcpy(&word, p, sizeof word);
      if ((word & 0x8080808080808080ULL) == 0) {
        p += 8;
        continue;
      }
    }
    const unsigned lead = *p;
    const std::ptrdiff_t left = end - p;
    if (lead < 0x80) {
      ++p;
    } else if (lead < 0xC0 || lead >= 0xF0) {
      return false;  // A stray continuation byte, or a 4-byte or longer form.
    } else if (lead < 0xE0) {
      // A sequence cut off by the end of the buffer counts as good.
      if (left < 2) return true;
      if (!isContinuation(p[1])) return false;
      p += 2;
    } else {
      if (left < 3) return true;
      if (!isContinuation(p[1]) || !isContinuation(p[2])) return false;
      p += 3;
    }
  }
  return true;
}

}  // namespace TQBase
