#include "TQBase/StdString.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using TQBase::stdstring;

namespace {

TEST(StdStringTransform, TrimmedRemovesOnlyAsciiSpace) {
  struct Row {
    std::string in, out;
  };
  // clang-format off
  const Row rows[] = {
      {"", ""}, {"a b", "a b"}, {"\t\n\v\f\r ", ""}, {std::string(40, ' '), ""},
      {" \t x y\r\n", "x y"},
      {{" \0a\0 ", 5}, {"\0a\0", 3}},          // NUL is not whitespace
      {{"\0 a", 3}, {"\0 a", 3}},
      {"\xA0" "a\xA0", "\xA0" "a\xA0"},        // nor are NBSP and controls
      {"\x1F" "a\x1C", "\x1F" "a\x1C"},
  };
  // clang-format on
  for (const Row& row : rows) {
    std::string s = row.in;
    stdstring::trimmed(s);
    EXPECT_EQ(s, row.out) << row.in;
  }
  std::string untouched(100, 'x');
  const char* buffer = untouched.data();
  stdstring::trimmed(untouched);
  EXPECT_EQ(untouched.data(), buffer);  // nothing to trim: no new buffer
}

TEST(StdStringTransform, SubstrNeverThrows) {
  const std::string h = "hello";
  EXPECT_EQ(stdstring::substr(h, 1, 3), "ell");
  EXPECT_EQ(stdstring::substr(h, 1, 100), "ello");
  EXPECT_EQ(stdstring::substr(h, 5, 1) + stdstring::substr(h, 6, 1), "");
  EXPECT_EQ(stdstring::substr(h, 0, std::string::npos), "hello");
  EXPECT_EQ(stdstring::substr(std::string(), 0, 1), "");
  EXPECT_EQ(stdstring::substr({"a\0b", 3}, 1), std::string("\0b", 2));
  EXPECT_EQ(stdstring::substr(std::wstring(L"hello"), 1, 3), L"ell");
  EXPECT_EQ(stdstring::substr(std::wstring(L"hello"), 9), L"");
}

TEST(StdStringTransform, ReplaceTable) {
  struct Row {
    std::string str, before, after, out;
    int count;
  };
  // clang-format off
  const Row rows[] = {
      {"aaa", "a", "b", "bbb", 3},   {"aaa", "aa", "b", "ba", 1},
      {"aaaa", "aa", "b", "bb", 2},  {"abab", "ab", "abab", "abababab", 2},
      {"xx", "x", "xx", "xxxx", 2},  {"abc", "b", "", "ac", 1},
      {"aXbxc", "x", "y", "aXbyc", 1}, {"abc", "z", "y", "abc", 0},
      {"", "a", "b", "", 0},         {{"a\0a", 3}, {"\0", 1}, "b", "aba", 1},
      {"abc", "", "x", "abc", 0},    // empty before: nothing replaced
  };
  // clang-format on
  for (const Row& row : rows) {
    std::string s = row.str;
    EXPECT_EQ(stdstring::replace(s, row.before, row.after), row.count)
        << row.str;
    EXPECT_EQ(s, row.out);
  }
  std::wstring w = L"a--b--";
  EXPECT_EQ(stdstring::replace(w, std::wstring(L"--"), std::wstring(L"+")), 2);
  EXPECT_EQ(w, L"a+b+");
}

// Model: the loop as described, resuming behind each inserted text.
TEST(StdStringTransform, ReplaceMatchesModel) {
  constexpr unsigned kSeed = 99;
  for (unsigned trial = 0; trial < 2000; ++trial) {
    std::mt19937 rng(kSeed + trial);
    SCOPED_TRACE(kSeed + trial);
    auto text = [&rng](std::size_t maxLength) {
      std::string s(rng() % (maxLength + 1), '\0');
      for (char& c : s) c = "ab\0"[rng() % 3];
      return s;
    };
    std::string str = text(rng() % 2 ? 40 : 300), expected = str;
    const std::string before = text(3) + "a", after = text(4);
    int count = 0;
    for (std::size_t at = expected.find(before); at != std::string::npos;
         at = expected.find(before, at + after.size()), ++count) {
      expected.replace(at, before.size(), after);
    }
    EXPECT_EQ(stdstring::replace(str, before, after), count);
    EXPECT_EQ(str, expected);
  }
}

TEST(StdStringTransform, FormatStringKeepsExactLength) {
  EXPECT_EQ(stdstring::FormatString("%s", ""), "");
  EXPECT_EQ(stdstring::FormatString("%016d", 42), "0000000000000042");
  EXPECT_EQ(stdstring::FormatString("a%cb", 0), std::string("a\0b", 3));
  const std::string big(100000, 'q');
  EXPECT_EQ(stdstring::FormatString("<%s>", big.c_str()), "<" + big + ">");
}

}  // namespace
