#include "TQBase/StdString.h"

#include "text/CtypeLocale.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using TQBase::stdstring;

namespace {

constexpr std::size_t npos = std::string::npos;

TEST(StdStringSearch, AsciiIsSpaceHoldsExactlySixBytes) {
  for (int b = 0; b < 256; ++b) {
    const bool expected = (b >= 0x09 && b <= 0x0D) || b == 0x20;
    EXPECT_EQ(stdstring::ascii_isspace(static_cast<char>(b)), expected) << b;
  }
}

// Model: fold A-Z, compare as signed chars, exactly -1/1 at a string's end.
int strnicmpModel(const std::string& a, const std::string& b) {
  for (std::size_t i = 0;; ++i) {
    const int x = i < a.size() ? static_cast<unsigned char>(a[i]) : 0;
    const int y = i < b.size() ? static_cast<unsigned char>(b[i]) : 0;
    if (x == 0 || y == 0) return x == y ? 0 : (x == 0 ? -1 : 1);
    const int fx = x >= 'A' && x <= 'Z' ? x + 32 : x;
    const int fy = y >= 'A' && y <= 'Z' ? y + 32 : y;
    if (fx != fy)
      return static_cast<signed char>(fx) - static_cast<signed char>(fy);
  }
}

TEST(StdStringSearch, StrnicmpValues) {
  EXPECT_EQ(stdstring::strnicmp("abc", "ABD", 3), -1);
  EXPECT_EQ(stdstring::strnicmp("abc", "ABD", 2), 0);
  EXPECT_EQ(stdstring::strnicmp("a", "c", -1), -2);  // unscaled, unlike an end
  EXPECT_EQ(stdstring::strnicmp("\xE9", "a", 1), -120);
  EXPECT_EQ(stdstring::strnicmp("\x7F", "\x80", 1), 255);
  EXPECT_EQ(stdstring::strnicmp("\xE9", "\xC9", 1), 32);   // only A-Z fold
  EXPECT_EQ(stdstring::strnicmp(nullptr, nullptr, 0), 0);  // reads nothing
  constexpr unsigned kSeed = 4201;
  for (unsigned trial = 0; trial < 2000; ++trial) {
    std::mt19937 rng(kSeed + trial);
    SCOPED_TRACE(kSeed + trial);
    std::string a(rng() % 4, '\0');
    for (char& c : a) c = static_cast<char>(1 + rng() % 255);
    std::string b = rng() % 3 == 0 ? stdstring::toUpperStr(a) : a;
    if (rng() % 2) b.push_back(static_cast<char>(1 + rng() % 255));
    if (rng() % 2) std::swap(a, b);
    EXPECT_EQ(stdstring::strnicmp(a.c_str(), b.c_str(), -1),
              strnicmpModel(a, b));
  }
}

TEST(StdStringSearch, StartsAndEndsWith) {
  struct Row {
    std::string str, other;
    bool starts, startsIgnoringCase, ends, endsIgnoringCase;
  };
  // clang-format off
  const Row rows[] = {
      {"", "", true, true, true, true},      {"", "a", false, false, false, false},
      {"abc", "", true, true, true, true},   {"a", "ab", false, false, false, false},
      {"abc", "AB", false, true, false, false}, {"xabc", "BC", false, false, false, true},
      {{"a\0b", 3}, {"a\0x", 3}, true, true, true, true},  // stops at a shared NUL
  };
  // clang-format on
  for (const Row& r : rows) {
    SCOPED_TRACE(r.str + " / " + r.other);
    EXPECT_EQ(stdstring::startsWith(r.str, r.other, true), r.starts);
    EXPECT_EQ(stdstring::startsWith(r.str, r.other, false),
              r.startsIgnoringCase);
    EXPECT_EQ(stdstring::endsWith(r.str, r.other, true), r.ends);
    EXPECT_EQ(stdstring::endsWith(r.str, r.other, false), r.endsIgnoringCase);
  }
  const std::string self = "Abc";
  EXPECT_TRUE(stdstring::startsWith(self, self, true));
  EXPECT_EQ(stdstring::indexOf(self, self, 0, false), 0u);
  EXPECT_FALSE(stdstring::startsWith("", '\0', false));
  EXPECT_FALSE(stdstring::endsWith("", '\0', true));
  EXPECT_FALSE(stdstring::startsWith("Abc", 'a', true));
  EXPECT_TRUE(stdstring::startsWith("Abc", 'a', false));
  EXPECT_TRUE(stdstring::endsWith("abC", 'c', false));
  EXPECT_FALSE(stdstring::endsWith("ab\xC9", '\xE9', false));  // A-Z only
}

TEST(StdStringSearch, IndexOfAndLastIndexOfTables) {
  struct Row {
    const char* name;
    std::string str, sub;
    std::size_t from, expected;
  };
  // clang-format off
  const Row forward[] = {
      {"first", "abcabc", "bc", 0, 1},       {"from 2", "abcabc", "bc", 2, 4},
      {"at from", "abcabc", "bc", 4, 4},     {"too late", "abcabc", "bc", 5, npos},
      {"empty sub at size", "abc", "", 3, 3}, {"empty sub past", "abc", "", 4, npos},
      {"empty both", "", "", 0, 0},          {"empty both from 1", "", "", 1, npos},
      {"from at size", "abc", "c", 3, npos},  {"case", "aBc", "bC", 0, 1},
      {"NUL is a byte", {"a\0b\0c", 5}, {"\0c", 2}, 0, 3},
  };
  const Row backward[] = {
      {"whole", "abcabc", "bc", npos, 4},    {"at from", "abcabc", "bc", 4, 4},
      {"from 3", "abcabc", "bc", 3, 1},      {"from 0", "abcabc", "bc", 0, npos},
      {"empty sub", "abc", "", 1, 1},        {"empty sub clamps", "abc", "", 9, 3},
      {"empty both", "", "", npos, 0},       {"sub longer", "a", "ab", 0, npos},
      {"case", "xABcab", "aB", npos, 4},
  };
  // clang-format on
  for (const Row& row : forward) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(stdstring::indexOf(row.str, row.sub, row.from, false),
              row.expected);
    if (std::string(row.name) != "case") {
      EXPECT_EQ(stdstring::indexOf(row.str, row.sub, row.from, true),
                row.expected);
    }
  }
  for (const Row& row : backward) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(stdstring::lastIndexOf(row.str, row.sub, row.from, false),
              row.expected);
  }
}

