#include "system/platform/TempDir.h"

#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

// Linux has no short path names, so the path is already in its long form.
// The candidates are TMPDIR, when it names an existing directory, and /tmp.

namespace TQBase {
namespace platform {
namespace {

bool isDirectory(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Path bytes are taken as UTF-8, strictly, one code point per element, so
// that the caller's conversion back to UTF-8 gives the same bytes. Returns
// false for bytes that are no well-formed UTF-8.
bool decodeStrictUtf8(const std::string& bytes, std::wstring& wide) {
  const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
  const unsigned char* const end = p + bytes.size();
  while (p != end) {
    const unsigned lead = *p;
    int following;
    std::uint32_t value, minimum;
    if (lead < 0x80) {
      following = 0, value = lead, minimum = 0;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
      following = 1, value = lead & 0x1F, minimum = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      following = 2, value = lead & 0x0F, minimum = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      following = 3, value = lead & 0x07, minimum = 0x10000;
    } else {
      return false;
    }
    if (end - p <= following) return false;
    for (int i = 1; i <= following; ++i) {
      if ((p[i] & 0xC0) != 0x80) return false;
      value = value << 6 | (p[i] & 0x3Fu);
    }
    if (value < minimum || value > 0x10FFFF ||
        (value >= 0xD800 && value <= 0xDFFF))
      return false;
    wide.push_back(static_cast<wchar_t>(value));
    p += following + 1;
  }
  return true;
}

// The candidate as wide text ending in '/', or empty when it is unusable.
std::wstring usableDirectory(const char* candidate) {
  if (candidate == nullptr || *candidate == '\0') return std::wstring();
  std::string path(candidate);
  if (!isDirectory(path)) return std::wstring();
  if (path.back() != '/') path += '/';
  std::wstring wide;
  if (!decodeStrictUtf8(path, wide)) return std::wstring();
  return wide;
}

}  // namespace

std::size_t tempDirectoryWide(wchar_t* buffer, std::size_t capacity) {
  const char* const candidates[] = {std::getenv("TMPDIR"), "/tmp"};
  for (const char* candidate : candidates) {
    const std::wstring path = usableDirectory(candidate);
    if (path.empty() || path.size() >= capacity) continue;
    std::memcpy(buffer, path.c_str(), (path.size() + 1) * sizeof(wchar_t));
    return path.size();
  }
  return 0;
}

}  // namespace platform
}  // namespace TQBase
