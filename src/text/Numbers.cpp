#include "TQBase/StdString.h"

#include "text/NumberParse.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
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

// ---- texts that are a number and nothing else -----------------------------
// Most texts handed to the parsers are a sign and digits, nothing around
// them. Those of up to 16 digits are read eight bytes at a time (bytes
// within the string only), so a number's length costs no branch per digit;
// any other text takes the walk above.

constexpr std::uint64_t kZeroDigits = 0x3030303030303030ULL;

std::uint64_t load64(const char* p) noexcept {
  std::uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

std::uint64_t load32(const char* p) noexcept {
  std::uint32_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// The first `n` (1 to 8) bytes of `word` moved behind '0's, so that the word
// reads as the same number of eight digits (the first byte is the most
// significant digit on a little-endian machine).
std::uint64_t behindZeros(std::uint64_t word, std::size_t n) noexcept {
  const unsigned shift = static_cast<unsigned>(8 * (8 - n));
  return (word << shift) | (kZeroDigits & ((1ULL << shift) - 1));
}

bool isEightDigits(std::uint64_t word) noexcept {
  return ((word & 0xF0F0F0F0F0F0F0F0ULL) |
          (((word + 0x0606060606060606ULL) & 0xF0F0F0F0F0F0F0F0ULL) >> 4)) ==
         0x3333333333333333ULL;
}

// Eight digit bytes to their value: pairs, then quads, then the whole.
std::uint64_t eightDigitsValue(std::uint64_t word) noexcept {
  word -= kZeroDigits;
  word = (word * 10) + (word >> 8);
  word = (((word & 0x000000FF000000FFULL) * 0x000F424000000064ULL) +
          (((word >> 16) & 0x000000FF000000FFULL) * 0x0000271000000001ULL)) >>
         32;
  return word;
}

// True, with the sign and the magnitude, when `text` (`size` bytes) is an
// optional sign and 1 to 16 ASCII digits and nothing else.
[[gnu::always_inline]] inline bool readWholeNumber(
    const char* text, std::size_t size, bool& negative,
    unsigned long long& magnitude) noexcept {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  if (size == 0) return false;
  negative = text[0] == '-';
  const std::size_t sign = (negative || text[0] == '+') ? 1 : 0;
  const char* digits = text + sign;
  const std::size_t n = size - sign;
  if (n - 1 >= 16) return false;  // none, or more than 16
  std::uint64_t high = kZeroDigits, low;
  if (n > 8) {
    high = behindZeros(load64(digits), n - 8);
    low = load64(digits + n - 8);
  } else if (n >= 4) {
    // Two loads that overlap when n < 8; the shared bytes are equal.
    low = behindZeros(load32(digits) | load32(digits + n - 4) << (8 * (n - 4)),
                      n);
  } else {
    const auto at = [digits](std::size_t i) {
      return static_cast<std::uint64_t>(static_cast<unsigned char>(digits[i]))
             << (8 * i);
    };
    low = behindZeros(at(0) | at(n / 2) | at(n - 1), n);
  }
  if (!isEightDigits(high) || !isEightDigits(low)) return false;
  magnitude = eightDigitsValue(high) * 100000000ULL + eightDigitsValue(low);
  return true;
#else
  (void)text, (void)size, (void)negative, (void)magnitude;
  return false;
#endif
}

// A whole-number text's result against its range, errno set as the walk
// sets it.
template <typename T>
[[gnu::always_inline]] inline T finishWholeNumber(
    bool negative, unsigned long long magnitude,
    unsigned long long maxMagnitude) noexcept {
  const unsigned long long minus = negative ? 1 : 0;
  int& error = errno;
  if (magnitude > maxMagnitude + minus) {
    error = ERANGE;
    return 0;
  }
  error = 0;
  return static_cast<T>((magnitude ^ (0 - minus)) + minus);
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

// What stoi and stol return: a whole-number text read eight bytes at a
// time, any other by the walk.
[[gnu::always_inline]] inline int readInt32(const std::string& str) noexcept {
  bool negative = false;
  unsigned long long magnitude = 0;
  if (readWholeNumber(str.data(), str.size(), negative, magnitude)) {
    return finishWholeNumber<int>(negative, magnitude, kInt32Max);
  }
  int value = 0;
  parseInt32Inline(str.c_str(), value);
  return value;
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

int stdstring::stoi(const std::string& str) { return detail::readInt32(str); }

long stdstring::stol(const std::string& str) { return detail::readInt32(str); }

long long stdstring::stoll(const std::string& str) {
  bool negative = false;
  unsigned long long magnitude = 0;
  if (detail::readWholeNumber(str.data(), str.size(), negative, magnitude)) {
    return detail::finishWholeNumber<long long>(negative, magnitude, LLONG_MAX);
  }
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
