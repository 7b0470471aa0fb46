#include "TQBase/StdString.h"

#include "frame/ByteTables.h"
#include "text/TextInternal.h"
#include "text/TwoWay.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace TQBase {
namespace detail {
namespace {

constexpr std::size_t npos = std::string::npos;

const unsigned char* asBytes(const char* p) {
  return reinterpret_cast<const unsigned char*>(p);
}

// The anchor filter below checks a whole needle at each candidate, so on
// text built against it (a needle of `a` with one `b`, in a text of `a`) it
// costs up to m per position. It keeps count, and once the checks have cost
// more than this many bytes per position scanned (plus a start allowance), the
// rest of the text goes to the two-way search, which is linear. Ordinary text
// never comes near the limit.
constexpr std::size_t kCheckBytesPerPosition = 8;
constexpr std::size_t kCheckAllowance = 64;

class CheckBudget {
 public:
  CheckBudget(std::size_t from, std::size_t m) : from_(from), m_(m) {}
  // Charges one candidate check at position p; false once over budget.
  bool charge(std::size_t p) {
    spent_ += m_;
    return spent_ <= kCheckAllowance + kCheckBytesPerPosition * (p - from_);
  }

 private:
  std::size_t from_;
  std::size_t m_;
  std::size_t spent_ = 0;
};

// Checks the needle's inner bytes at a candidate whose first and last bytes
// already match.
struct FoldedInner {
  const unsigned char* needle;
  std::size_t m;
  const CaseMap* map;
  bool operator()(const unsigned char* at) const {
    for (std::size_t i = 1; i + 1 < m; ++i) {
      if (map->to[at[i]] != needle[i]) {
        return false;
      }
    }
    return true;
  }
};

struct ExactInner {
  const unsigned char* needle;
  std::size_t m;
  bool operator()(const unsigned char* at) const {
    return m < 3 || std::memcmp(at + 1, needle + 1, m - 2) == 0;
  }
};

// Where an anchor scan stopped.
enum class ScanEnd { kFound, kOverBudget, kExhausted };

#if defined(__SSE2__)
// The bytes that a map sends onto one value, padded by repeating the first
// so that a fixed number of comparisons covers the set.
struct AnchorSet {
  unsigned char bytes[4];
  int count = 0;
};

bool collectPreimage(const CaseMap& map, unsigned char value, AnchorSet& set) {
  set.count = 0;
  for (unsigned b = 0; b < 256; ++b) {
    if (map.to[b] != value) {
      continue;
    }
    if (set.count == 4) {
      return false;
    }
    set.bytes[set.count++] = static_cast<unsigned char>(b);
  }
  for (int i = set.count; i < 4; ++i) {
    set.bytes[i] = set.bytes[0];
  }
  return set.count > 0;
}

template <int kVariants>
__m128i matchAny(__m128i block, const __m128i (&variants)[4]) {
  __m128i hit = _mm_cmpeq_epi8(block, variants[0]);
  for (int i = 1; i < kVariants; ++i) {
    hit = _mm_or_si128(hit, _mm_cmpeq_epi8(block, variants[i]));
  }
  return hit;
}

// Tests 16 start positions at a time on the needle's first and last byte,
// and checks the inner bytes only where both match. On kFound `p` is the
// match; otherwise it is the first position not yet settled.
template <int kVariants, typename Inner>
ScanEnd scanBlocks(const unsigned char* hay, std::size_t last, std::size_t m,
                   std::size_t& p, const AnchorSet& first,
                   const AnchorSet& tail, Inner inner, CheckBudget& budget) {
  __m128i firstVariants[4];
  __m128i tailVariants[4];
  for (int i = 0; i < 4; ++i) {
    firstVariants[i] = _mm_set1_epi8(static_cast<char>(first.bytes[i]));
    tailVariants[i] = _mm_set1_epi8(static_cast<char>(tail.bytes[i]));
  }
  // Positions p..p+15 are all valid starts, so both loads stay in the text.
  for (; p <= last && last - p >= 15; p += 16) {
    const __m128i heads =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(hay + p));
    const __m128i tails =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(hay + p + m - 1));
    unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(
        _mm_and_si128(matchAny<kVariants>(heads, firstVariants),
                      matchAny<kVariants>(tails, tailVariants))));
    while (mask != 0) {
      const std::size_t candidate =
          p + static_cast<unsigned>(__builtin_ctz(mask));
      if (inner(hay + candidate)) {
        p = candidate;
        return ScanEnd::kFound;
      }
      if (!budget.charge(candidate)) {
        p = candidate + 1;
        return ScanEnd::kOverBudget;
      }
      mask &= mask - 1;
    }
  }
  return ScanEnd::kExhausted;
}
#endif

