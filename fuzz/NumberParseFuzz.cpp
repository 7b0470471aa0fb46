// The number parsers against a digit-by-digit model of the integer rules
// (32-bit int and long, 64-bit long long, 32-bit unsigned with every base),
// itself held to strtoll, and against strtod for the floating forms, errno
// included: ERANGE after an out-of-range conversion, 0 otherwise.

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "FuzzSupport.h"
#include "TQBase/StdString.h"

namespace {

using TQBase::stdstring;

enum class Outcome { value, noNumber, outOfRange };

struct Parsed {
  Outcome outcome = Outcome::noNumber;
  bool negative = false;
  unsigned long long magnitude = 0;  // saturated at the all-ones value
  bool overflow = false;             // above 2^64 - 1
};

bool cSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

int digitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'z') return c - 'a' + 10;
  if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
  return 99;
}

// What the strto* family reads: blanks, a sign, a base prefix, digits.
Parsed parseModel(const char* t, int base) {
  Parsed p;
  while (cSpace(*t)) ++t;
  if (*t == '+' || *t == '-') p.negative = *t++ == '-';
  if ((base == 0 || base == 16) && t[0] == '0' && (t[1] | 0x20) == 'x' &&
      digitValue(t[2]) < 16) {
    t += 2;
    base = 16;
  } else if (base == 0) {
    base = t[0] == '0' ? 8 : 10;
  }
  const char* start = t;
  for (; digitValue(*t) < base; ++t) {
    const unsigned d = static_cast<unsigned>(digitValue(*t));
    const unsigned long long limit =
        std::numeric_limits<unsigned long long>::max();
    if (p.magnitude > (limit - d) / static_cast<unsigned>(base)) {
      p.overflow = true;
      p.magnitude = limit;
    } else if (!p.overflow) {
      p.magnitude = p.magnitude * static_cast<unsigned>(base) + d;
    }
  }
  p.outcome = t == start ? Outcome::noNumber : Outcome::value;
  return p;
}

// A signed value of the range [-2^(bits-1), 2^(bits-1) - 1].
Outcome signedModel(const char* t, int bits, long long& value) {
  const Parsed p = parseModel(t, 10);
  value = 0;
  if (p.outcome == Outcome::noNumber) return Outcome::noNumber;
  const unsigned long long top = 1ULL << (bits - 1);
  if (p.overflow || p.magnitude > (p.negative ? top : top - 1)) {
    return Outcome::outOfRange;
  }
  value = p.negative ? static_cast<long long>(0 - p.magnitude)
                     : static_cast<long long>(p.magnitude);
  return Outcome::value;
}

// Also 0 when nothing was converted.
void expectErrno(Outcome o) {
  FUZZ_CHECK(errno == (o == Outcome::outOfRange ? ERANGE : 0));
}

void checkIntegers(const std::string& s) {
  const char* t = s.c_str();
  long long expected = 0;
  Outcome o = signedModel(t, 32, expected);
  errno = 12345;
  FUZZ_CHECK(stdstring::stoi(s) == expected);
  expectErrno(o);
  errno = 12345;
  FUZZ_CHECK(stdstring::stol(s) == expected);
  expectErrno(o);

  o = signedModel(t, 64, expected);
  // The model reads as the C library's strtoll does, the reference of the
  // direct decimal parser, so the library agrees with that too.
  errno = 0;
  char* end = nullptr;
  const long long reference = std::strtoll(t, &end, 10);
  FUZZ_CHECK(o == (end == t          ? Outcome::noNumber
                   : errno == ERANGE ? Outcome::outOfRange
                                     : Outcome::value));
  FUZZ_CHECK(o != Outcome::value || expected == reference);
  errno = 12345;
  FUZZ_CHECK(stdstring::stoll(s) == expected);
  expectErrno(o);
}

void checkUnsigned(const std::string& s, int base) {
  const Parsed p = parseModel(s.c_str(), base);
  Outcome o = p.outcome;
  unsigned expected = 0;
  if (o == Outcome::value) {
    if (p.overflow || p.magnitude > 0xFFFFFFFFULL) {
      o = Outcome::outOfRange;
    } else {
      const auto m = static_cast<unsigned>(p.magnitude);
      expected = p.negative ? 0u - m : m;
    }
  }
  errno = 12345;
  FUZZ_CHECK(stdstring::stoui(s, base) == expected);
  expectErrno(o);
}

