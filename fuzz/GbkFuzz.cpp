// GBKToUnicode and UnicodeToGBK against ICU's "windows-936-2000", the table
// the library matches: the same units or bytes, and an empty result exactly
// where ICU finds no character or no form. The chained forms are their two
// steps in turn.

#include <unicode/ucnv.h>

#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "TQBase/Encoding.h"

namespace {

struct Icu {
  UConverter* cnv = nullptr;
  Icu() {
    UErrorCode status = U_ZERO_ERROR;
    cnv = ucnv_open("windows-936-2000", &status);
    ucnv_setToUCallBack(cnv, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &status);
    ucnv_setFromUCallBack(cnv, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr,
                          nullptr, &status);
    FUZZ_CHECK(U_SUCCESS(status));
  }
  ~Icu() { ucnv_close(cnv); }

  std::wstring decode(const std::string& bytes) const {
    std::u16string units(bytes.size() + 1, u'\0');
    UErrorCode error = U_ZERO_ERROR;
    const int32_t count =
        ucnv_toUChars(cnv, &units[0], static_cast<int32_t>(units.size()),
                      bytes.data(), static_cast<int32_t>(bytes.size()), &error);
    return U_FAILURE(error) ? L"" : std::wstring(&units[0], &units[count]);
  }

  // Empty where ICU has no form. ICU drops a default-ignorable unit that has
  // no form without an error, where the library fails: such a unit alone
  // gives no bytes, and it empties the whole text.
  std::string encode(const std::wstring& wide) const {
    std::string all = encodeRaw(wide);
    for (wchar_t unit : wide) {
      if (encodeRaw(std::wstring(1, unit)).empty()) return "";
    }
    return all;
  }

  std::string encodeRaw(const std::wstring& wide) const {
    const std::u16string units(wide.begin(), wide.end());
    std::string bytes(units.size() * 4 + 4, '\0');
    UErrorCode error = U_ZERO_ERROR;
    const int32_t count = ucnv_fromUChars(
        cnv, &bytes[0], static_cast<int32_t>(bytes.size()), units.data(),
        static_cast<int32_t>(units.size()), &error);
    bytes.resize(U_FAILURE(error) ? 0 : static_cast<std::size_t>(count));
    return bytes;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  static const Icu icu;
  const std::string gbk(reinterpret_cast<const char*>(data), size);

  const std::wstring wide = TQBase::GBKToUnicode(gbk);
  FUZZ_CHECK(wide == icu.decode(gbk));
  FUZZ_CHECK(TQBase::GBKToUtf8(gbk) == TQBase::UnicodeToUTF8(wide));
  if (!wide.empty()) {
    // Every decoded unit has a form again; the bytes may differ only where
    // two codes share a unit, which the table maps to its own choice.
    const std::string again = TQBase::UnicodeToGBK(wide);
    FUZZ_CHECK(again == icu.encode(wide));
    FUZZ_CHECK(TQBase::GBKToUnicode(again) == wide);
  }

  // The same bytes as 16-bit units.
  std::wstring units;
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    units += static_cast<wchar_t>(data[i] << 8 | data[i + 1]);
  }
  const std::string bytes = TQBase::UnicodeToGBK(units);
  FUZZ_CHECK(bytes == icu.encode(units));
  FUZZ_CHECK(TQBase::Utf8ToGBK(TQBase::UnicodeToUTF8(units)) == bytes);
  return 0;
}
