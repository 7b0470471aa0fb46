// Code page 936 against ICU's "windows-936-2000", the reference platform's
// table: every single byte, every two-byte string with a lead byte, every BMP
// element, and random mixed text that makes the converter resume after the
// codes glibc lacks.

#include "TQBase/Encoding.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

namespace TQBase {
namespace {

class Cp936Oracle : public ::testing::Test {
 protected:
  void SetUp() override {
    UErrorCode status = U_ZERO_ERROR;
    converter_ = ucnv_open("windows-936-2000", &status);
    ASSERT_TRUE(U_SUCCESS(status)) << u_errorName(status);
    ucnv_setToUCallBack(converter_, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr,
                        nullptr, &status);
    ucnv_setFromUCallBack(converter_, UCNV_FROM_U_CALLBACK_STOP, nullptr,
                          nullptr, nullptr, &status);
    ASSERT_TRUE(U_SUCCESS(status)) << u_errorName(status);
  }
  void TearDown() override { ucnv_close(converter_); }

  // ICU's units, or false where it finds no character.
  bool decode(const std::string& bytes, std::wstring& wide) {
    std::vector<UChar> units(bytes.size() + 1);
    UErrorCode status = U_ZERO_ERROR;
    ucnv_reset(converter_);
    const int32_t count = ucnv_toUChars(
        converter_, units.data(), static_cast<int32_t>(units.size()),
        bytes.data(), static_cast<int32_t>(bytes.size()), &status);
    if (U_FAILURE(status)) return false;
    wide.assign(units.begin(), units.begin() + count);
    return true;
  }

  // ICU's bytes, or false where it has no form. ICU drops default-ignorable
  // elements without a form (U+00AD, U+200B, ...) silently; that is a failure
  // here too.
  bool encode(const std::wstring& wide, std::string& bytes) {
    const std::u16string units(wide.begin(), wide.end());
    std::vector<char> buffer(units.size() * 4 + 4);
    UErrorCode status = U_ZERO_ERROR;
    ucnv_reset(converter_);
    const int32_t count = ucnv_fromUChars(
        converter_, buffer.data(), static_cast<int32_t>(buffer.size()),
        units.data(), static_cast<int32_t>(units.size()), &status);
    if (U_FAILURE(status) || (count == 0 && !wide.empty())) return false;
    bytes.assign(buffer.data(), static_cast<std::size_t>(count));
    return true;
  }

  UConverter* converter_ = nullptr;
};

TEST_F(Cp936Oracle, EveryCodeDecodesAsReference) {
  int singles = 0, pairs = 0, privateUse = 0;
  for (int first = 0; first < 256; ++first) {
    // A lone byte, then every two-byte string that starts with a lead byte.
    for (int second = -1; second < (first >= 0x81 ? 256 : 0); ++second) {
      std::string bytes(1, static_cast<char>(first));
      if (second >= 0) bytes += static_cast<char>(second);
      std::wstring expected;
      const bool known = decode(bytes, expected);
      ASSERT_EQ(GBKToUnicode(bytes), known ? expected : L"")
          << std::hex << first << ' ' << second;
      // 0xFF is a character of its own, so 0xFF x is two of them.
      if (!known || (second >= 0 && expected.size() != 1)) continue;
      (second < 0 ? singles : pairs) += 1;
      if (second >= 0 && expected[0] >= 0xE000 && expected[0] <= 0xF8FF)
        ++privateUse;
    }
  }
  EXPECT_EQ(singles, 130);
  EXPECT_EQ(pairs, 23940);
  EXPECT_EQ(privateUse, 2149);
}

TEST_F(Cp936Oracle, EveryBmpElementEncodesAsReference) {
  for (int unit = 0; unit < 0x10000; ++unit) {
    const std::wstring wide(1, static_cast<wchar_t>(unit));
    std::string expected;
    const bool known = encode(wide, expected);
    ASSERT_EQ(UnicodeToGBK(wide), known ? expected : "") << std::hex << unit;
  }
}

TEST_F(Cp936Oracle, MixedTextMatchesReference) {
  // Every character ICU knows, by its bytes; the private-use ones and 0xFF
  // are frequent so that conversion resumes after them mid-text.
  std::vector<std::string> characters, glibcGaps;
  for (int first = 0; first < 256; ++first) {
    for (int second = -1; second < (first >= 0x81 ? 256 : 0); ++second) {
      std::string bytes(1, static_cast<char>(first));
      if (second >= 0) bytes += static_cast<char>(second);
      std::wstring wide;
      if (!decode(bytes, wide)) continue;
      const bool gap =
          (wide[0] >= 0xE000 && wide[0] <= 0xE864) || wide[0] == 0xF8F5;
      (gap ? glibcGaps : characters).push_back(bytes);
    }
  }
  constexpr unsigned kSeed = 936;
  for (unsigned trial = 0; trial < 300; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    std::string gbk;
    for (unsigned n = rng() % 200; n > 0; --n) {
      const auto& pool = rng() % 4 == 0 ? glibcGaps : characters;
      gbk += pool[rng() % pool.size()];
    }
    std::wstring wide;
    ASSERT_TRUE(decode(gbk, wide));
    EXPECT_EQ(GBKToUnicode(gbk), wide);
    std::string back;
    ASSERT_TRUE(encode(wide, back));
    EXPECT_EQ(UnicodeToGBK(wide), back);
  }
}

}  // namespace
}  // namespace TQBase
