#include "TQBase/StdString.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <string>

using TQBase::stdstring;

namespace {

// errno afterwards is part of each row: 0 after a clean conversion (also when
// nothing was converted), ERANGE after an out-of-range one.
TEST(StdStringNumbers, SignedIntegersKeep32BitLong) {
  struct Row {
    std::string text;
    long long value;
    int error;
  };
  // clang-format off
  const Row rows[] = {
      {"42", 42, 0}, {"  42", 42, 0}, {"+7", 7, 0}, {"-7", -7, 0}, {"12abc", 12, 0},
      {"1.9", 1, 0}, {"", 0, 0}, {"abc", 0, 0}, {"0x10", 0, 0}, {{"1\0" "2", 3}, 1, 0},
      {"2147483647", 2147483647, 0}, {"-2147483648", -2147483648LL, 0},
      {"2147483648", 0, ERANGE}, {"-2147483649", 0, ERANGE},
      {"99999999999999999999", 0, ERANGE},
  };
  // clang-format on
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    errno = 77;
    EXPECT_EQ(stdstring::stoi(row.text), row.value);
    EXPECT_EQ(errno, row.error);
    errno = 77;
    EXPECT_EQ(stdstring::stol(row.text), row.value);
    EXPECT_EQ(errno, row.error);
  }
  EXPECT_EQ(stdstring::stoll("9223372036854775807"), 9223372036854775807LL);
  EXPECT_EQ(stdstring::stoll("9223372036854775808"), 0);
  EXPECT_EQ(errno, ERANGE);
}

TEST(StdStringNumbers, UnsignedNegatesIn32Bits) {
  struct Row {
    std::string text;
    int base;
    unsigned value;
    int error;
  };
  // clang-format off
  const Row rows[] = {
      {"ff", 16, 255, 0}, {"0xff", 16, 255, 0}, {"0xff", 0, 255, 0}, {"010", 0, 8, 0},
      {"010", 10, 10, 0}, {"4294967295", 10, 4294967295u, 0}, {"4294967296", 10, 0, ERANGE},
      {"-1", 10, 4294967295u, 0}, {" -4294967295", 10, 1, 0}, {"-4294967296", 10, 0, ERANGE},
      {"x", 10, 0, 0}, {"12", 1, 0, EINVAL}, {"12", 37, 0, EINVAL},  // bad base: not read
  };
  // clang-format on
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text + " base " + std::to_string(row.base));
    errno = 77;
    EXPECT_EQ(stdstring::stoui(row.text, row.base), row.value);
    EXPECT_EQ(errno, row.error);
  }
}

TEST(StdStringNumbers, FloatingPoint) {
  EXPECT_EQ(stdstring::stod("1.5x"), 1.5);
  EXPECT_EQ(stdstring::stod("1e3"), 1000.0);
  EXPECT_EQ(stdstring::stod("abc"), 0.0);
  EXPECT_EQ(stdstring::stod("-1e400"), 0.0);
  EXPECT_EQ(errno, ERANGE);
  EXPECT_EQ(stdstring::stof("1e39"),
            HUGE_VALF);  // beyond float only: no failure
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
  for (const char* text : {"t", "T", "true", "TRUE", "1", "9", "10"}) {
    EXPECT_TRUE(stdstring::stob(text, false)) << text;
  }
  for (const char* text :
       {"0", "01", "f", "F", "false", "yes", " 1", "-1", "+1", ":"}) {
    EXPECT_FALSE(stdstring::stob(text, true)) << text;
  }
  EXPECT_FALSE(stdstring::stob(std::string(1, '\0'), true));
}

}  // namespace
