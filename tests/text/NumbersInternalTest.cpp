#include "TQBase/StdString.h"

#include "text/NumberParse.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>
#include <tuple>

using TQBase::stdstring;

namespace {

// errno afterwards is part of each row: 0 after a clean conversion (also when
// nothing was converted), ERANGE after an out-of-range one. Random texts are
// held to strtoll below; these rows pin that model.
TEST(StdStringNumbers, SignedIntegersKeep32BitLong) {
  using Row = std::tuple<std::string, long long, int>;
  // clang-format off
  const Row rows[] = {{"  +7x", 7, 0}, {"", 0, 0}, {"0x10", 0, 0}, {{"1\0" "2", 3}, 1, 0},
                      {"-2147483648", INT_MIN, 0}, {"2147483648", 0, ERANGE}};
  // clang-format on
  for (const auto& [text, value, error] : rows) {
    SCOPED_TRACE(text);
    errno = 77;
    EXPECT_EQ(stdstring::stoi(text), value);
    EXPECT_EQ(errno, error);
    errno = 77;
    EXPECT_EQ(stdstring::stol(text), value);
    EXPECT_EQ(errno, error);
  }
}

TEST(StdStringNumbers, UnsignedNegatesIn32Bits) {
  using Row = std::tuple<std::string, int, unsigned, int>;
  // clang-format off
  const Row rows[] = {
      {"ff", 16, 255, 0}, {"0xff", 16, 255, 0}, {"0xff", 0, 255, 0}, {"010", 0, 8, 0},
      {"010", 10, 10, 0}, {"4294967295", 10, 4294967295u, 0}, {"4294967296", 10, 0, ERANGE},
      {"-1", 10, 4294967295u, 0}, {" -4294967295", 10, 1, 0}, {"-4294967296", 10, 0, ERANGE},
      {"x", 10, 0, 0}, {"12", 1, 0, EINVAL}, {"12", 37, 0, EINVAL},  // bad base: not read
  };
  // clang-format on
  for (const auto& [text, base, value, error] : rows) {
    SCOPED_TRACE(text + " base " + std::to_string(base));
    errno = 77;
    EXPECT_EQ(stdstring::stoui(text, base), value);
    EXPECT_EQ(errno, error);
  }
}

TEST(StdStringNumbers, FloatingPoint) {
  EXPECT_EQ(stdstring::stod("1.5x"), 1.5);
  EXPECT_EQ(stdstring::stod("1e3"), 1000.0);
  EXPECT_EQ(stdstring::stod("abc"), 0.0);
  EXPECT_EQ(stdstring::stod("-1e400"), 0.0);
  EXPECT_EQ(errno, ERANGE);
  // Beyond float only: an infinity, no failure.
  EXPECT_EQ(stdstring::stof("1e39"), HUGE_VALF);
  EXPECT_EQ(errno, 0);
  EXPECT_EQ(stdstring::stof("-1e39"), -HUGE_VALF);
  EXPECT_EQ(stdstring::stof("1e400"), 0.0f);
  EXPECT_EQ(stdstring::stof("0.1"), 0.1f);
  // Up to half an ulp above FLT_MAX rounds back to it, from there to infinity.
  EXPECT_EQ(stdstring::stof("340282356779733623858607532500980858880"),
            3.4028235e38f);
  EXPECT_EQ(stdstring::stof("340282356779733661637539395458142568448"),
            HUGE_VALF);
}

TEST(StdStringNumbers, StobLooksAtFirstByteOnly) {
  EXPECT_TRUE(stdstring::stob("", true));
  EXPECT_FALSE(stdstring::stob("", false));
  for (int b = 0; b < 256; ++b) {
    const bool expected = b == 't' || b == 'T' || (b >= '1' && b <= '9');
    EXPECT_EQ(stdstring::stob({static_cast<char>(b), '0'}, !expected), expected)
        << b;
  }
}

// The reason for a 0 stays inside the library.
TEST(NumberParse, TellsNoNumberFromOutOfRange) {
  using namespace TQBase::detail;
  int value = 5;
  EXPECT_EQ(parseInt32("0", value), NumberFailure::none);
  EXPECT_EQ(parseInt32(" x", value), NumberFailure::noNumber);
  EXPECT_EQ(parseInt32("3000000000", value), NumberFailure::outOfRange);
  double d = 1;
  EXPECT_EQ(parseDouble("1e-400", d), NumberFailure::outOfRange);
}

// The model: the C library's strtoll, then the 32-bit range of int.
struct Parsed {
  long long value;
  int error;
};
Parsed modelParse(const std::string& text, bool narrow) {
  errno = 0;
  char* end = nullptr;
  long long value = std::strtoll(text.c_str(), &end, 10);
  if (end == text.c_str()) return {0, errno};
  if (errno == ERANGE) return {0, ERANGE};
  if (narrow && (value < INT_MIN || value > INT_MAX)) return {0, ERANGE};
  return {value, 0};
}

// The direct decimal parser against the model on random texts built from
// the bytes that matter (spaces, signs, digits, bytes from 0x80, a NUL),
// with the digit runs near the 32- and 64-bit limits mixed in.
TEST(NumberParse, DirectDecimalMatchesStrtoll) {
  const std::string bytes(" \t\n\v\f\r+-0123456789x.\x80\xA0\x1C\0", 24);
  const char* const runs[] = {"2147483647",
                              "2147483648",
                              "9223372036854775807",
                              "9223372036854775808",
                              "000000000000000000001",
                              "18446744073709551616",
                              "99999999999999999999",
                              " \t\n\v\f\r-0",
                              "+\x80"};
  std::mt19937 rng(1605);
  for (int trial = 0; trial < 80000; ++trial) {
    std::string text;
    if (trial % 2 == 0) {
      // A sign and up to 20 digits alone (what the parsers read eight bytes
      // at a time), one byte sometimes changed to a neighbour of the digits.
      const unsigned sign = rng() % 3;  // none, '+' or '-'
      if (sign != 0) text += "+-"[sign - 1];
      for (int n = static_cast<int>(rng() % 21); n > 0; --n)
        text += static_cast<char>(rng() % 3 ? '0' + rng() % 10 : '9');
      if (!text.empty() && rng() % 2 == 0)
        text[rng() % text.size()] = std::string("/:\0 x\x80", 6)[rng() % 6];
    }
    const int length = trial % 2 == 0 ? 0 : static_cast<int>(rng() % 24);
    for (int i = 0; i < length; ++i) {
      if (rng() % 8 == 0) {
        text += runs[rng() % std::size(runs)];
      } else {
        text += bytes[rng() % bytes.size()];
      }
    }
    SCOPED_TRACE(::testing::PrintToString(text));
    const Parsed wide = modelParse(text, false);
    errno = 77;
    ASSERT_EQ(stdstring::stoll(text), wide.value);
    ASSERT_EQ(errno, wide.error);
    const Parsed narrow = modelParse(text, true);
    errno = 77;
    ASSERT_EQ(stdstring::stoi(text), narrow.value);
    ASSERT_EQ(errno, narrow.error);
    errno = 77;
    ASSERT_EQ(stdstring::stol(text), narrow.value);  // long is kept to 32 bits
    ASSERT_EQ(errno, narrow.error);
  }
}

}  // namespace
