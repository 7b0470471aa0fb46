// The code page 936 tables against ICU's "windows-936-2000", the full table
// we match, and against the C library's converter they were built from:
// every code and every unit that it converts converts alike, and the
// library adds only 0xFF and the private-use codes U+E000-U+E864. Mixed
// text, cut-off and broken codes are the Gbk fuzz harness's, which runs
// against ICU in the suite.

#include <iconv.h>
#include <unicode/ucnv.h>

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "TQBase/Encoding.h"

namespace {

// GBKToUnicode and UnicodeToGBK against a reference converter on every
// single byte, every two-byte string with a lead byte below `end` and every
// BMP unit. `decode` and `encode` give the reference's result, empty where
// it has none; there the library may only convert to or from a unit that
// `added` accepts. Returns the count of codes it so added.
template <typename Decode, typename Encode, typename Added>
int compareWithReference(unsigned end, Decode decode, Encode encode,
                         Added added) {
  int characters = 0, extra = 0;
  for (unsigned code = 0; code < end; ++code) {
    if (code >= 0x100 && code < 0x8100) continue;
    std::string bytes(1, static_cast<char>(code >> 8));
    if (code < 0x100) bytes.clear();
    bytes += static_cast<char>(code);
    const std::wstring ours = TQBase::GBKToUnicode(bytes);
    const std::wstring theirs = decode(bytes);
    characters += ours.size() == 1;
    if (theirs.empty() && ours.size() == 1 && added(ours[0])) {
      ++extra;
      continue;
    }
    EXPECT_EQ(ours, theirs) << "code " << std::hex << code;
    if (::testing::Test::HasFailure()) return extra;
  }
  EXPECT_EQ(characters, 130 + 23940);  // single bytes, pairs
  for (wchar_t unit = 0; unit < 0x10000; ++unit) {
    const std::string theirs = encode(unit);
    if (theirs.empty() && added(unit)) continue;
    EXPECT_EQ(TQBase::UnicodeToGBK(std::wstring(1, unit)), theirs)
        << "unit " << std::hex << unit;
    if (::testing::Test::HasFailure()) return extra;
  }
  return extra;
}

TEST(Cp936Oracle, EveryCodeAndUnitConvertAsReference) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<UConverter, void (*)(UConverter*)> icu(
      ucnv_open("windows-936-2000", &status), ucnv_close);
  ucnv_setToUCallBack(icu.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr,
                      nullptr, &status);
  ucnv_setFromUCallBack(icu.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr,
                        nullptr, &status);
  ASSERT_TRUE(U_SUCCESS(status)) << u_errorName(status);
  auto decode = [&](const std::string& bytes) {
    char16_t units[4];
    UErrorCode error = U_ZERO_ERROR;
    const int32_t count =
        ucnv_toUChars(icu.get(), units, 4, bytes.data(),
                      static_cast<int32_t>(bytes.size()), &error);
    return U_FAILURE(error) ? L"" : std::wstring(units, units + count);
  };
  // ICU drops default-ignorable units without a form (U+00AD, ...)
  // silently: that is empty too.
  auto encode = [&](wchar_t unit) {
    const char16_t units[] = {static_cast<char16_t>(unit)};
    char bytes[8];
    UErrorCode error = U_ZERO_ERROR;
    const int32_t count =
        ucnv_fromUChars(icu.get(), bytes, sizeof bytes, units, 1, &error);
    return U_FAILURE(error) ? "" : std::string(bytes, bytes + count);
  };
  // The library adds nothing to ICU's table, 0xFF-led pairs included.
  EXPECT_EQ(compareWithReference(0x10000, decode, encode,
                                 [](wchar_t) { return false; }),
            0);
}

// The whole output of one conversion, or empty when iconv fails.
std::string convert(iconv_t converter, const void* in, std::size_t size) {
  iconv(converter, nullptr, nullptr, nullptr, nullptr);
  char out[16];
  char* inPtr = static_cast<char*>(const_cast<void*>(in));
  char* outPtr = out;
  std::size_t inLeft = size, outLeft = sizeof out;
  if (iconv(converter, &inPtr, &inLeft, &outPtr, &outLeft) ==
      static_cast<std::size_t>(-1))
    return std::string();
  return std::string(out, sizeof out - outLeft);
}

TEST(Cp936Tables, AgreeWithTheCLibraryConverter) {
  iconv_t decoder = iconv_open("WCHAR_T", "CP936");
  iconv_t encoder = iconv_open("CP936", "WCHAR_T");
  if (decoder == reinterpret_cast<iconv_t>(-1) ||
      encoder == reinterpret_cast<iconv_t>(-1))
    GTEST_SKIP() << "the C library has no CP936 converter (no gconv modules)";
  auto decode = [&](const std::string& bytes) {
    const std::string wide = convert(decoder, bytes.data(), bytes.size());
    return std::wstring(reinterpret_cast<const wchar_t*>(wide.data()),
                        wide.size() / sizeof(wchar_t));
  };
  auto encode = [&](wchar_t unit) {
    return convert(encoder, &unit, sizeof unit);
  };
  auto added = [](wchar_t unit) {
    return unit == 0xF8F5 || (unit >= 0xE000 && unit <= 0xE864);
  };
  // The C library has no 0xFF, so no 0xFF-led pairs either.
  EXPECT_EQ(compareWithReference(0xFF00, decode, encode, added), 2150);
  iconv_close(decoder);
  iconv_close(encoder);
}

}  // namespace
