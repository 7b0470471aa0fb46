// Code page 936 against ICU's "windows-936-2000", the full table we match:
// every single byte, every two-byte string with a lead byte, every BMP
// element, and random mixed text that makes the converter resume after the
// codes glibc lacks.

#include "TQBase/Encoding.h"

#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

namespace TQBase {
namespace {

TEST(Cp936Oracle, EveryCodeAndMixedTextConvertAsReference) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<UConverter, void (*)(UConverter*)> icu(
      ucnv_open("windows-936-2000", &status), ucnv_close);
  ucnv_setToUCallBack(icu.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr,
                      nullptr, &status);
  ucnv_setFromUCallBack(icu.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr,
                        nullptr, &status);
  ASSERT_TRUE(U_SUCCESS(status)) << u_errorName(status);
  // ICU's units, or empty where it finds no character.
  auto decode = [&](const std::string& bytes) {
    std::u16string units(bytes.size() + 1, u'\0');
    UErrorCode error = U_ZERO_ERROR;
    const int32_t count =
        ucnv_toUChars(icu.get(), &units[0], static_cast<int32_t>(units.size()),
                      bytes.data(), static_cast<int32_t>(bytes.size()), &error);
    return U_FAILURE(error) ? L"" : std::wstring(&units[0], &units[count]);
  };
  // ICU's bytes, or empty where it has no form. ICU drops default-ignorable
  // elements without a form (U+00AD, ...) silently; that is empty too.
  auto encode = [&](const std::wstring& wide) {
    const std::u16string units(wide.begin(), wide.end());
    std::string bytes(units.size() * 4 + 4, '\0');
    UErrorCode error = U_ZERO_ERROR;
    const int32_t count = ucnv_fromUChars(
        icu.get(), &bytes[0], static_cast<int32_t>(bytes.size()), units.data(),
        static_cast<int32_t>(units.size()), &error);
    bytes.resize(U_FAILURE(error) ? 0 : static_cast<std::size_t>(count));
    return bytes;
  };

  int singles = 0, pairs = 0, privateUse = 0;
  std::vector<std::string> characters, glibcGaps;
  for (int first = 0; first < 256; ++first) {
    // A lone byte, then every two-byte string that starts with a lead byte.
    for (int second = -1; second < (first >= 0x81 ? 256 : 0); ++second) {
      std::string bytes(1, static_cast<char>(first));
      if (second >= 0) bytes += static_cast<char>(second);
      const std::wstring expected = decode(bytes);
      ASSERT_EQ(GBKToUnicode(bytes), expected)
          << std::hex << first << ' ' << second;
      // Unknown, or two characters (0xFF is one by itself).
      if (expected.size() != 1) continue;
      (second < 0 ? singles : pairs) += 1;
      const wchar_t u = expected[0];
      privateUse += second >= 0 && u >= 0xE000 && u <= 0xF8FF;
      const bool gap = (u >= 0xE000 && u <= 0xE864) || u == 0xF8F5;
      (gap ? glibcGaps : characters).push_back(bytes);
    }
  }
  EXPECT_EQ(singles, 130);
  EXPECT_EQ(pairs, 23940);
  EXPECT_EQ(privateUse, 2149);

  for (int unit = 0; unit < 0x10000; ++unit) {
    const std::wstring wide(1, static_cast<wchar_t>(unit));
    ASSERT_EQ(UnicodeToGBK(wide), encode(wide)) << std::hex << unit;
  }

  // Frequent gaps make the converter resume after them mid-text.
  constexpr unsigned kSeed = 936;
  for (unsigned trial = 0; trial < 300; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    std::string gbk;
    for (unsigned n = rng() % 200; n > 0; --n) {
      const auto& pool = rng() % 4 == 0 ? glibcGaps : characters;
      gbk += pool[rng() % pool.size()];
    }
    const std::wstring wide = decode(gbk);
    EXPECT_EQ(GBKToUnicode(gbk), wide);
    EXPECT_EQ(UnicodeToGBK(wide), encode(wide));
    // One bad place anywhere empties the whole result.
    EXPECT_EQ(GBKToUnicode(gbk + "\xD6"), L"");  // cut off
    EXPECT_EQ(GBKToUnicode(gbk + "\x81\x20" + gbk), L"");
    EXPECT_EQ(UnicodeToGBK(wide + L"\xD800" + wide), "");
  }
}

}  // namespace
}  // namespace TQBase
