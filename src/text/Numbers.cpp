#include "TQBase/StdString.h"

#include "text/NumberParse.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace TQBase {
namespace detail {
namespace {

// The library keeps the 32-bit `long` of the platform it was first written
// for, so an int range check follows every 64-bit conversion.
constexpr long long kInt32Min = -2147483647LL - 1;
constexpr long long kInt32Max = 2147483647LL;
constexpr unsigned long long kUInt32Max = 4294967295ULL;

NumberFailure outOfRange() noexcept {
  errno = ERANGE;
  return NumberFailure::outOfRange;
}

// Whether the conversion routine will read a minus sign: it skips the
// locale's whitespace first, as std::isspace does.
bool hasLeadingMinus(const char* text) noexcept {
  while (std::isspace(static_cast<unsigned char>(*text)) != 0) {
    ++text;
  }
  return *text == '-';
}

// Runs one strto* routine over `text` and sorts its outcome: `value` is the
// result, or 0 when nothing was read or the routine reported ERANGE.
template <typename T, typename Convert>
NumberFailure convert(const char* text, T& value, Convert routine) noexcept {
  errno = 0;
  char* end = nullptr;
  value = routine(text, &end);
  if (end == text || errno == ERANGE) {
    value = 0;
    return end == text ? NumberFailure::noNumber : NumberFailure::outOfRange;
  }
  return NumberFailure::none;
}

// Decimal text read the way strtoll reads it, without the call: ASCII
// whitespace, an optional sign, then digits up to the first other byte.
// `maxMagnitude` is the largest positive value; one more is allowed after a
// minus. A byte from 0x80 up where whitespace may still stand could be a
// space in the process's locale, so such texts go to the routine itself.
// Returns false for those.
[[gnu::always_inline]] inline bool parseDecimalDirect(
    const char* text, unsigned long long maxMagnitude, long long& value,
    NumberFailure& failure) noexcept {
  const auto* p = reinterpret_cast<const unsigned char*>(text);
  while (*p == ' ' || (*p >= '\t' && *p <= '\r')) ++p;
  if (*p >= 0x80) return false;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  int& error = errno;
  error = 0;
  value = 0;
  failure = NumberFailure::noNumber;
  auto digitAt = [](const unsigned char* at) {
    return static_cast<unsigned>(*at - '0');
  };
  if (digitAt(p) > 9) return true;
  // Past 64 bits the value is 0 whatever digits follow, so the walk ends
  // there, with a digit still under the cursor.
  // The sign enters by arithmetic, not a branch: it is as often one way as
  // the other.
  const unsigned long long minus = negative ? 1 : 0;
  const unsigned long long limit = maxMagnitude + minus;
  unsigned long long magnitude = 0;
  for (unsigned digit = digitAt(p); digit <= 9; digit = digitAt(++p)) {
    if (__builtin_mul_overflow(magnitude, 10ULL, &magnitude) ||
        __builtin_add_overflow(magnitude, digit, &magnitude)) {
      break;
    }
  }
  if (magnitude > limit || digitAt(p) <= 9) {
    error = ERANGE;
    failure = NumberFailure::outOfRange;
    return true;
  }
  value = static_cast<long long>((magnitude ^ (0 - minus)) + minus);
  failure = NumberFailure::none;
  return true;
}

// The 32-bit decimal parser of stoi and stol, inlined into both.
[[gnu::always_inline]] inline NumberFailure parseInt32Inline(
    const char* text, int& value) noexcept {
  value = 0;
  long long wide = 0;
  NumberFailure failure = NumberFailure::none;
  if (parseDecimalDirect(text, static_cast<unsigned long long>(kInt32Max), wide,
                         failure)) {
    value = static_cast<int>(wide);
    return failure;
  }
  failure = convert(text, wide, [](const char* t, char** end) {
    return std::strtoll(t, end, 10);
  });
  if (failure != NumberFailure::none) {
    return failure;
  }
  // GCOVR_EXCL_START: a number after a byte from 0x80 needs a locale that
  // counts that byte as a space; the test machines have only C and UTF-8.
  if (wide < kInt32Min || wide > kInt32Max) {
    return outOfRange();
  }
  value = static_cast<int>(wide);
  return NumberFailure::none;
  // GCOVR_EXCL_STOP
}

}  // namespace

NumberFailure parseInt64(const char* text, long long& value) noexcept {
  NumberFailure failure = NumberFailure::none;
  if (parseDecimalDirect(text, 9223372036854775807ULL, value, failure))
    return failure;
  return convert(text, value, [](const char* t, char** end) {
    return std::strtoll(t, end, 10);
  });
}

NumberFailure parseUInt32(const char* text, int base,
                          unsigned int& value) noexcept {
  value = 0;
  if (base != 0 && (base < 2 || base > 36)) {
    // The routine's behaviour for such a base is not portable; never call it.
    errno = EINVAL;
    return NumberFailure::noNumber;
  }
  unsigned long long parsed = 0;
  const NumberFailure failure =
      convert(text, parsed, [base](const char* t, char** end) {
        return std::strtoull(t, end, base);
      });
  if (failure != NumberFailure::none) {
    return failure;
  }
  // A 32-bit strtoul range-checks the magnitude, then negates in 32 bits:
  // "-4294967295" gives 1, "-4294967296" is out of range.
  const bool negative = hasLeadingMinus(text);
  const unsigned long long magnitude = negative ? 0 - parsed : parsed;
  if (magnitude > kUInt32Max) {
    return outOfRange();
  }
  const auto narrow = static_cast<unsigned int>(magnitude);
  value = negative ? 0u - narrow : narrow;
  return NumberFailure::none;
}

NumberFailure parseDouble(const char* text, double& value) noexcept {
  return convert(text, value,
                 [](const char* t, char** end) { return std::strtod(t, end); });
}

NumberFailure parseFloat(const char* text, float& value) noexcept {
  value = 0.0f;
  double wide = 0.0;
  const NumberFailure failure = parseDouble(text, wide);
  if (failure != NumberFailure::none) {
    return failure;
  }
  // Narrowing a finite double beyond the float range is undefined in C++,
  // so do by hand what round-to-nearest does: up to half an ulp above
  // FLT_MAX still rounds to FLT_MAX (2^128 - 2^104), from there on (ties to
  // even included) to infinity.
  constexpr double kFloatMax = std::numeric_limits<float>::max();
  constexpr double kOverflowFrom = kFloatMax + 0x1p103;
  const double magnitude = std::fabs(wide);
  if (magnitude > kFloatMax && !std::isnan(wide)) {
    const float big = magnitude >= kOverflowFrom
                          ? std::numeric_limits<float>::infinity()
                          : std::numeric_limits<float>::max();
    value = std::signbit(wide) ? -big : big;
  } else {
    value = static_cast<float>(wide);
  }
  return NumberFailure::none;
}

}  // namespace detail

// The exported parsers report failure by the value 0 alone. The internal
// ones never throw, so there is no exception to catch on the way out.

bool stdstring::stob(const std::string& str, bool defaultValue) {
  if (str.empty()) {
    return defaultValue;
  }
  const char first = str[0];
  return first == 't' || first == 'T' || (first >= '1' && first <= '9');
}

double stdstring::stod(const std::string& str) {
  double value = 0.0;
  detail::parseDouble(str.c_str(), value);
  return value;
}

float stdstring::stof(const std::string& str) {
  float value = 0.0f;
  detail::parseFloat(str.c_str(), value);
  return value;
}

int stdstring::stoi(const std::string& str) {
  int value = 0;
  detail::parseInt32Inline(str.c_str(), value);
  return value;
}

long stdstring::stol(const std::string& str) {
  int value = 0;
  detail::parseInt32Inline(str.c_str(), value);
  return value;
}

long long stdstring::stoll(const std::string& str) {
  long long value = 0;
  detail::parseInt64(str.c_str(), value);
  return value;
}

unsigned int stdstring::stoui(const std::string& str, int base) {
  unsigned int value = 0;
  detail::parseUInt32(str.c_str(), base, value);
  return value;
}

}  // namespace TQBase
