#include "TQBase/Encoding.h"

#include "encoding/Kernels.h"

namespace TQBase {

bool IsUTF8BomFile(const char* data, int length) {
  if (length < 3) return false;
  const auto* bytes = reinterpret_cast<const unsigned char*>(data);
  return bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF;
}

bool IsUTF8File(const char* data, int length) {
  if (length <= 0) return true;
  return detail::scanUtf8(reinterpret_cast<const unsigned char*>(data),
                          static_cast<std::size_t>(length),
                          detail::detectedIsa());
}

}  // namespace TQBase
