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
}

// Bytes from 0x80 up reach tolower as negative values; in the "C" locale
// they come back unchanged. Short strings convert byte by byte, long ones
// through a map: both must agree. Under a Latin-1 locale (when installed)
// the negative values must find the entries of the bytes they stand for.
TEST(StdStringCase, ByteMappingFollowsLocale) {
  const std::string bytes = allBytes();
  const std::string lower = stdstring::toLowerStr(bytes);
  const std::string upper = stdstring::toUpperStr(bytes);
  for (int b = 0; b < 256; ++b) {
    EXPECT_EQ(static_cast<unsigned char>(lower[b]),
              b >= 'A' && b <= 'Z' ? b + 32 : b);
    EXPECT_EQ(static_cast<unsigned char>(upper[b]),
              b >= 'a' && b <= 'z' ? b - 32 : b);
    EXPECT_EQ(stdstring::toLowerStr(bytes.substr(b, 1))[0], lower[b]) << b;
  }
  for (const char* name : kLatin1LocaleNames) {
    CtypeLocale locale(name);
    if (!locale.ok()) continue;
    EXPECT_EQ(stdstring::toLowerStr("\xC9\xFF"), "\xE9\xFF");
    EXPECT_EQ(stdstring::toUpperStr("\xE9"), "\xC9");
    const std::string latinLower = stdstring::toLowerStr(bytes);
    for (int b = 0; b < 256; ++b) {
      EXPECT_EQ(stdstring::toLowerStr(bytes.substr(b, 1))[0], latinLower[b])
          << b;
    }
    return;
  }
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
