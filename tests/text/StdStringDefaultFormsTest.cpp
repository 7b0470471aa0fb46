// Default arguments of the stdstring searches and the wide lower-casing
// copy, each against the explicit form or the expected text.

#include <string>

#include <gtest/gtest.h>

#include "TQBase/StdString.h"

namespace TQBase {
namespace {

TEST(StdStringDefaults, LastIndexOfSearchesAllOfItWithCase) {
  const std::string str = "abcABCabc";
  EXPECT_EQ(stdstring::lastIndexOf(str, "abc"), 6u);
  EXPECT_EQ(stdstring::lastIndexOf(str, "ABC"), 3u);  // not 6: case counts
  EXPECT_EQ(stdstring::lastIndexOf(str, "Bc"), std::string::npos);
  EXPECT_EQ(stdstring::lastIndexOf(str, "Bc", std::string::npos, false), 7u);
  EXPECT_EQ(stdstring::lastIndexOf(str, ""), str.size());
  EXPECT_EQ(stdstring::lastIndexOf(str, "abc", 5), 0u);
  EXPECT_EQ(stdstring::lastIndexOf(str, "ABC", 5), 3u);
  EXPECT_EQ(stdstring::lastIndexOf("", "a"), std::string::npos);
  EXPECT_EQ(stdstring::indexOf(str, "ABC"), 3u);
  EXPECT_EQ(stdstring::indexOf(str, "bC"), std::string::npos);
}

TEST(StdStringDefaults, WideToLowerStrCopiesAndLowersEveryUnit) {
  const std::wstring mixed = std::wstring(L"AbC\0Z-9", 7);
  const std::wstring lowered = stdstring::toLowerStr(mixed);
  EXPECT_EQ(lowered, std::wstring(L"abc\0z-9", 7));  // NUL does not stop it
  EXPECT_EQ(mixed, std::wstring(L"AbC\0Z-9", 7));    // the source stays
  EXPECT_EQ(stdstring::toLowerStr(std::wstring()), L"");
  EXPECT_EQ(stdstring::toUpperStr(lowered), std::wstring(L"ABC\0Z-9", 7));
  // The copy agrees with the in-place form on every unit of the BMP.
  std::wstring all;
  for (unsigned u = 0; u < 0x10000; u += 7) all += static_cast<wchar_t>(u);
  std::wstring inPlace = all;
  stdstring::toLower(inPlace);
  EXPECT_EQ(stdstring::toLowerStr(all), inPlace);
  EXPECT_EQ(stdstring::toLowerStr(all).size(), all.size());
}

}  // namespace
}  // namespace TQBase
