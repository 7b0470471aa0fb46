#include "TQBase/StdString.h"

#include "text/TextInternal.h"

#include <cctype>
#include <cwctype>

namespace TQBase {

// No stdstring object can exist (its constructor is deleted), so nothing
// can call this; it is exported to keep the class's surface whole.
// GCOVR_EXCL_START
stdstring& stdstring::operator=(const stdstring&) { return *this; }
// GCOVR_EXCL_STOP
namespace detail {

unsigned char lowerByte(unsigned char b) {
  return static_cast<unsigned char>(std::tolower(static_cast<signed char>(b)));
}

unsigned char upperByte(unsigned char b) {
  return static_cast<unsigned char>(std::toupper(static_cast<signed char>(b)));
}

void fillLowerMap(CaseMap& map) {
  for (unsigned b = 0; b < 256; ++b) {
    map.to[b] = lowerByte(static_cast<unsigned char>(b));
  }
}

void fillUpperMap(CaseMap& map) {
  for (unsigned b = 0; b < 256; ++b) {
    map.to[b] = upperByte(static_cast<unsigned char>(b));
  }
}

}  // namespace detail

namespace {

using ByteConverter = unsigned char (*)(unsigned char);
using MapFiller = void (*)(detail::CaseMap&);

void convertBytes(std::string& str, ByteConverter convert, MapFiller fill) {
  const std::size_t n = str.size();
  if (n == 0) {
    return;
  }
  char* data = &str[0];
  if (n < detail::kCaseMapThreshold) {
    for (std::size_t i = 0; i < n; ++i) {
      data[i] = static_cast<char>(convert(static_cast<unsigned char>(data[i])));
    }
    return;
  }
  detail::CaseMap map;
  fill(map);
  for (std::size_t i = 0; i < n; ++i) {
    data[i] = static_cast<char>(map.to[static_cast<unsigned char>(data[i])]);
  }
}

// Units are 16 bits by contract. Where wchar_t is wider, a value outside that
// range (a negative one included) is the caller's own code point: it goes to
// the routine whole and its answer is kept whole rather than truncated.
template <typename Convert>
void convertUnits(std::wstring& str, Convert convert) {
  for (wchar_t& unit : str) {
    const auto value = static_cast<std::wint_t>(unit);
    const auto converted = convert(value);
    unit = value <= 0xFFFFu ? static_cast<wchar_t>(converted & 0xFFFFu)
                            : static_cast<wchar_t>(converted);
  }
}

}  // namespace

void stdstring::toLower(std::string& str) {
  convertBytes(str, &detail::lowerByte, &detail::fillLowerMap);
}

void stdstring::toUpper(std::string& str) {
  convertBytes(str, &detail::upperByte, &detail::fillUpperMap);
}

void stdstring::toLower(std::wstring& str) {
  convertUnits(str, [](std::wint_t u) { return std::towlower(u); });
}

void stdstring::toUpper(std::wstring& str) {
  convertUnits(str, [](std::wint_t u) { return std::towupper(u); });
}

std::string stdstring::toLowerStr(const std::string& str) {
  std::string copy(str);
  toLower(copy);
  return copy;
}

std::wstring stdstring::toLowerStr(const std::wstring& str) {
  std::wstring copy(str);
  toLower(copy);
  return copy;
}

std::string stdstring::toUpperStr(const std::string& str) {
  std::string copy(str);
  toUpper(copy);
  return copy;
}

std::wstring stdstring::toUpperStr(const std::wstring& str) {
  std::wstring copy(str);
  toUpper(copy);
  return copy;
}

}  // namespace TQBase
