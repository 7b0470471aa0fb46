// Code page 936 against ICU's "windows-936-2000", the full table we match.
// Mixed text, cut-off and broken codes are the Gbk fuzz harness's, which
// runs against the same converter in the suite.

#include <unicode/ucnv.h>

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "encoding/Cp936Reference.h"

namespace {

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

}  // namespace