// One position at a time, for what the blocks leave and where there is no
// SSE2.
template <typename Anchors, typename Inner>
ScanEnd scanBytes(const unsigned char* hay, std::size_t last, std::size_t& p,
                  Anchors anchors, Inner inner, CheckBudget& budget) {
  for (; p <= last; ++p) {
    if (!anchors(hay + p)) {
      continue;
    }
    if (inner(hay + p)) {
      return ScanEnd::kFound;
    }
    if (!budget.charge(p)) {
      ++p;
      return ScanEnd::kOverBudget;
    }
  }
  return ScanEnd::kExhausted;
}

struct RawByte {
  const unsigned char* at;
  unsigned char operator()(std::size_t i) const { return at[i]; }
};

struct MappedByte {
  const unsigned char* at;
  const unsigned char* to;
  unsigned char operator()(std::size_t i) const { return to[at[i]]; }
};

// Counting down from `end`, one past the last unit: index i is end[-1 - i].
struct RawByteBackward {
  const unsigned char* end;
  unsigned char operator()(std::size_t i) const { return *(end - 1 - i); }
};

struct MappedByteBackward {
  const unsigned char* end;
  const unsigned char* to;
  unsigned char operator()(std::size_t i) const { return to[*(end - 1 - i)]; }
};

struct LoweredByte {
  const unsigned char* at;
  unsigned char operator()(std::size_t i) const { return lowerByte(at[i]); }
};

struct LoweredByteBackward {
  const unsigned char* end;
  unsigned char operator()(std::size_t i) const {
    return lowerByte(*(end - 1 - i));
  }
};

// The match at or behind p, given an accessor that starts at the text.
template <typename NeedleAt, typename HayAt>
std::size_t twoWayFrom(const NeedleAt& needle, std::size_t m, HayAt hay,
                       std::size_t n, std::size_t p) {
  if (p > n - m) {
    return npos;
  }
  hay.at += p;
  const std::size_t found = twoWayFind(needle, m, hay, n - p);
  return found == kTwoWayNone ? npos : p + found;
}

// The last match that starts at or before `start` (start + m <= n), given
// backward accessors.
template <typename NeedleAt, typename HayAt>
std::size_t twoWayLast(const NeedleAt& needle, std::size_t m, const HayAt& hay,
                       std::size_t start) {
  const std::size_t found = twoWayFind(needle, m, hay, start + m);
  return found == kTwoWayNone ? npos : start - found;
}

}  // namespace

std::size_t findFolded(const char* hay, std::size_t n, const char* foldedNeedle,
                       std::size_t m, std::size_t from, const CaseMap& map) {
  if (m == 0 || from > n || m > n - from) {
    return npos;
  }
  const unsigned char* h = asBytes(hay);
  const unsigned char* needle = asBytes(foldedNeedle);
  const std::size_t last = n - m;
  const FoldedInner inner{needle, m, &map};
  CheckBudget budget(from, m);
  std::size_t p = from;
  ScanEnd end = ScanEnd::kExhausted;
#if defined(__SSE2__)
  AnchorSet first;
  AnchorSet tail;
  if (collectPreimage(map, needle[0], first) &&
      collectPreimage(map, needle[m - 1], tail)) {
    end = first.count <= 2 && tail.count <= 2
              ? scanBlocks<2>(h, last, m, p, first, tail, inner, budget)
              : scanBlocks<4>(h, last, m, p, first, tail, inner, budget);
  }
#endif
  if (end == ScanEnd::kExhausted) {
    const auto anchors = [&](const unsigned char* at) {
      return map.to[at[0]] == needle[0] && map.to[at[m - 1]] == needle[m - 1];
    };
    end = scanBytes(h, last, p, anchors, inner, budget);
  }
  if (end == ScanEnd::kFound) {
    return p;
  }
  if (end == ScanEnd::kExhausted) {
    return npos;
  }
  return twoWayFrom(RawByte{needle}, m, MappedByte{h, map.to}, n, p);
}

