// What the fuzz harnesses (fuzz/StringSearch, SplitJoin, JsonMask,
// NumberParse) do not hold to a model: case conversion, trimming, substr and
// FormatString, and the edges outside the harnesses' inputs.
#include "TQBase/StdString.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <tuple>

using TQBase::stdstring;

namespace {

// Bytes from 0x80 up reach tolower as negative values and stay in "C". Long
// texts convert through a map, shorter ones (NUL first here) byte by byte.
TEST(StdStringCase, ByteMappingKeepsHighBytes) {
  std::string bytes(256, '\0');
  for (int b = 0; b < 256; ++b) bytes[b] = static_cast<char>(b);
  std::string lower = bytes, upper = bytes;
  for (int b = 'A'; b <= 'Z'; ++b) {
    lower[b] = static_cast<char>(b + 32);
    upper[b + 32] = static_cast<char>(b);
  }
  EXPECT_EQ(stdstring::toLowerStr(bytes), lower);
  EXPECT_EQ(stdstring::toUpperStr(bytes), upper);
  EXPECT_EQ(stdstring::toLowerStr(bytes.substr(0, 255)), lower.substr(0, 255));
  EXPECT_EQ(stdstring::toUpperStr(std::string()), "");
}

TEST(StdStringCase, WideUnitsUseTowlower) {
  // The copy agrees with the in-place form on every unit of the BMP, a NUL
  // among them, and leaves its source alone.
  std::wstring all;
  for (unsigned u = 0; u < 0x10000; u += 7) all += static_cast<wchar_t>(u);
  std::wstring inPlace = all;
  stdstring::toLower(inPlace);
  EXPECT_EQ(stdstring::toLowerStr(all), inPlace);
  EXPECT_EQ(stdstring::toUpperStr(std::wstring(L"aB\0z", 4)),
            std::wstring(L"AB\0Z", 4));
  const std::string saved = std::setlocale(LC_CTYPE, nullptr);
  if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) GTEST_SKIP();
  // A unit wider than 16 bits goes to towlower whole.
  std::wstring w{L'A', L'\u00C9', L'z', L'\0', L'\u0416', wchar_t(0x10400)};
  stdstring::toLower(w);
  EXPECT_EQ(w, (std::wstring{L'a', L'\u00E9', L'z', L'\0', L'\u0436',
                             wchar_t(0x10428)}));
  EXPECT_EQ(stdstring::toUpperStr(std::wstring(L"\u00E9a")), L"\u00C9A");
  std::setlocale(LC_CTYPE, saved.c_str());
}

TEST(StdStringSearch, StrnicmpReadsNothingForZero) {
  EXPECT_EQ(stdstring::strnicmp(nullptr, nullptr, 0), 0);
}

TEST(StdStringTransform, TrimmedRemovesOnlyAsciiSpace) {
  using Row = std::tuple<std::string, std::string>;
  // clang-format off
  const Row rows[] = {
      {"", ""}, {"a b", "a b"}, {"\t\n\v\f\r ", ""}, {std::string(40, ' '), ""},
      {" \t x y\r\n", "x y"},
      {{" \0a\0 ", 5}, {"\0a\0", 3}}, {{"\0 a", 3}, {"\0 a", 3}},  // NUL is not space
      {"\xA0" "a\xA0", "\xA0" "a\xA0"}, {"\x1F" "a\x1C", "\x1F" "a\x1C"},  // nor NBSP, controls
  };
  // clang-format on
  for (const auto& [in, out] : rows) {
    std::string s = in;
    stdstring::trimmed(s);
    EXPECT_EQ(s, out) << in;
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
  EXPECT_EQ(stdstring::substr(h, 5, 1), "");
  EXPECT_EQ(stdstring::substr(h, 6, 1), "");
  EXPECT_EQ(stdstring::substr({"a\0b", 3}, 1), std::string("\0b", 2));
  const std::wstring w = L"hello";
  EXPECT_EQ(stdstring::substr(w, 1, 3), L"ell");
  EXPECT_EQ(stdstring::substr(w, 9), L"");
}

TEST(StdStringTransform, FormatStringKeepsExactLength) {
  EXPECT_EQ(stdstring::FormatString("%s", ""), "");
  EXPECT_EQ(stdstring::FormatString("a%cb", 0), std::string("a\0b", 3));
  const std::string big(100000, 'q');
  EXPECT_EQ(stdstring::FormatString("<%s>", big.c_str()), "<" + big + ">");
}

}  // namespace
