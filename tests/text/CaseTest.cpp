#include "TQBase/StdString.h"

#include "text/CtypeLocale.h"

#include <gtest/gtest.h>

#include <string>

using TQBase::stdstring;

namespace {

std::string allBytes() {
  std::string bytes(256, '\0');
  for (int b = 0; b < 256; ++b) bytes[b] = static_cast<char>(b);
  return bytes;
}

TEST(StdStringCase, WalksWholeLengthThroughNul) {
  std::string s("aB\xC9\0Z", 5);
  stdstring::toLower(s);
  EXPECT_EQ(s, std::string("ab\xC9\0z", 5));
  stdstring::toUpper(s);
  EXPECT_EQ(s, std::string("AB\xC9\0Z", 5));
  std::string empty;
  stdstring::toLower(empty);
  EXPECT_TRUE(empty.empty());
}

// In the "C" locale only A-Z and a-z change; bytes from 0x80 up reach
// tolower as negative values and must come back as they were. Short strings
// convert byte by byte, long ones by a map: both must agree.
TEST(StdStringCase, DefaultLocaleMapsOnlyAsciiLetters) {
  const std::string bytes = allBytes();
  const std::string lower = stdstring::toLowerStr(bytes);
  const std::string upper = stdstring::toUpperStr(bytes);
  ASSERT_EQ(lower.size(), 256u);
  for (int b = 0; b < 256; ++b) {
    const int expectLower = b >= 'A' && b <= 'Z' ? b + 32 : b;
    const int expectUpper = b >= 'a' && b <= 'z' ? b - 32 : b;
    EXPECT_EQ(static_cast<unsigned char>(lower[b]), expectLower) << b;
    EXPECT_EQ(static_cast<unsigned char>(upper[b]), expectUpper) << b;
    const std::string one(1, static_cast<char>(b));
    EXPECT_EQ(stdstring::toLowerStr(one)[0], lower[b]) << b;
    EXPECT_EQ(stdstring::toUpperStr(one)[0], upper[b]) << b;
  }
}

// glibc indexes its case tables from -128, so a negative char finds the entry
// of the byte it stands for. Where a single-byte Latin-1 locale is installed,
// 0xC9 and 0xE9 pair up and the case-insensitive search follows them.
TEST(StdStringCase, HighBytesFollowLatin1Locale) {
  bool found = false;
  for (const char* name : kLatin1LocaleNames) {
    CtypeLocale locale(name);
    if (!locale.ok()) continue;
    found = true;
    EXPECT_EQ(stdstring::toLowerStr("\xC9\xFF"), "\xE9\xFF");
    EXPECT_EQ(stdstring::toUpperStr("\xE9"), "\xC9");
    const std::string bytes = allBytes();
    const std::string lower = stdstring::toLowerStr(bytes);
    for (int b = 0; b < 256; ++b) {
      EXPECT_EQ(stdstring::toLowerStr(std::string(1, static_cast<char>(b)))[0],
                lower[b]);
    }
    const std::string text = std::string(300, 'x') + "caf\xC9";
    EXPECT_EQ(stdstring::indexOf(text, "CAF\xE9", 0, false), 300u);
    EXPECT_EQ(stdstring::indexOf("caf\xC9", "CAF\xE9", 0, false), 0u);
    break;
  }
  if (!found) GTEST_SKIP() << "no Latin-1 locale installed";
}

TEST(StdStringCase, WideUnitsUseTowlower) {
  CtypeLocale locale("C.UTF-8");
  if (!locale.ok()) GTEST_SKIP() << "C.UTF-8 not installed";
  std::wstring w = L"A\u00C9z\u0000\u0416";
  w.push_back(static_cast<wchar_t>(0x10400));  // wider than 16 bits: kept whole
  stdstring::toLower(w);
  std::wstring expected = L"a\u00E9z\u0000\u0436";
  expected.push_back(static_cast<wchar_t>(0x10428));
  EXPECT_EQ(w, expected);
  EXPECT_EQ(stdstring::toUpperStr(std::wstring(L"\u00E9a")), L"\u00C9A");
}

}  // namespace