std::size_t findLowered(const char* hay, std::size_t n,
                        const char* foldedNeedle, std::size_t m,
                        std::size_t from) {
  if (m == 0 || from > n || m > n - from) {
    return npos;
  }
  return twoWayFrom(RawByte{asBytes(foldedNeedle)}, m,
                    LoweredByte{asBytes(hay)}, n, from);
}

std::size_t findExact(const char* hay, std::size_t n, const char* needle,
                      std::size_t m, std::size_t from) {
  if (m == 0 || from > n || m > n - from) {
    return npos;
  }
  const unsigned char* h = asBytes(hay);
  const unsigned char* nd = asBytes(needle);
  const std::size_t last = n - m;
  const ExactInner inner{nd, m};
  CheckBudget budget(from, m);
  std::size_t p = from;
#if defined(__SSE2__)
  AnchorSet first;
  AnchorSet tail;
  first.count = tail.count = 1;
  std::fill(std::begin(first.bytes), std::end(first.bytes), nd[0]);
  std::fill(std::begin(tail.bytes), std::end(tail.bytes), nd[m - 1]);
  ScanEnd end = scanBlocks<1>(h, last, m, p, first, tail, inner, budget);
#else
  ScanEnd end = ScanEnd::kExhausted;
#endif
  if (end == ScanEnd::kExhausted) {
    const auto anchors = [&](const unsigned char* at) {
      return at[0] == nd[0] && at[m - 1] == nd[m - 1];
    };
    end = scanBytes(h, last, p, anchors, inner, budget);
  }
  if (end == ScanEnd::kFound) {
    return p;
  }
  if (end == ScanEnd::kExhausted) {
    return npos;
  }
  return twoWayFrom(RawByte{nd}, m, RawByte{h}, n, p);
}

std::size_t findLastExact(const char* hay, const char* needle, std::size_t m,
                          std::size_t start) {
  return twoWayLast(RawByteBackward{asBytes(needle) + m}, m,
                    RawByteBackward{asBytes(hay) + start + m}, start);
}

std::size_t findLastFolded(const char* hay, const char* foldedNeedle,
                           std::size_t m, std::size_t start,
                           const CaseMap* map) {
  const unsigned char* needleEnd = asBytes(foldedNeedle) + m;
  const unsigned char* hayEnd = asBytes(hay) + start + m;
  if (map == nullptr) {
    const LoweredByteBackward text{hayEnd};
    return twoWayLast(RawByteBackward{needleEnd}, m, text, start);
  }
  const MappedByteBackward text{hayEnd, map->to};
  return twoWayLast(RawByteBackward{needleEnd}, m, text, start);
}

}  // namespace detail

namespace {

constexpr std::size_t npos = std::string::npos;

using detail::foldAsciiUpper;

// strnicmp over a size_t bound, so prefixes of 2 GiB and more compare whole.
int compareFoldedAscii(const char* a, const char* b, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    const auto x = static_cast<unsigned char>(a[i]);
    const auto y = static_cast<unsigned char>(b[i]);
    if (x == 0) {
      return y == 0 ? 0 : -1;
    }
    if (y == 0) {
      return 1;
    }
    const unsigned char fx = foldAsciiUpper(x);
    const unsigned char fy = foldAsciiUpper(y);
    if (fx != fy) {
      return static_cast<signed char>(fx) - static_cast<signed char>(fy);
    }
  }
  return 0;
}

bool bytesEqualAtNul(const char* a, const char* b, std::size_t n,
                     bool caseSensitive) {
  return caseSensitive ? std::strncmp(a, b, n) == 0
                       : compareFoldedAscii(a, b, n) == 0;
}

