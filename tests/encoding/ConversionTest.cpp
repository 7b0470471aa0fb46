#include "TQBase/Encoding.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace TQBase {
namespace {

std::wstring units(std::initializer_list<std::uint32_t> values) {
  std::wstring result;
  for (std::uint32_t value : values) result += static_cast<wchar_t>(value);
  return result;
}

struct DecodeRow {
  const char* name;
  std::string bytes;
  bool ok;
  std::wstring expected;
};

TEST(EncodingUtf8, DecodesByLenientRules) {
  const std::string ascii17 = "abcdefghijklmnopq";
  const std::wstring wideAscii17(ascii17.begin(), ascii17.end());
  const DecodeRow rows[] = {
      {"nul is ordinary", "\x41\x00\x42"s, true, units({0x41, 0, 0x42})},
      {"two bytes", "\xC3\xA9"s, true, units({0xE9})},
      {"three bytes", "\xE4\xB8\x80"s, true, units({0x4E00})},
      {"four bytes cut to 16 bits", "\xF0\x9F\x98\x80"s, true, units({0xF600})},
      {"highest value", "\xF4\x8F\xBF\xBF"s, true, units({0xFFFF})},
      {"above 0x10FFFF", "\xF4\x90\x80\x80"s, false, {}},
      {"overlong two", "\xC0\x80"s, true, units({0})},
      {"overlong three", "\xE0\x80\x80"s, true, units({0})},
      {"overlong five", "\xF8\x80\x80\x80\x80"s, true, units({0})},
      {"overlong six", "\xFC\x80\x80\x80\x80\x80"s, true, units({0})},
      {"six-byte 0x10FFFF", "\xFC\x80\x84\x8F\xBF\xBF"s, true, units({0xFFFF})},
      {"six-byte FD too big", "\xFD\x80\x80\x80\x80\x80"s, false, {}},
      {"six-byte FE too big", "\xFE\x80\x80\x80\x80\x80"s, false, {}},
      {"six-byte FF too big", "\xFF\x80\x80\x80\x80\x80"s, false, {}},
      {"five-byte too big", "\xF9\x84\x80\x80\x80"s, false, {}},
      {"cut off two", "\x41\xC3"s, false, {}},
      {"cut off three", "\x41\xE4\xB8"s, false, {}},
      {"stray continuation", "\x80"s, false, {}},
      {"missing continuation", "\xC3\x41"s, false, {}},
      {"missing middle continuation", "\xE4\x41\x80"s, false, {}},
      {"bom stays", "\xEF\xBB\xBF\x41"s, true, units({0xFEFF, 0x41})},
      {"surrogates pass", "\xED\xA0\xBD\xED\xB8\x80"s, true,
       units({0xD83D, 0xDE00})},
      // Past the 16-byte ASCII block the tail still decodes and fails.
      {"ascii block then char", ascii17 + "\xE4\xB8\x80", true,
       wideAscii17 + units({0x4E00})},
      {"ascii block then cut off", ascii17 + ascii17 + "\xC3", false, {}},
      {"cut off lead inside ascii", "0123456789\xE4" + ascii17, false, {}},
  };
  for (const DecodeRow& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(UTF8ToUnicode(row.bytes), row.ok ? row.expected : L"");
  }
}

TEST(EncodingUtf8, EncodesEachUnitByItself) {
  struct Row {
    const char* name;
    std::wstring wide;
    std::string expected;  // empty: failure
  } rows[] = {
      {"7F", units({0x7F}), "\x7F"},
      {"80", units({0x80}), "\xC2\x80"},
      {"7FF", units({0x7FF}), "\xDF\xBF"},
      {"800", units({0x800}), "\xE0\xA0\x80"},
      {"FFFF", units({0xFFFF}), "\xEF\xBF\xBF"},
      {"pair as two", units({0xD83D, 0xDE00}), "\xED\xA0\xBD\xED\xB8\x80"},
      {"nul", units({0x41, 0, 0x42}), "\x41\x00\x42"s},
      {"ascii block then wide", L"abcdefghij" + units({0x4E2D}),
       "abcdefghij\xE4\xB8\xAD"},
      // Only a 32-bit wchar_t can carry these.
      {"10000", units({0x10000}), "\xF0\x90\x80\x80"},
      {"10FFFF", units({0x10FFFF}), "\xF4\x8F\xBF\xBF"},
      {"110000", units({0x41, 0x110000}), ""},
      {"negative", L"abcdefghij" + units({0xFFFFFFFF}), ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(UnicodeToUTF8(row.wide), row.expected);
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

TEST(EncodingGbk, ConvertsKnownText) {
  EXPECT_EQ(GBKToUnicode("\xD6\xD0"), units({0x4E2D}));
  EXPECT_EQ(GBKToUtf8("\xD6\xD0"), "\xE4\xB8\xAD");
  EXPECT_EQ(UnicodeToGBK(units({0x41, 0x4E2D, 0})), "\x41\xD6\xD0\x00"s);
  EXPECT_EQ(Utf8ToGBK("\xE4\xB8\xAD\x41"), "\xD6\xD0\x41");
  // U+14E00 goes on as the unit 0x4E00.
  EXPECT_EQ(Utf8ToGBK("\xF0\x94\xB8\x80"), "\xD2\xBB");
}

TEST(EncodingGbk, AnyBadPartEmptiesTheResult) {
  EXPECT_EQ(GBKToUnicode("\xD6\xD0\x81\x20\xD6\xD0"), L"");
  EXPECT_EQ(GBKToUnicode("\xD6\xD0\xFE\xFF"), L"");  // 0xFF: no trail
  // A lead byte that ends the input is a cut-off code.
  EXPECT_EQ(GBKToUnicode("\xD6\xD0\xD6"), L"");
  EXPECT_EQ(UnicodeToGBK(units({0x4E2D, 0x0E01})), "");   // Thai
  EXPECT_EQ(UnicodeToGBK(units({0x4E2D, 0xD800})), "");   // lone surrogate
  EXPECT_EQ(UnicodeToGBK(units({0x4E2D, 0x20000})), "");  // beyond 16 bits
  EXPECT_EQ(UnicodeToGBK(units({0x4E2D, 0x00AD})), "");   // no form at all
  EXPECT_EQ(GBKToUtf8("\xD6"), "");
  EXPECT_EQ(Utf8ToGBK("\xE4\xB8"), "");
  EXPECT_EQ(Utf8ToGBK("\xE0\xB8\x81"), "");  // U+0E01 has no GBK form
}

TEST(Encoding, EmptyArgumentGivesEmptyResult) {
  EXPECT_EQ(GBKToUnicode(""), L"");
  EXPECT_EQ(UnicodeToGBK(L""), "");
  EXPECT_EQ(UTF8ToUnicode(""), L"");
  EXPECT_EQ(UnicodeToUTF8(L""), "");
  EXPECT_EQ(GBKToUtf8(""), "");
  EXPECT_EQ(Utf8ToGBK(""), "");
}

}  // namespace
}  // namespace TQBase