void checkUnsignedBadBase(const std::string& s, int base) {
  // The library refuses a base the routine has no meaning for.
  errno = 0;
  FUZZ_CHECK(stdstring::stoui(s, base) == 0);
  FUZZ_CHECK(errno == EINVAL);
}

void checkFloating(const std::string& s) {
  const char* t = s.c_str();
  errno = 0;
  char* end = nullptr;
  const double d = std::strtod(t, &end);
  const bool range = errno == ERANGE;
  const Outcome o = end == t ? Outcome::noNumber
                    : range  ? Outcome::outOfRange
                             : Outcome::value;
  const double expected = o == Outcome::value ? d : 0.0;

  errno = 12345;
  const double got = stdstring::stod(s);
  FUZZ_CHECK(std::memcmp(&got, &expected, sizeof got) == 0 ||
             (std::isnan(got) && std::isnan(expected)));
  expectErrno(o);

  // float: parsed as double, then rounded to nearest; beyond FLT_MAX by at
  // least half a float ulp (2^103) it is an infinity.
  float f = 0.0f;
  if (o == Outcome::value) {
    const double big = std::numeric_limits<float>::max();
    if (std::isnan(d) || std::fabs(d) <= big) {
      f = static_cast<float>(d);
    } else {
      const float m = std::fabs(d) - big >= 0x1p103
                          ? std::numeric_limits<float>::infinity()
                          : std::numeric_limits<float>::max();
      f = std::signbit(d) ? -m : m;
    }
  }
  errno = 12345;
  const float gotf = stdstring::stof(s);
  FUZZ_CHECK(std::memcmp(&gotf, &f, sizeof f) == 0 ||
             (std::isnan(gotf) && std::isnan(f)));
  expectErrno(o);
}

void checkBool(const std::string& s, bool dflt) {
  bool expected = dflt;
  if (!s.empty()) {
    expected = s[0] == 't' || s[0] == 'T' || (s[0] >= '1' && s[0] <= '9');
  }
  FUZZ_CHECK(stdstring::stob(s, dflt) == expected);
}

}  // namespace

// The input's bytes as a sign and digits alone, up to 20 of them: the texts
// that the signed parsers read eight bytes at a time. One byte sometimes
// becomes a neighbour of the digits, which must send the text back to the
// byte walk.
std::string wholeNumber(const std::string& s, std::uint8_t choice) {
  // The sign and the changed byte come from the last byte, apart from the
  // length, which the choice byte gives.
  const unsigned last = s.empty() ? 0 : static_cast<unsigned char>(s.back());
  std::string text;
  if (last % 3 != 0) text += last % 3 == 1 ? '+' : '-';
  for (std::size_t i = 0; i < s.size() && i < choice % 21u; ++i)
    text += static_cast<char>('0' + static_cast<unsigned char>(s[i]) % 10);
  if ((choice & 0x40) != 0 && !text.empty())
    text[s.size() % text.size()] = std::string("/:\0 x\x80", 6)[last / 3 % 6];
  return text;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  fuzz::Input in(data, size);
  const std::uint8_t choice = in.byte();
  const std::string s = in.rest();

  checkIntegers(s);
  checkIntegers(wholeNumber(s, choice));
  const int base = choice % 38;  // 0 and 2..36 valid; 1 and 37 not
  if (base == 1 || base == 37) {
    checkUnsignedBadBase(s, base);
    checkUnsignedBadBase(s, -static_cast<int>(choice));
  } else {
    checkUnsigned(s, base);
  }
  checkUnsigned(s, 10);
  errno = 12345;
  {
    const Parsed p = parseModel(s.c_str(), 10);
    unsigned expected = 0;
    if (p.outcome == Outcome::value && !p.overflow &&
        p.magnitude <= 0xFFFFFFFFULL) {
      const auto m = static_cast<unsigned>(p.magnitude);
      expected = p.negative ? 0u - m : m;
    }
    FUZZ_CHECK(stdstring::stoui(s) == expected);  // the default base is 10
  }
  checkFloating(s);
  checkBool(s, (choice & 0x80) != 0);
  const bool byFirst = !s.empty() && (s[0] == 't' || s[0] == 'T' ||
                                      (s[0] >= '1' && s[0] <= '9'));
  FUZZ_CHECK(stdstring::stob(s) == byFirst);  // the default is false
  return 0;
}
