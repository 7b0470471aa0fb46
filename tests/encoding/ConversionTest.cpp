// What the Utf8 and Gbk fuzz harnesses cannot reach, as their inputs are
// 16-bit units: elements above 0xFFFF, and UTF-8 above it on its way to GBK.
// Their models and corpora hold the rest of the rules.

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "TQBase/Encoding.h"

namespace TQBase {
namespace {

// Only a 32-bit wchar_t can carry these; a failure is the empty result.
TEST(EncodingUtf8, EncodesElementsAbove16Bits) {
  const std::pair<std::wstring, std::string> rows[] = {
      {L"\x10000", "\xF0\x90\x80\x80"},
      {L"\x10FFFF", "\xF4\x8F\xBF\xBF"},
      {L"\x41\x110000", ""},
      {L"abcdefghij\xFFFFFFFF", ""},  // negative, behind a block
  };
  for (const auto& [wide, utf8] : rows)
    EXPECT_EQ(UnicodeToUTF8(wide), utf8) << ::testing::PrintToString(wide);
}

TEST(EncodingGbk, ConvertsThroughWideText) {
  EXPECT_EQ(Utf8ToGBK("\xF0\x94\xB8\x80"), "\xD2\xBB");  // U+14E00 as 0x4E00
  EXPECT_EQ(UnicodeToGBK(L"\x4E2D\x20000"), "");
}

TEST(EncodingDetect, NullWithNegativeLength) {
  EXPECT_TRUE(IsUTF8File(nullptr, -1));
  EXPECT_FALSE(IsUTF8BomFile(nullptr, -1));
}

}  // namespace
}  // namespace TQBase
