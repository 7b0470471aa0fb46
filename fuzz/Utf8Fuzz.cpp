// UTF8ToUnicode, UnicodeToUTF8, IsUTF8File and IsUTF8BomFile against models
// of their rules (loose decoding cut to 16 bits, per-unit encoding, the lead
// byte walk), and the round trip of any 16-bit text through UTF-8.

#include <cstring>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "TQBase/Encoding.h"

namespace {

// Empty with `ok` false where the decoder refuses the text.
std::wstring decodeModel(const std::string& s, bool& ok) {
  std::wstring out;
  ok = false;
  for (std::size_t i = 0; i < s.size();) {
    const unsigned char b = static_cast<unsigned char>(s[i]);
    int more = 0;
    unsigned value = 0;
    if (b < 0x80) {
      value = b;
    } else if (b < 0xC0) {
      return L"";
    } else if (b < 0xE0) {
      more = 1, value = b & 0x1F;
    } else if (b < 0xF0) {
      more = 2, value = b & 0x0F;
    } else if (b < 0xF8) {
      more = 3, value = b & 0x07;
    } else if (b < 0xFC) {
      more = 4, value = b & 0x03;
    } else {
      more = 5, value = b & 0x03;
    }
    if (s.size() - i - 1 < static_cast<std::size_t>(more)) return L"";
    for (int k = 1; k <= more; ++k) {
      const unsigned char c = static_cast<unsigned char>(s[i + k]);
      if (c < 0x80 || c > 0xBF) return L"";
      value = (value << 6) | (c & 0x3F);
    }
    if (value > 0x10FFFF) return L"";
    out += static_cast<wchar_t>(value & 0xFFFF);
    i += 1 + static_cast<std::size_t>(more);
  }
  ok = true;
  return out;
}

std::string encodeModel(const std::wstring& w) {
  std::string out;
  for (wchar_t wc : w) {
    const unsigned u = static_cast<unsigned>(wc) & 0xFFFF;
    if (u < 0x80) {
      out += static_cast<char>(u);
    } else if (u < 0x800) {
      out += static_cast<char>(0xC0 + (u >> 6));
      out += static_cast<char>(0x80 + (u & 0x3F));
    } else {
      out += static_cast<char>(0xE0 + (u >> 12));
      out += static_cast<char>(0x80 + ((u >> 6) & 0x3F));
      out += static_cast<char>(0x80 + (u & 0x3F));
    }
  }
  return out;
}

bool isUtf8Model(const unsigned char* p, int length) {
  const unsigned char* end = p + (length > 0 ? length : 0);
  while (p < end) {
    const long left = end - p;
    const unsigned char b = *p;
    auto cont = [](unsigned char c) { return c >= 0x80 && c <= 0xBF; };
    if (b < 0x80) {
      p += 1;
    } else if (b < 0xC0 || b >= 0xF0) {
      return false;
    } else if (b < 0xE0) {
      if (left < 2) return true;
      if (!cont(p[1])) return false;
      p += 2;
    } else {
      if (left < 3) return true;
      if (!cont(p[1]) || !cont(p[2])) return false;
      p += 3;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const std::string s(reinterpret_cast<const char*>(data), size);

  bool ok = false;
  const std::wstring wide = TQBase::UTF8ToUnicode(s);
  FUZZ_CHECK(wide == decodeModel(s, ok));
  if (ok) {
    // Decoding is loose, so only the text that re-encodes the same way
    // comes back byte for byte; the units always do.
    FUZZ_CHECK(TQBase::UTF8ToUnicode(TQBase::UnicodeToUTF8(wide)) == wide);
  }

  // The same bytes as 16-bit units, surrogates and all.
  std::wstring units;
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    units += static_cast<wchar_t>(data[i] << 8 | data[i + 1]);
  }
  const std::string utf8 = TQBase::UnicodeToUTF8(units);
  FUZZ_CHECK(utf8 == encodeModel(units));
  FUZZ_CHECK(TQBase::UTF8ToUnicode(utf8) == units);
  FUZZ_CHECK(TQBase::IsUTF8File(utf8.data(), static_cast<int>(utf8.size())));

  // The detectors on an exact heap copy: one byte too far is seen.
  std::unique_ptr<char[]> exact(new char[size]);
  if (size != 0) std::memcpy(exact.get(), data, size);  // data may be null
  const int n = static_cast<int>(size);
  FUZZ_CHECK(
      TQBase::IsUTF8File(exact.get(), n) ==
      isUtf8Model(reinterpret_cast<const unsigned char*>(exact.get()), n));
  FUZZ_CHECK(TQBase::IsUTF8BomFile(exact.get(), n) ==
             (size >= 3 && std::memcmp(exact.get(), "\xEF\xBB\xBF", 3) == 0));
  FUZZ_CHECK(TQBase::IsUTF8File(exact.get(), -n));
  FUZZ_CHECK(!TQBase::IsUTF8BomFile(exact.get(), -n));
  return 0;
}
