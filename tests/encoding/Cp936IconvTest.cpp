// The code page 936 tables against the C library's converter they were
// generated from: every code and every unit that it converts converts alike,
// and the library adds only 0xFF and the private-use codes U+E000-U+E864.

#include <iconv.h>

#include <string>

#include <gtest/gtest.h>

#include "TQBase/Encoding.h"

namespace TQBase {
namespace {

bool isAddedUnit(wchar_t unit) {
  return unit == 0xF8F5 || (unit >= 0xE000 && unit <= 0xE864);
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
  int added = 0;
  for (unsigned code = 0; code < 0xFF00; ++code) {
    if (code >= 0x100 && code < 0x8100) continue;
    const std::string bytes = code < 0x100
                                  ? std::string(1, static_cast<char>(code))
                                  : std::string{static_cast<char>(code >> 8),
                                                static_cast<char>(code)};
    const std::string theirs = convert(decoder, bytes.data(), bytes.size());
    const std::wstring ours = GBKToUnicode(bytes);
    if (!theirs.empty()) {
      ASSERT_EQ(std::wstring(reinterpret_cast<const wchar_t*>(theirs.data()),
                             theirs.size() / sizeof(wchar_t)),
                ours)
          << std::hex << code;
    } else if (!ours.empty()) {
      ASSERT_EQ(ours.size(), 1u) << std::hex << code;
      ASSERT_TRUE(isAddedUnit(ours[0])) << std::hex << code;
      ++added;
    }
  }
  EXPECT_EQ(added, 2150);
  for (wchar_t unit = 0; unit < 0x10000; ++unit) {
    const std::string theirs = convert(encoder, &unit, sizeof unit);
    const std::string ours = UnicodeToGBK(std::wstring(1, unit));
    ASSERT_TRUE(theirs == ours || (theirs.empty() && isAddedUnit(unit)))
        << std::hex << unit;
  }
  iconv_close(decoder);
  iconv_close(encoder);
}

}  // namespace
}  // namespace TQBase
