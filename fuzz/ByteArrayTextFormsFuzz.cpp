// TQByteArray's Base64, hex and percent forms against small models of their
// rules, and the round trips between them. Every operation also runs on a raw
// array over an exact heap copy, which has no terminator behind its bytes.

#include <cstring>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "TQBase/TQByteArray.h"

namespace {

using TQBase::TQByteArray;

const char kStd[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
const char kUrl[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
const char kDigits[] = "0123456789ABCDEF";

std::string str(const TQByteArray& a) {
  return std::string(a.constData(), static_cast<std::size_t>(a.size()));
}

std::string fromBase64Model(const std::string& s, int options) {
  const char* abc = (options & 1) ? kUrl : kStd;
  std::string out;
  unsigned acc = 0;
  int bits = 0;
  for (char c : s) {
    const char* hit = c == '\0' ? nullptr : std::strchr(abc, c);
    if (hit == nullptr) continue;
    acc = (acc << 6) | static_cast<unsigned>(hit - abc);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out += static_cast<char>((acc >> bits) & 0xFF);
      acc &= (1u << bits) - 1;
    }
  }
  return out;
}

std::string toHexModel(const std::string& s) {
  std::string out;
  for (unsigned char c : s) {
    out += kDigits[c >> 4];
    out += kDigits[c & 15];
  }
  return out;
}

int hexCount(unsigned char c) {
  if (c >= 0x61) return c - 0x57;
  if (c >= 0x41) return c - 0x37;
  return c - 0x30;
}

std::string fromHexModel(const std::string& s) {
  std::string out;
  for (std::size_t i = 0; i + 1 < s.size(); i += 2) {
    const int v = hexCount(static_cast<unsigned char>(s[i])) * 16 +
                  hexCount(static_cast<unsigned char>(s[i + 1]));
    out += static_cast<char>(v & 0xFF);
  }
  return out;
}

bool keptByPercent(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
         (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '/' ||
         c == '_' || c == '~';
}

std::string toPercentModel(const std::string& s) {
  std::string out;
  for (unsigned char c : s) {
    if (keptByPercent(c)) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += kDigits[c >> 4];
      out += kDigits[c & 15];
    }
  }
  return out;
}

// Reads a percent-encoded text back; false on anything the encoder cannot
// have written (a kept byte outside the set, a lower-case digit, a cut-off
// escape).
bool percentDecode(const std::string& s, std::string& out) {
  out.clear();
  for (std::size_t i = 0; i < s.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    if (c != '%') {
      if (!keptByPercent(c)) return false;
      out += static_cast<char>(c);
      continue;
    }
    if (i + 2 >= s.size()) return false;
    const char* hi = std::strchr(kDigits, s[i + 1]);
    const char* lo = std::strchr(kDigits, s[i + 2]);
    if (s[i + 1] == '\0' || s[i + 2] == '\0' || hi == nullptr ||
        lo == nullptr) {
      return false;
    }
    const int v = static_cast<int>((hi - kDigits) * 16 + (lo - kDigits));
    if (keptByPercent(static_cast<unsigned char>(v))) return false;
    out += static_cast<char>(v);
    i += 2;
  }
  return true;
}

void checkArray(const TQByteArray& a, const std::string& s, int options) {
  FUZZ_CHECK(str(a) == s);

  const std::string b64 = str(a.toBase64(options));
  FUZZ_CHECK(b64 == fuzz::base64Model(s, (options & 1) ? kUrl : kStd));
  FUZZ_CHECK(str(TQByteArray::fromBase64(a.toBase64(options), options)) == s);
  FUZZ_CHECK(str(TQByteArray::fromBase64(a, options)) ==
             fromBase64Model(s, options));
  FUZZ_CHECK(str(TQByteArray::fromBase64(a)) == fromBase64Model(s, 0));

  const TQByteArray hex = a.toHex();
  FUZZ_CHECK(str(hex) == toHexModel(s));
  FUZZ_CHECK(str(TQByteArray::fromHex(hex)) == s);
  FUZZ_CHECK(str(TQByteArray::fromHex(a)) == fromHexModel(s));

  const TQByteArray pct = a.toPercentEncoding();
  FUZZ_CHECK(str(pct) == toPercentModel(s));
  std::string back;
  FUZZ_CHECK(percentDecode(str(pct), back) && back == s);
  // Nothing to escape: the result shares the source's bytes.
  if (pct.size() == a.size() && a.size() > 0) {
    FUZZ_CHECK(pct.constData() == a.constData());
  }
  // Every result ends in the terminator that constData() promises.
  if (pct.constData() != a.constData()) {
    FUZZ_CHECK(pct.constData()[pct.size()] == '\0');
  }
  FUZZ_CHECK(hex.constData()[hex.size()] == '\0');

  FUZZ_CHECK(str(a) == s);  // the source is never changed
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  fuzz::Input in(data, size);
  const int options = static_cast<int>(in.u32());
  const std::string s = in.rest();
  const int n = static_cast<int>(s.size());

  checkArray(TQByteArray(s.data(), n), s, options);

  // A raw array over an exact heap copy: reading one byte too far is seen.
  std::unique_ptr<char[]> exact(new char[s.size()]);
  std::memcpy(exact.get(), s.data(), s.size());
  const TQByteArray raw = TQByteArray::fromRawData(exact.get(), n);
  checkArray(raw, s, options);
  return 0;
}