// startsWith / endsWith: `affix` against the start or the end of `str`.
bool affixMatches(const std::string& str, const std::string& affix, bool atEnd,
                  bool caseSensitive) {
  if (str.empty()) {
    return affix.empty();
  }
  if (affix.size() > str.size()) {
    return false;
  }
  const std::size_t at = atEnd ? str.size() - affix.size() : 0;
  return bytesEqualAtNul(str.c_str() + at, affix.c_str(), affix.size(),
                         caseSensitive);
}

bool charEquals(char a, char b, bool caseSensitive) {
  const auto x = static_cast<unsigned char>(a);
  const auto y = static_cast<unsigned char>(b);
  return caseSensitive ? x == y : foldAsciiUpper(x) == foldAsciiUpper(y);
}

// The needle passed through the same lowering as the text, so that one
// comparison per byte decides.
std::string foldNeedle(const std::string& sub, const detail::CaseMap* map) {
  std::string folded(sub);
  for (char& c : folded) {
    const auto b = static_cast<unsigned char>(c);
    c = static_cast<char>(map != nullptr ? map->to[b] : detail::lowerByte(b));
  }
  return folded;
}

}  // namespace

bool stdstring::ascii_isspace(char c) {
  return detail::isAsciiSpace(static_cast<unsigned char>(c));
}

int stdstring::strnicmp(const char* a, const char* b, int n) {
  if (n < 0) {
    n = 0x7FFFFFFF;
  }
  return compareFoldedAscii(a, b, static_cast<std::size_t>(n));
}

bool stdstring::startsWith(const std::string& str, const std::string& prefix,
                           bool caseSensitive) {
  return affixMatches(str, prefix, false, caseSensitive);
}

bool stdstring::startsWith(const std::string& str, char c, bool caseSensitive) {
  return !str.empty() && charEquals(str.front(), c, caseSensitive);
}

bool stdstring::endsWith(const std::string& str, const std::string& suffix,
                         bool caseSensitive) {
  return affixMatches(str, suffix, true, caseSensitive);
}

bool stdstring::endsWith(const std::string& str, char c, bool caseSensitive) {
  return !str.empty() && charEquals(str.back(), c, caseSensitive);
}

std::size_t stdstring::indexOf(const std::string& str, const std::string& sub,
                               std::size_t from, bool caseSensitive) {
  const std::size_t n = str.size();
  const std::size_t m = sub.size();
  if (m == 0) {
    return from <= n ? from : npos;
  }
  if (from >= n || m > n - from) {
    return npos;
  }
  if (caseSensitive) {
    return detail::findExact(str.data(), n, sub.data(), m, from);
  }
  // Lowering both sides on the fly compares what lowered copies would hold,
  // without making them.
  if (n - from < detail::kCaseMapThreshold) {
    const std::string folded = foldNeedle(sub, nullptr);
    return detail::findLowered(str.data(), n, folded.data(), m, from);
  }
  detail::CaseMap map;
  detail::fillLowerMap(map);
  const std::string folded = foldNeedle(sub, &map);
  return detail::findFolded(str.data(), n, folded.data(), m, from, map);
}

std::size_t stdstring::lastIndexOf(const std::string& str,
                                   const std::string& sub, std::size_t from,
                                   bool caseSensitive) {
  const std::size_t n = str.size();
  const std::size_t m = sub.size();
  if (m == 0) {
    return std::min(from, n);
  }
  if (m > n) {
    return npos;
  }
  const std::size_t start = std::min(from, n - m);
  if (caseSensitive) {
    return detail::findLastExact(str.data(), sub.data(), m, start);
  }
  detail::CaseMap map;
  const bool useMap = start + m >= detail::kCaseMapThreshold;
  if (useMap) {
    detail::fillLowerMap(map);
  }
  const std::string folded = foldNeedle(sub, useMap ? &map : nullptr);
  return detail::findLastFolded(str.data(), folded.data(), m, start,
                                useMap ? &map : nullptr);
}

}  // namespace TQBase
