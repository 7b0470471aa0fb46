// The stdstring searches and comparisons, replace (narrow and wide) and
// SplitStringRgx, and TQByteArray's compare and indexOf, against naive models
// in both case modes. Shaped inputs reach what a needle of 8 bytes cannot:
// long periodic needles (long borders, or `a` with one `b` in a text of `a`)
// that overrun the anchor filter's budget and go to the two-way search.

#include <algorithm>
#include <cstring>
#include <list>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "TQBase/StdString.h"
#include "TQBase/TQByteArray.h"

namespace {

using TQBase::stdstring;
using TQBase::TQByteArray;
constexpr std::size_t npos = std::string::npos;

char fold(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}

bool matchAt(const std::string& s, const std::string& sub, std::size_t p,
             bool cs) {
  if (p + sub.size() > s.size()) return false;
  for (std::size_t k = 0; k < sub.size(); ++k) {
    const char a = s[p + k], b = sub[k];
    if (cs ? a != b : fold(a) != fold(b)) return false;
  }
  return true;
}

std::size_t indexModel(const std::string& s, const std::string& sub,
                       std::size_t from, bool cs) {
  if (sub.empty()) return from <= s.size() ? from : npos;
  for (std::size_t p = from; p < s.size(); ++p) {
    if (matchAt(s, sub, p, cs)) return p;
  }
  return npos;
}

std::size_t lastIndexModel(const std::string& s, const std::string& sub,
                           std::size_t from, bool cs) {
  if (sub.empty()) return std::min(from, s.size());
  if (sub.size() > s.size()) return npos;
  for (std::size_t p = std::min(from, s.size() - sub.size()) + 1; p-- > 0;) {
    if (matchAt(s, sub, p, cs)) return p;
  }
  return npos;
}

int strnicmpModel(const char* a, const char* b, int n) {
  if (n < 0) n = 0x7FFFFFFF;
  for (int i = 0; i < n; ++i) {
    const char x = a[i], y = b[i];
    if (x == '\0') return y == '\0' ? 0 : -1;
    if (y == '\0') return 1;
    const char fx = fold(x), fy = fold(y);
    if (fx != fy) {
      return static_cast<signed char>(fx) - static_cast<signed char>(fy);
    }
  }
  return 0;
}

// The C-string comparison over m characters that startsWith and endsWith
// make, exact or folded, stopping at a NUL.
bool sameUpTo(const char* a, const char* b, std::size_t m, bool cs) {
  for (std::size_t i = 0; i < m; ++i) {
    if ((cs ? a[i] != b[i] : fold(a[i]) != fold(b[i]))) return false;
    if (a[i] == '\0') return true;
  }
  return true;
}

int sign(int v) { return (v > 0) - (v < 0); }

// `word` repeated up to `size` bytes, with the byte at `at` (modulo the
// size) changed to `to` when `change` is set.
std::string repeated(const std::string& word, std::size_t size, bool change,
                     std::size_t at, char to) {
  std::string r;
  while (!word.empty() && r.size() < size) r += word;
  r.resize(std::min(r.size(), size));
  if (change && !r.empty()) r[at % r.size()] = to;
  return r;
}

// replace and SplitStringRgx cut where a scan from the start finds `sub`,
// resuming behind each occurrence.
void checkReplaceAndSplit(const std::string& s, const std::string& sub,
                          std::uint8_t f) {
  if (sub.empty()) {  // replaces nothing; SplitJoin holds the split
    std::string got = s;
    FUZZ_CHECK(stdstring::replace(got, sub, std::string("x")) == 0);
    FUZZ_CHECK(got == s);
    std::wstring wide(s.begin(), s.end());
    FUZZ_CHECK(stdstring::replace(wide, std::wstring(), std::wstring(L"x")) ==
               0);
    FUZZ_CHECK(wide == std::wstring(s.begin(), s.end()));
    return;
  }
  // Shorter, longer, and of the same size (written in place).
  const std::string afters[] = {"", sub + "x",
                                std::string(sub.rbegin(), sub.rend())};
  const std::string& after = afters[f % 3];
  std::string want;
  std::list<std::string> tokens;
  std::size_t copied = 0;
  for (std::size_t p = indexModel(s, sub, 0, true); p != npos;
       p = indexModel(s, sub, p + sub.size(), true)) {
    tokens.push_back(s.substr(copied, p - copied));
    want += tokens.back() + after;
    copied = p + sub.size();
  }
  tokens.push_back(s.substr(copied));
  want += tokens.back();
  const int count = static_cast<int>(tokens.size()) - 1;

  std::string got = s;
  FUZZ_CHECK(stdstring::replace(got, sub, after) == count);
  FUZZ_CHECK(got == want);
  std::wstring wide(s.begin(), s.end());
  FUZZ_CHECK(stdstring::replace(wide, std::wstring(sub.begin(), sub.end()),
                                std::wstring(after.begin(), after.end())) ==
             count);
  FUZZ_CHECK(wide == std::wstring(want.begin(), want.end()));
  std::list<std::string> split = {"stale"};
  FUZZ_CHECK(stdstring::SplitStringRgx(split, s, sub, false) == count + 1);
  FUZZ_CHECK(split == tokens);
}

void checkByteArray(const std::string& s, const std::string& sub, int from,
                    bool cs) {
  const TQByteArray a(s.data(), static_cast<int>(s.size()));
  // compare: bytes as unsigned, folded A-Z without case, a prefix sorts first.
  int expected = 0;
  std::size_t k = 0;
  for (; k < s.size() && k < sub.size(); ++k) {
    int x = static_cast<unsigned char>(s[k]);
    int y = static_cast<unsigned char>(sub[k]);
    if (!cs) {
      x = static_cast<unsigned char>(fold(static_cast<char>(x)));
      y = static_cast<unsigned char>(fold(static_cast<char>(y)));
    }
    if (x != y) {
      expected = x - y;
      break;
    }
  }
  if (k == std::min(s.size(), sub.size())) {
    expected = static_cast<int>(s.size()) - static_cast<int>(sub.size());
  }
  const int got = a.compare(sub.data(), static_cast<int>(sub.size()), cs);
  FUZZ_CHECK(cs ? sign(got) == sign(expected) : got == expected);
  if (cs) {
    FUZZ_CHECK(sign(a.compare(sub.data(), static_cast<int>(sub.size()))) ==
               sign(expected));
  }

  // indexOf: a negative from counts from the end; an empty pattern is never
  // found.
  std::size_t start = static_cast<std::size_t>(
      from < 0 ? std::max(0, static_cast<int>(s.size()) + from) : from);
  const std::size_t at = sub.empty() ? npos : indexModel(s, sub, start, true);
  FUZZ_CHECK(a.indexOf(sub.data(), from, static_cast<int>(sub.size())) ==
             (at == npos ? -1 : static_cast<int>(at)));
  if (!sub.empty()) {
    const std::size_t ch = indexModel(s, sub.substr(0, 1), start, true);
    FUZZ_CHECK(a.indexOf(sub[0], from) ==
               (ch == npos ? -1 : static_cast<int>(ch)));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  fuzz::Input in(data, size);
  const std::uint8_t flags = in.byte();
  const bool cs = (flags & 1) != 0;
  const std::uint8_t f = in.byte();
  // Shaped (flag 8): the needle is `sub` repeated up to 256 bytes or a piece
  // of the text (flag 64) in upper case (flag 128), the text `rest` repeated
  // up to 2040 bytes, each with one byte changed (flags 16, 32).
  std::uint8_t shape[5] = {};
  if ((flags & 8) != 0) {
    for (std::uint8_t& b : shape) b = in.byte();
  }
  std::string sub = in.bytes(8);
  std::string s = in.rest();
  if ((flags & 8) != 0) {
    const char to = static_cast<char>(shape[3]);
    s = repeated(s, 8 * std::size_t{shape[4]}, (flags & 32) != 0, shape[2], to);
    const std::size_t m = 1 + std::size_t{shape[0]};
    sub = (flags & 64) != 0 && !s.empty()
              ? s.substr(shape[1] % s.size(), m)
              : repeated(sub, m, (flags & 16) != 0, shape[1], to);
    if ((flags & 128) != 0) {
      for (char& c : sub) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
      }
    }
  }
  // from: small, npos, near the end, or near the end by the needle's size.
  std::size_t from = f;
  if ((flags & 6) == 2) from = npos;
  if ((flags & 6) == 4) from = s.size() >= (f & 7) ? s.size() - (f & 7) : 0;
  if ((flags & 6) == 6)
    from = s.size() - std::min(s.size(), sub.size() + (f & 3));

  FUZZ_CHECK(stdstring::indexOf(s, sub, from, cs) ==
             indexModel(s, sub, from, cs));
  FUZZ_CHECK(stdstring::lastIndexOf(s, sub, from, cs) ==
             lastIndexModel(s, sub, from, cs));
  FUZZ_CHECK(stdstring::indexOf(s, sub) == indexModel(s, sub, 0, true));
  FUZZ_CHECK(stdstring::lastIndexOf(s, sub) ==
             lastIndexModel(s, sub, npos, true));

  const std::string a = s.substr(0, s.find('\0'));
  const std::string b = sub.substr(0, sub.find('\0'));
  const int n = static_cast<int>(f) - 4;
  FUZZ_CHECK(stdstring::strnicmp(a.c_str(), b.c_str(), n) ==
             (n == 0 ? 0 : strnicmpModel(a.c_str(), b.c_str(), n)));

  const bool starts =
      s.empty() ? sub.empty()
                : sub.size() <= s.size() &&
                      sameUpTo(s.c_str(), sub.c_str(), sub.size(), cs);
  const bool ends = s.empty() ? sub.empty()
                              : sub.size() <= s.size() &&
                                    sameUpTo(s.c_str() + s.size() - sub.size(),
                                             sub.c_str(), sub.size(), cs);
  FUZZ_CHECK(stdstring::startsWith(s, sub, cs) == starts);
  FUZZ_CHECK(stdstring::endsWith(s, sub, cs) == ends);
  const char c = sub.empty() ? static_cast<char>(f) : sub[0];
  FUZZ_CHECK(
      stdstring::startsWith(s, c, cs) ==
      (!s.empty() && (cs ? s.front() == c : fold(s.front()) == fold(c))));
  FUZZ_CHECK(stdstring::endsWith(s, c, cs) ==
             (!s.empty() && (cs ? s.back() == c : fold(s.back()) == fold(c))));

  const unsigned char u = static_cast<unsigned char>(c);
  FUZZ_CHECK(stdstring::ascii_isspace(c) ==
             (u == ' ' || (u >= '\t' && u <= '\r')));

  checkReplaceAndSplit(s, sub, f);
  checkByteArray(s, sub, static_cast<int>(f) - 128, cs);
  checkByteArray(s, sub, static_cast<int>(f & 15), cs);
  return 0;
}
