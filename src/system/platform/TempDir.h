#ifndef TQBASE_SYSTEM_PLATFORM_TEMPDIR_H_
#define TQBASE_SYSTEM_PLATFORM_TEMPDIR_H_

#include <cstddef>

namespace TQBase {
namespace platform {

/// Writes the directory for temporary files into `buffer` as wide text with a
/// terminating NUL and returns its length, the NUL not counted. The path is in
/// its long form, one code point per element, and ends in the directory
/// separator. Returns 0, leaving `buffer` untouched, when there is no usable
/// directory whose path fits in `capacity` elements.
std::size_t tempDirectoryWide(wchar_t* buffer, std::size_t capacity);

}  // namespace platform
}  // namespace TQBase

#endif  // TQBASE_SYSTEM_PLATFORM_TEMPDIR_H_
