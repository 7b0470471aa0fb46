// TQBase64 against a model of its table decoder: buffer forms into heap
// buffers of exactly getEncodeDstLen / getdecodeDstLen bytes (one byte too
// far is an AddressSanitizer report), one byte less is refused untouched,
// the string forms agree with the buffer forms, and decode(encode(x)) is x.

#include <cstring>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "TQBase/TQBase64.h"

namespace {

using TQBase::TQBase64;

const char kAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

unsigned char code(char c) {
  if (c == '=') return 0xFE;
  const char* hit = c == '\0' ? nullptr : std::strchr(kAlphabet, c);
  return hit == nullptr ? 0xFF : static_cast<unsigned char>(hit - kAlphabet);
}

// The bytes of the groups before the first invalid character; `ok` tells
// whether there was none.
std::string decodeModel(std::string s, bool& ok) {
  while (s.size() % 4 != 0) s += '=';
  std::string out;
  ok = true;
  for (std::size_t i = 0; i < s.size(); i += 4) {
    const unsigned a = code(s[i]), b = code(s[i + 1]), c = code(s[i + 2]),
                   d = code(s[i + 3]);
    if (a == 0xFF || b == 0xFF || c == 0xFF || d == 0xFF) {
      ok = false;
      return out;
    }
    out += static_cast<char>(((a << 2) + ((b >> 4) & 3)) & 0xFF);
    if (c != 0xFE)
      out += static_cast<char>(((b << 4) + ((c >> 2) & 15)) & 0xFF);
    if (d != 0xFE) out += static_cast<char>(((c << 6) + d) & 0xFF);
  }
  return out;
}

void checkEncode(const std::string& s) {
  const int n = static_cast<int>(s.size());
  const int len = TQBase64::getEncodeDstLen(n);
  FUZZ_CHECK(len == ((n + 2) / 3) * 4);
  const std::string expected = fuzz::base64Model(s, kAlphabet);
  std::unique_ptr<unsigned char[]> src(new unsigned char[s.size()]);
  std::memcpy(src.get(), s.data(), s.size());

  std::unique_ptr<char[]> dst(new char[static_cast<std::size_t>(len)]);
  FUZZ_CHECK(TQBase64::encode(src.get(), n, dst.get(), len) == len);
  FUZZ_CHECK(std::string(dst.get(), static_cast<std::size_t>(len)) == expected);
  if (len > 0) {
    std::memset(dst.get(), '#', static_cast<std::size_t>(len));
    FUZZ_CHECK(TQBase64::encode(src.get(), n, dst.get(), len - 1) == -1);
    for (int i = 0; i < len; ++i) FUZZ_CHECK(dst[i] == '#');
  }

  std::string text = "old";
  FUZZ_CHECK(TQBase64::encode(src.get(), n, text) && text == expected);
  text = "old";
  FUZZ_CHECK(TQBase64::encode(s, text) && text == expected);

  std::string back = "old";
  FUZZ_CHECK(TQBase64::decode(text, back) && back == s);
}

void checkDecode(const std::string& s) {
  const int n = static_cast<int>(s.size());
  const int len = TQBase64::getdecodeDstLen(n);
  FUZZ_CHECK(len == ((n + 3) / 4) * 3);
  bool ok = false;
  const std::string expected = decodeModel(s, ok);
  std::unique_ptr<char[]> src(new char[s.size()]);
  std::memcpy(src.get(), s.data(), s.size());

  std::unique_ptr<unsigned char[]> dst(
      new unsigned char[static_cast<std::size_t>(len)]);
  std::memset(dst.get(), 0xA5, static_cast<std::size_t>(len));
  const int got = TQBase64::decode(src.get(), n, dst.get(), len);
  FUZZ_CHECK(got == (ok ? static_cast<int>(expected.size()) : -1));
  FUZZ_CHECK(std::memcmp(dst.get(), expected.data(), expected.size()) == 0);
  for (std::size_t i = expected.size(); i < static_cast<std::size_t>(len);
       ++i) {
    FUZZ_CHECK(dst[i] == 0xA5);  // nothing written behind the good groups
  }
  if (len > 0) {
    std::memset(dst.get(), 0xA5, static_cast<std::size_t>(len));
    FUZZ_CHECK(TQBase64::decode(src.get(), n, dst.get(), len - 1) == -1);
    for (int i = 0; i < len; ++i) FUZZ_CHECK(dst[i] == 0xA5);
  }

  // String forms: on failure the good bytes, then zeros up to the bound.
  std::string padded = expected;
  if (!ok) padded.resize(static_cast<std::size_t>(len), '\0');
  std::string out = "old";
  FUZZ_CHECK(TQBase64::decode(src.get(), n, out) == ok && out == padded);
  out = "old";
  FUZZ_CHECK(TQBase64::decode(s, out) == ok && out == padded);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  const std::string s(reinterpret_cast<const char*>(data), size);
  checkEncode(s);
  checkDecode(s);
  return 0;
}
