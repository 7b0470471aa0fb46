// The raw-buffer helpers against models of their rules, every destination a
// heap buffer of exactly the size the rules allow, so one byte too far is an
// AddressSanitizer report.

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "FuzzSupport.h"
#include "TQBase/BufferFunctions.h"

namespace {

using namespace TQBase;

std::unique_ptr<char[]> cString(const std::string& s) {
  std::unique_ptr<char[]> p(new char[s.size() + 1]);
  std::memcpy(p.get(), s.data(), s.size());
  p[s.size()] = '\0';
  return p;
}

void checkHex(const std::string& s) {
  const auto n = static_cast<unsigned int>(s.size());
  static const char kDigits[] = "0123456789ABCDEF";
  std::unique_ptr<unsigned char[]> bytes(new unsigned char[n]);
  std::memcpy(bytes.get(), s.data(), n);
  std::unique_ptr<char[]> hex(new char[2 * static_cast<std::size_t>(n)]);
  FUZZ_CHECK(BufToHex(bytes.get(), n, hex.get()) == static_cast<int>(2 * n));
  for (unsigned i = 0; i < n; ++i) {
    FUZZ_CHECK(hex[2 * i] == kDigits[bytes[i] >> 4]);
    FUZZ_CHECK(hex[2 * i + 1] == kDigits[bytes[i] & 15]);
  }
  std::unique_ptr<unsigned char[]> back(new unsigned char[n]);
  FUZZ_CHECK(HexToBuf(hex.get(), 2 * n, back.get()) == static_cast<int>(n));
  FUZZ_CHECK(std::memcmp(back.get(), bytes.get(), n) == 0);

  // Any text: signed characters, no validation, an odd last one ignored.
  auto value = [](char c) {
    const int v = static_cast<signed char>(c);
    return v >= 0x61 ? v - 0x57 : v >= 0x41 ? v - 0x37 : v - 0x30;
  };
  std::unique_ptr<char[]> text(new char[n]);
  std::memcpy(text.get(), s.data(), n);
  std::unique_ptr<unsigned char[]> out(new unsigned char[n / 2]);
  FUZZ_CHECK(HexToBuf(text.get(), n, out.get()) == static_cast<int>(n / 2));
  for (unsigned i = 0; i < n / 2; ++i) {
    const int v = value(s[2 * i]) * 16 + value(s[2 * i + 1]);
    FUZZ_CHECK(out[i] == static_cast<unsigned char>(v & 0xFF));
  }
  // In place gives the same bytes.
  HexToBuf(text.get(), n, reinterpret_cast<unsigned char*>(text.get()));
  FUZZ_CHECK(std::memcmp(text.get(), out.get(), n / 2) == 0);
}

void checkFind(const std::string& hay, const std::string& needle, int limit) {
  const std::string text = hay.substr(0, hay.find('\0'));
  const std::string pin = needle.substr(0, needle.find('\0'));
  if (limit > static_cast<int>(text.size())) limit = -1;
  auto buf = cString(text);
  auto pat = cString(pin);
  const std::string window =
      limit < 0 ? text : text.substr(0, static_cast<std::size_t>(limit));
  const std::size_t at = window.find(pin);
  char* got = FindStr(buf.get(), pat.get(), limit);
  FUZZ_CHECK(got == (at == std::string::npos ? nullptr : buf.get() + at));
  FUZZ_CHECK(std::memcmp(buf.get(), text.c_str(), text.size() + 1) == 0);
}

void checkMatch(const std::string& text, const std::string& open,
                const std::string& close, int size) {
  auto t = cString(text.substr(0, text.find('\0')));
  auto o = cString(open.substr(0, open.find('\0')));
  auto c = cString(close.substr(0, close.find('\0')));
  const std::string ts(t.get()), os(o.get()), cs(c.get());
  const std::size_t from = ts.find(os);
  const std::size_t to =
      from == std::string::npos ? from : ts.find(cs, from + os.size());
  int query = 12345;
  const bool found = to != std::string::npos;
  FUZZ_CHECK(MatchSubString(t.get(), o.get(), c.get(), nullptr, query) ==
             found);
  if (!found) {
    FUZZ_CHECK(query == 12345);
    return;
  }
  const std::string extract =
      ts.substr(from + os.size(), to - from - os.size());
  const int needed = static_cast<int>(extract.size()) + 1;
  FUZZ_CHECK(query == needed);
  // A buffer of exactly the size the caller claims.
  const int room = size < 1 ? 1 : size;
  std::unique_ptr<char[]> out(new char[static_cast<std::size_t>(room)]);
  std::memset(out.get(), '#', static_cast<std::size_t>(room));
  int inout = size;
  const bool ok = MatchSubString(t.get(), o.get(), c.get(), out.get(), inout);
  FUZZ_CHECK(inout == needed);
  FUZZ_CHECK(ok == (size >= needed));
  if (ok) {
    FUZZ_CHECK(std::string(out.get()) == extract);
  } else {
    for (int i = 0; i < room; ++i) FUZZ_CHECK(out[i] == '#');
  }
}

void checkCopyAndFormat(const std::string& src, int size) {
  const std::string text = src.substr(0, src.find('\0'));
  auto s = cString(text);
  const int room = size < 1 ? 1 : size;
  const std::size_t keep =
      size < 1 ? 0 : std::min(text.size(), static_cast<std::size_t>(size - 1));
  if (size >= 1) {
    std::unique_ptr<char[]> dst(new char[static_cast<std::size_t>(room)]);
    FUZZ_CHECK(NStrCpy(dst.get(), s.get(), size) == static_cast<int>(keep));
    FUZZ_CHECK(std::string(dst.get()) == text.substr(0, keep));
  }
  std::unique_ptr<char[]> buf(new char[static_cast<std::size_t>(room)]);
  std::memset(buf.get(), '#', static_cast<std::size_t>(room));
  const int got = NSprintf(buf.get(), size, "%s", s.get());
  FUZZ_CHECK(got == static_cast<int>(keep));
  if (size >= 1) {
    FUZZ_CHECK(std::string(buf.get()) == text.substr(0, keep));
  } else {
    FUZZ_CHECK(buf[0] == '#');
  }
}

void checkReplace(const std::string& src, char from, char to) {
  const std::string text = src.substr(0, src.find('\0'));
  auto s = cString(text);
  std::string expected = text;
  if (from != '\0') {
    for (char& ch : expected) {
      if (ch == from) ch = to;
    }
  }
  StringReplace(s.get(), from, to);
  FUZZ_CHECK(std::memcmp(s.get(), expected.data(), expected.size()) == 0);
  FUZZ_CHECK(s[text.size()] == '\0');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  fuzz::Input in(data, size);
  const int limit = static_cast<int>(in.byte()) - 8;
  const int room = static_cast<int>(in.byte()) - 2;
  const char from = static_cast<char>(in.byte());
  const char to = static_cast<char>(in.byte());
  const std::string a = in.bytes(16);
  const std::string b = in.bytes(16);
  const std::string text = in.rest();

  checkHex(text);
  checkFind(text, a, limit);
  checkMatch(text, a, b, room);
  checkCopyAndFormat(text, room);
  checkReplace(text, from, to);
  return 0;
}
