#include "TQBase/StdString.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using TQBase::stdstring;

namespace {

TEST(StdStringTransform, TrimmedRemovesOnlyAsciiSpace) {
  struct Row {
    const char* name;
    std::string in, out;
  } rows[] = {
      {"empty", "", ""},
      {"inner space stays", "a b", "a b"},
      {"six kinds", "\t\n\v\f\r ", ""},
      {"forty spaces", std::string(40, ' '), ""},
      {"NUL is not space", std::string(" \0a\0 ", 5), std::string("\0a\0", 3)},
      {"leading NUL stops", std::string("\0 a", 3), std::string("\0 a", 3)},
      {"NBSP stays",
       "\xA0"
       "a\xA0",
       "\xA0"
       "a\xA0"},
      {"control bytes stay",
       "\x1F"
       "a\x1C",
       "\x1F"
       "a\x1C"},
      {"both ends", " \tx y\r\n", "x y"},
  };
  for (Row& row : rows) {
    SCOPED_TRACE(row.name);
    stdstring::trimmed(row.in);
    EXPECT_EQ(row.in, row.out);
  }
}

TEST(StdStringTransform, TrimmedLeavesBufferWhenNothingToTrim) {
  std::string s(100, 'x');
  const char* before = s.data();
  stdstring::trimmed(s);
  EXPECT_EQ(s.data(), before);
}

TEST(StdStringTransform, SubstrNeverThrows) {
  const std::string h = "hello";
  EXPECT_EQ(stdstring::substr(h, 1, 3), "ell");
  EXPECT_EQ(stdstring::substr(h, 1, 100), "ello");
  EXPECT_EQ(stdstring::substr(h, 4, 1), "o");
  EXPECT_EQ(stdstring::substr(h, 5, 1), "");
  EXPECT_EQ(stdstring::substr(h, 6, 1), "");
  EXPECT_EQ(stdstring::substr(h, 0, 0), "");
  EXPECT_EQ(stdstring::substr(h, 0, std::string::npos), "hello");
  EXPECT_EQ(stdstring::substr(std::string(), 0, 1), "");
  EXPECT_EQ(stdstring::substr(std::string("a\0b", 3), 1),
            std::string("\0b", 2));
  EXPECT_EQ(stdstring::substr(std::wstring(L"hello"), 1, 3), L"ell");
  EXPECT_EQ(stdstring::substr(std::wstring(L"hello"), 9), L"");
}

TEST(StdStringTransform, ReplaceTable) {
  struct Row {
    const char* name;
    std::string str, before, after, out;
    int count;
  } rows[] = {
      {"each", "aaa", "a", "b", "bbb", 3},
      {"no overlap", "aaa", "aa", "b", "ba", 1},
      {"twice", "aaaa", "aa", "b", "bb", 2},
      {"after holds before", "abab", "ab", "abab", "abababab", 2},
      {"grows", "xx", "x", "xx", "xxxx", 2},
      {"delete", "abc", "b", "", "ac", 1},
      {"case-sensitive", "aXbxc", "x", "y", "aXbyc", 1},
      {"none", "abc", "z", "y", "abc", 0},
      {"empty str", "", "a", "b", "", 0},
      {"NUL", std::string("a\0a", 3), std::string(1, '\0'), "b", "aba", 1},
      {"empty before", "abc", "", "x", "abc", 0},
  };
  for (Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(stdstring::replace(row.str, row.before, row.after), row.count);
    EXPECT_EQ(row.str, row.out);
  }
  std::wstring w = L"a--b--";
  EXPECT_EQ(stdstring::replace(w, std::wstring(L"--"), std::wstring(L"+")), 2);
  EXPECT_EQ(w, L"a+b+");
}

// Model: the loop as written, searching with std::string::find.
int replaceModel(std::string& str, const std::string& before,
                 const std::string& after) {
  int count = 0;
  for (std::size_t pos = str.find(before); pos != std::string::npos;
       pos = str.find(before, pos + after.size())) {
    str.replace(pos, before.size(), after);
    ++count;
  }
  return count;
}

TEST(StdStringTransform, ReplaceMatchesModel) {
  constexpr unsigned kSeed = 99;
  for (unsigned trial = 0; trial < 2000; ++trial) {
    std::mt19937 rng(kSeed + trial);
    SCOPED_TRACE(kSeed + trial);
    auto randomText = [&rng](std::size_t maxLength) {
      std::string s(rng() % (maxLength + 1), '\0');
      for (char& c : s) c = "ab\0"[rng() % 3];
      return s;
    };
    std::string str = randomText(rng() % 2 ? 40 : 300);
    const std::string before = randomText(3) + "a";
    const std::string after = randomText(4);
    std::string expected = str;
    const int count = replaceModel(expected, before, after);
    EXPECT_EQ(stdstring::replace(str, before, after), count);
    EXPECT_EQ(str, expected);
  }
}

TEST(StdStringTransform, FormatStringMeasuresThenFormats) {
  EXPECT_EQ(stdstring::FormatString("%s", ""), "");
  EXPECT_EQ(stdstring::FormatString("%016d", 42), "0000000000000042");
  EXPECT_EQ(
      stdstring::FormatString("%s-%d", std::string(37, 'x').c_str(), 12).size(),
      40u);
  EXPECT_EQ(stdstring::FormatString("a%cb", 0), std::string("a\0b", 3));
  const std::string big(100000, 'q');
  EXPECT_EQ(stdstring::FormatString("<%s>", big.c_str()), "<" + big + ">");
}

}  // namespace
