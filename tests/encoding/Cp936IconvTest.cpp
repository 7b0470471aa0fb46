// The code page 936 tables against the C library's converter they were
// built from: every code and every unit that it converts converts alike,
// and the library adds only 0xFF and the private-use codes U+E000-U+E864.

#include <iconv.h>

#include <string>

#include <gtest/gtest.h>

#include "encoding/Cp936Reference.h"

namespace {

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