// Long needles take a different path; repetitive text is their hard case.
TEST(StdStringSearch, LongNeedleInRepetitiveText) {
  const std::string needle = std::string(70, 'a') + "b";
  const std::string text =
      std::string(5000, 'a') + needle + std::string(80, 'a');
  EXPECT_EQ(stdstring::indexOf(text, needle, 0, true), 5000u);
  EXPECT_EQ(stdstring::indexOf(text, needle, 5001, true), npos);
  EXPECT_EQ(stdstring::indexOf(text, stdstring::toUpperStr(needle), 9, false),
            5000u);
  EXPECT_EQ(stdstring::lastIndexOf(text, needle, npos, true), 5000u);
}

// Ignoring case must give the answer of searching lower-case copies. A small
// alphabet (cases, NUL, high bytes) makes many near matches; lengths cross
// the 16-byte blocks and the map threshold.
void checkAgainstLoweredCopies(unsigned seed) {
  static const char kAlphabet[] = "aAbB\0\xC9\xE9z";
  std::mt19937 rng(seed);
  const std::size_t sizes[] = {0, 5, 17, 40, 255, 256, 300, 1000};
  std::string str(sizes[rng() % 8], '\0');
  for (char& c : str) c = kAlphabet[rng() % 8];
  std::string sub(rng() % 5, '\0');
  for (char& c : sub) c = kAlphabet[rng() % 8];
  if (!str.empty() && rng() % 2) {  // plant a real occurrence
    sub = stdstring::toUpperStr(str.substr(rng() % str.size(), 1 + rng() % 6));
  }
  const std::string lowStr = stdstring::toLowerStr(str);
  const std::string lowSub = stdstring::toLowerStr(sub);
  const std::size_t from = rng() % (str.size() + 2);
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
  for (const char* name : kLatin1LocaleNames) {  // high bytes fold here too
    CtypeLocale locale(name);
    if (!locale.ok()) continue;
    for (unsigned trial = 0; trial < 1000; ++trial) {
      SCOPED_TRACE(std::string(name) + " " + std::to_string(kSeed + trial));
      checkAgainstLoweredCopies(kSeed + trial);
    }
    break;
  }
}

}  // namespace
