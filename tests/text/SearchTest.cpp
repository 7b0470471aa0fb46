#include "TQBase/StdString.h"

#include "text/CtypeLocale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

using TQBase::stdstring;

namespace {

constexpr std::size_t npos = std::string::npos;

TEST(StdStringSearch, AsciiIsSpaceHoldsExactlySixBytes) {
  for (int b = 0; b < 256; ++b) {
    const bool expected = b == 0x09 || b == 0x0A || b == 0x0B || b == 0x0C ||
                          b == 0x0D || b == 0x20;
    EXPECT_EQ(stdstring::ascii_isspace(static_cast<char>(b)), expected) << b;
  }
}

TEST(StdStringSearch, StrnicmpKnownValues) {
  EXPECT_EQ(stdstring::strnicmp("abc", "ABD", 3), -1);
  EXPECT_EQ(stdstring::strnicmp("abc", "ABD", 2), 0);
  EXPECT_EQ(stdstring::strnicmp("abc", "ABD", -1), -1);
  EXPECT_EQ(stdstring::strnicmp("a", "c", -1), -2);  // unscaled difference
  EXPECT_EQ(stdstring::strnicmp("", "a", 5), -1);
  EXPECT_EQ(stdstring::strnicmp("ab", "a", 5), 1);
  EXPECT_EQ(stdstring::strnicmp("\xE9", "a", 1), -120);
  EXPECT_EQ(stdstring::strnicmp("a", "\xE9", 1), 120);
  EXPECT_EQ(stdstring::strnicmp("\x7F", "\x80", 1), 255);
  EXPECT_EQ(stdstring::strnicmp("\xE9", "\xC9", 1), 32);  // only A-Z fold
  EXPECT_EQ(stdstring::strnicmp("@", "`", 1), -32);
  EXPECT_EQ(stdstring::strnicmp(nullptr, nullptr, 0), 0);  // reads nothing
}

// Model: fold A-Z, compare as signed chars, -1/1 at a string's end.
int strnicmpModel(const std::string& a, const std::string& b) {
  for (std::size_t i = 0;; ++i) {
    const int x = i < a.size() ? static_cast<unsigned char>(a[i]) : 0;
    const int y = i < b.size() ? static_cast<unsigned char>(b[i]) : 0;
    if (x == 0) return y == 0 ? 0 : -1;
    if (y == 0) return 1;
    const int fx = x >= 'A' && x <= 'Z' ? x + 32 : x;
    const int fy = y >= 'A' && y <= 'Z' ? y + 32 : y;
    if (fx != fy)
      return static_cast<signed char>(fx) - static_cast<signed char>(fy);
  }
}

TEST(StdStringSearch, StrnicmpMatchesModelOnRandomBytes) {
  constexpr unsigned kSeed = 4201;
  for (unsigned trial = 0; trial < 2000; ++trial) {
    std::mt19937 rng(kSeed + trial);
    SCOPED_TRACE(kSeed + trial);
    std::string a(rng() % 4, '\0');
    for (char& c : a) c = static_cast<char>(1 + rng() % 255);
    std::string b = a;
    b.push_back(static_cast<char>(1 + rng() % 255));  // differs in the tail
    if (rng() % 2) std::swap(a, b);
    if (rng() % 3 == 0) b = stdstring::toUpperStr(a);
    EXPECT_EQ(stdstring::strnicmp(a.c_str(), b.c_str(), -1),
              strnicmpModel(a, b));
  }
}

TEST(StdStringSearch, StartsAndEndsWith) {
  const std::string nulA("a\0b", 3), nulB("a\0x", 3);
  for (bool cs : {true, false}) {
    EXPECT_TRUE(stdstring::startsWith("", "", cs));
    EXPECT_FALSE(stdstring::startsWith("", "a", cs));
    EXPECT_TRUE(stdstring::startsWith("abc", "", cs));
    EXPECT_TRUE(stdstring::endsWith("abc", "", cs));
    EXPECT_FALSE(stdstring::endsWith("", "a", cs));
    EXPECT_FALSE(stdstring::startsWith("a", "ab", cs));
    EXPECT_TRUE(stdstring::startsWith(nulA, nulB, cs));  // stops at NUL
    EXPECT_TRUE(
        stdstring::endsWith(std::string("x\0b", 3), std::string("\0c", 2), cs));
    EXPECT_FALSE(stdstring::startsWith("", '\0', cs));
    EXPECT_FALSE(stdstring::endsWith("", '\0', cs));
  }
  EXPECT_FALSE(stdstring::startsWith("abc", "AB", true));
  EXPECT_TRUE(stdstring::startsWith("abc", "AB", false));
  EXPECT_FALSE(stdstring::endsWith("xabc", "BC", true));
  EXPECT_TRUE(stdstring::endsWith("xabc", "BC", false));
  EXPECT_FALSE(stdstring::startsWith("abc", 'A', true));
  EXPECT_TRUE(stdstring::startsWith("abc", 'A', false));
  EXPECT_TRUE(stdstring::startsWith("Abc", 'a', false));
  EXPECT_TRUE(stdstring::endsWith("abC", 'c', false));
  EXPECT_FALSE(stdstring::endsWith("ab\xC9", '\xE9', false));
  const std::string self = "same";
  EXPECT_TRUE(stdstring::startsWith(self, self));
  EXPECT_EQ(stdstring::indexOf(self, self, 0, false), 0u);
}

TEST(StdStringSearch, IndexOfTable) {
  struct Row {
    const char* name;
    std::string str, sub;
    std::size_t from, expected;
    bool caseSensitive;
  } rows[] = {
      {"first", "abcabc", "bc", 0, 1, true},
      {"from 2", "abcabc", "bc", 2, 4, true},
      {"from match", "abcabc", "bc", 4, 4, true},
      {"too late", "abcabc", "bc", 5, npos, true},
      {"empty sub at size", "abc", "", 3, 3, true},
      {"empty sub past size", "abc", "", 4, npos, false},
      {"empty both", "", "", 0, 0, false},
      {"empty both from 1", "", "", 1, npos, true},
      {"from at size", "abc", "c", 3, npos, false},
      {"ignore case", "aBc", "bC", 0, 1, false},
      {"NUL is a byte", std::string("a\0b\0c", 5), std::string("\0c", 2), 0, 3,
       true},
      {"high bytes stay", "x\xC9y", "\xE9", 0, npos, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(stdstring::indexOf(row.str, row.sub, row.from, row.caseSensitive),
              row.expected);
  }
}

TEST(StdStringSearch, LastIndexOfTable) {
  struct Row {
    const char* name;
    std::string str, sub;
    std::size_t from, expected;
  } rows[] = {
      {"whole", "abcabc", "bc", npos, 4},
      {"from match", "abcabc", "bc", 4, 4},
      {"from 3", "abcabc", "bc", 3, 1},
      {"from 0", "abcabc", "bc", 0, npos},
      {"empty sub", "abc", "", 1, 1},
      {"empty sub clamps", "abc", "", 9, 3},
      {"empty both", "", "", npos, 0},
      {"sub longer", "a", "ab", npos, npos},
      {"sub longer from 0", "a", "ab", 0, npos},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    for (bool cs : {true, false}) {
      EXPECT_EQ(stdstring::lastIndexOf(row.str, row.sub, row.from, cs),
                row.expected);
    }
  }
  EXPECT_EQ(stdstring::lastIndexOf("xABcab", "aB", npos, false), 4u);
}

// The case-insensitive searches promise the answer of searching lower-case
// copies. Random texts over a small alphabet (cases, NUL, high bytes) make
// many near matches; lengths cross the block and table thresholds.
void checkAgainstLoweredCopies(unsigned seed) {
  static const char kAlphabet[] = "aAbB\0\xC9\xE9z";
  std::mt19937 rng(seed);
  const std::size_t sizes[] = {0, 5, 17, 40, 255, 256, 300, 1000};
  std::string str(sizes[rng() % 8], '\0');
  for (char& c : str) c = kAlphabet[rng() % 8];
  std::string sub(rng() % 5, '\0');
  for (char& c : sub) c = kAlphabet[rng() % 8];
  if (!str.empty() && rng() % 2) {  // plant a real occurrence
    const std::size_t at = rng() % str.size();
    sub = stdstring::toUpperStr(str.substr(at, 1 + rng() % 6));
  }
  const std::string lowStr = stdstring::toLowerStr(str);
  const std::string lowSub = stdstring::toLowerStr(sub);
  const std::size_t from = str.empty() ? rng() % 2 : rng() % (str.size() + 2);
  EXPECT_EQ(stdstring::indexOf(str, sub, from, false),
            lowStr.find(lowSub, from));
  EXPECT_EQ(stdstring::indexOf(str, sub, from, true), str.find(sub, from));
  const std::size_t last = rng() % 4 == 0 ? npos : from;
  EXPECT_EQ(stdstring::lastIndexOf(str, sub, last, false),
            lowStr.rfind(lowSub, last));
}

TEST(StdStringSearch, IgnoringCaseMatchesSearchOfLoweredCopies) {
  constexpr unsigned kSeed = 777;
  for (unsigned trial = 0; trial < 3000; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    checkAgainstLoweredCopies(kSeed + trial);
  }
}

// Under Latin-1 the high bytes of the alphabet fold too.
TEST(StdStringSearch, IgnoringCaseFollowsLatin1Locale) {
  for (const char* name : kLatin1LocaleNames) {
    CtypeLocale locale(name);
    if (!locale.ok()) continue;
    constexpr unsigned kSeed = 1777;
    for (unsigned trial = 0; trial < 1000; ++trial) {
      SCOPED_TRACE(kSeed + trial);
      checkAgainstLoweredCopies(kSeed + trial);
    }
    return;
  }
  GTEST_SKIP() << "no Latin-1 locale installed";
}

}  // namespace
