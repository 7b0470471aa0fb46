#include "TQBase/Encoding.h"

#include <random>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace TQBase {
namespace {

enum Direction { kDecode = 1, kEncode = 2, kBoth = 3 };

// Each row is checked in its directions; a failure is the empty result.
TEST(EncodingUtf8, ConvertsByLenientRules) {
  const std::tuple<const char*, Direction, std::string, std::wstring> rows[] = {
      {"1- and 2-byte limits", kBoth, "\x7F\xC2\x80\xDF\xBF", L"\x7F\x80\x7FF"},
      {"3-byte limits", kBoth, "\xE0\xA0\x80\xEF\xBF\xBF", L"\x800\xFFFF"},
      {"pair as two", kBoth, "\xED\xA0\xBD\xED\xB8\x80", L"\xD83D\xDE00"},
      {"bom stays", kBoth, "\xEF\xBB\xBF\x41", L"\xFEFF\x41"},
      {"four bytes cut to 16 bits", kDecode, "\xF0\x9F\x98\x80", L"\xF600"},
      {"above 0x10FFFF", kDecode, "\xF4\x90\x80\x80", L""},
      {"overlong 2, 3", kDecode, "\xC0\x80\xE0\x80\x80", L"\0\0"s},
      {"overlong 5", kDecode, "\xF8\x80\x80\x80\x80", L"\0"s},
      {"six-byte 0x10FFFF", kDecode, "\xFC\x80\x84\x8F\xBF\xBF", L"\xFFFF"},
      {"six-byte FE too big", kDecode, "\xFE\x80\x80\x80\x80\x80", L""},
      {"cut off two", kDecode, "\x41\xC3", L""},
      {"cut off three", kDecode, "\x41\xE4\xB8", L""},
      {"stray continuation", kDecode, "\x80", L""},
      {"missing continuation", kDecode, "\xC3\x41", L""},
      {"missing middle continuation", kDecode, "\xE4\x41\x80", L""},
      {"blocks then cut off", kDecode, std::string(34, 'a') + "\xC3", L""},
      {"cut off lead inside block", kDecode, "0123456789\xE4zyxwv", L""},
      // Only a 32-bit wchar_t can carry these.
      {"10000", kEncode, "\xF0\x90\x80\x80", L"\x10000"},
      {"10FFFF", kEncode, "\xF4\x8F\xBF\xBF", L"\x10FFFF"},
      {"110000", kEncode, "", L"\x41\x110000"},
      {"negative", kEncode, "", L"abcdefghij\xFFFFFFFF"},
  };
  for (const auto& [name, direction, utf8, wide] : rows) {
    SCOPED_TRACE(name);
    EXPECT_EQ(direction & kDecode ? UTF8ToUnicode(utf8) : wide, wide);
    EXPECT_EQ(direction & kEncode ? UnicodeToUTF8(wide) : utf8, utf8);
  }
}

TEST(EncodingUtf8, RoundTripsEvery16BitString) {
  constexpr unsigned kSeed = 0x5EED;
  for (unsigned trial = 0; trial < 2000; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    std::wstring wide(rng() % 64, L'\0');
    // Mostly ASCII runs, so the block paths meet other units at every offset.
    for (wchar_t& unit : wide)
      unit = static_cast<wchar_t>(rng() % 3 ? rng() % 0x80 : rng() % 0x10000);
    EXPECT_EQ(UTF8ToUnicode(UnicodeToUTF8(wide)), wide);
  }
}

// Single codes and mixed text are checked against ICU.
TEST(EncodingGbk, ConvertsThroughWideText) {
  EXPECT_EQ(GBKToUtf8("\xD6\xD0"), "\xE4\xB8\xAD");
  EXPECT_EQ(Utf8ToGBK("\xF0\x94\xB8\x80"), "\xD2\xBB");  // U+14E00 as 0x4E00
  EXPECT_EQ(UnicodeToGBK(L"\x4E2D\x20000"), "");
  // Empty in, empty out, through both GBK directions.
  EXPECT_EQ(GBKToUtf8(""), "");
  EXPECT_EQ(Utf8ToGBK(""), "");
}

}  // namespace
}  // namespace TQBase
