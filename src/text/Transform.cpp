#include "TQBase/StdString.h"

#include "text/TextInternal.h"
#include "text/TwoWay.h"

#include <cstdarg>
#include <cstdint>
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

struct WideUnit {
  const wchar_t* at;
  std::uint32_t operator()(std::size_t i) const {
    return static_cast<std::uint32_t>(at[i]);
  }
};

// Ordinary text: jump to the next first unit with wmemchr and compare there.
// That costs up to the needle's length per position on text built against
// it, so once the comparisons have cost more than 8 units per position
// passed, the rest goes to the linear two-way search.
std::size_t findIn(const std::wstring& str, const std::wstring& needle,
                   std::size_t from) {
  using Traits = std::wstring::traits_type;
  const std::size_t n = str.size();
  const std::size_t m = needle.size();
  if (from > n || m > n - from) {
    return std::wstring::npos;
  }
  const wchar_t* text = str.data();
  const std::size_t last = n - m;
  std::size_t spent = 0;
  for (std::size_t p = from; p <= last; ++p) {
    const wchar_t* hit = Traits::find(text + p, last - p + 1, needle[0]);
    if (hit == nullptr) {
      return std::wstring::npos;
    }
    p = static_cast<std::size_t>(hit - text);
    if (Traits::compare(hit, needle.data(), m) == 0) {
      return p;
    }
    spent += m;
    if (spent > 64 + 8 * (p - from)) {
      if (p == last) {
        return std::wstring::npos;
      }
      const std::size_t found = detail::twoWayFind(
          WideUnit{needle.data()}, m, WideUnit{hit + 1}, n - p - 1);
      return found == detail::kTwoWayNone ? std::wstring::npos : p + 1 + found;
    }
  }
  return std::wstring::npos;
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
