#include "TQBase/System.h"

#include "TQBase/Encoding.h"
#include "system/platform/TempDir.h"

namespace TQBase {

std::string GetTempPathW() {
  // A fixed limit of 260 elements, the NUL included: a path of 259 fits.
  constexpr std::size_t kPathCapacity = 260;
  wchar_t path[kPathCapacity];
  const std::size_t length = platform::tempDirectoryWide(path, kPathCapacity);
  if (length == 0) return std::string();
  return UnicodeToUTF8(std::wstring(path, length));
}

}  // namespace TQBase
