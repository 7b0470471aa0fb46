#include "TQBase/StdString.h"

#include "text/TextInternal.h"

#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <string>

namespace TQBase {
namespace {

std::size_t findIn(const std::string& str, const std::string& needle,
                   std::size_t from) {
  return detail::findExact(str.data(), str.size(), needle.data(), needle.size(),
                           from);
}

std::size_t findIn(const std::wstring& str, const std::wstring& needle,
                   std::size_t from) {
  return str.find(needle, from);
}

// The scan resumes behind each occurrence, so the occurrences are those of
// the original text and never overlap the inserted text. Equal sizes are
// overwritten in place; otherwise the result is built in one pass (linear
// time rather than a tail move per replacement), and `str` only takes it at
// the end, so a failed allocation leaves `str` as it was.
template <typename String>
int replaceAll(String& str, const String& before, const String& after) {
  const std::size_t beforeSize = before.size();
  const std::size_t afterSize = after.size();
  if (beforeSize == 0) {
    return 0;
  }
  std::size_t count = 0;
  std::size_t at = findIn(str, before, 0);
  if (afterSize == beforeSize) {
    for (; at != String::npos; at = findIn(str, before, at + beforeSize)) {
      str.replace(at, beforeSize, after);
      ++count;
    }
    return static_cast<int>(count);
  }
  if (at == String::npos) {
    return 0;
  }
  String result;
  result.reserve(str.size() + (afterSize > beforeSize ? afterSize : 0));
  std::size_t copied = 0;
  for (; at != String::npos; at = findIn(str, before, copied)) {
    result.append(str, copied, at - copied);
    result.append(after);
    copied = at + beforeSize;
    ++count;
  }
  result.append(str, copied, String::npos);
  str.swap(result);
  return static_cast<int>(count);
}

template <typename String>
String substrOf(const String& str, std::size_t pos, std::size_t count) {
  if (pos >= str.size()) {
    return String();
  }
  return str.substr(pos, count);
}

}  // namespace

void stdstring::trimmed(std::string& str) {
  const std::size_t size = str.size();
  if (size == 0) {
    return;
  }
  std::size_t begin = 0;
  while (begin < size &&
         detail::isAsciiSpace(static_cast<unsigned char>(str[begin]))) {
    ++begin;
  }
  std::size_t end = size;
  while (end > begin &&
         detail::isAsciiSpace(static_cast<unsigned char>(str[end - 1]))) {
    --end;
  }
  if (begin == 0 && end == size) {
    return;
  }
  str = std::string(str, begin, end - begin);
}

std::string stdstring::substr(const std::string& str, std::size_t pos,
                              std::size_t count) {
  return substrOf(str, pos, count);
}

std::wstring stdstring::substr(const std::wstring& str, std::size_t pos,
                               std::size_t count) {
  return substrOf(str, pos, count);
}

int stdstring::replace(std::string& str, const std::string& before,
                       const std::string& after) {
  return replaceAll(str, before, after);
}

int stdstring::replace(std::wstring& str, const std::wstring& before,
                       const std::wstring& after) {
  return replaceAll(str, before, after);
}

std::string stdstring::FormatString(const char* format, ...) {
  std::string result;
  va_list args;
  va_start(args, format);
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, format, args);
  va_end(args);
  if (length > 0) {
    try {
      result.resize(static_cast<std::size_t>(length) + 1);
    } catch (...) {
      va_end(again);
      throw;
    }
    const int written =
        std::vsnprintf(&result[0], result.size(), format, again);
    // The second pass reads the same arguments; should it still disagree,
    // keep no more than was measured and never an unwritten byte.
    result.resize(written > 0 && written <= length
                      ? static_cast<std::size_t>(written)
                      : 0);
  }
  va_end(again);
  return result;
}

}  // namespace TQBase
