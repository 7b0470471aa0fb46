#include "TQBase/StdString.h"

#include "text/TextInternal.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace TQBase {
namespace detail {
namespace {

constexpr std::size_t npos = std::string::npos;
constexpr std::size_t kLongNeedle = 64;

const unsigned char* asBytes(const char* p) {
  return reinterpret_cast<const unsigned char*>(p);
}

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

#if defined(__SSE2__)
template <int kVariants>
__m128i matchAny(__m128i block, const __m128i (&variants)[4]) {
  __m128i hit = _mm_cmpeq_epi8(block, variants[0]);
  for (int i = 1; i < kVariants; ++i) {
    hit = _mm_or_si128(hit, _mm_cmpeq_epi8(block, variants[i]));
  }
  return hit;
}

// Tests 16 start positions at a time on the needle's first and last byte,
// and checks the inner bytes only where both match. Returns the match, or
// npos with `p` at the first position that was not tested.
template <int kVariants, typename Inner>
std::size_t scanBlocks(const unsigned char* hay, std::size_t last,
                       std::size_t m, std::size_t& p, const AnchorSet& first,
                       const AnchorSet& tail, Inner inner) {
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
        return candidate;
      }
      mask &= mask - 1;
    }
  }
  return npos;
}
#endif

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
  std::size_t p = from;
#if defined(__SSE2__)
  AnchorSet first;
  AnchorSet tail;
  if (collectPreimage(map, needle[0], first) &&
      collectPreimage(map, needle[m - 1], tail)) {
    const std::size_t found =
        first.count <= 2 && tail.count <= 2
            ? scanBlocks<2>(h, last, m, p, first, tail, inner)
            : scanBlocks<4>(h, last, m, p, first, tail, inner);
    if (found != npos) {
      return found;
    }
  }
#endif
  for (; p <= last; ++p) {
    if (map.to[h[p]] == needle[0] && map.to[h[p + m - 1]] == needle[m - 1] &&
        inner(h + p)) {
      return p;
    }
  }
  return npos;
}

std::size_t findExact(const char* hay, std::size_t n, const char* needle,
                      std::size_t m, std::size_t from) {
  if (m == 0 || from > n || m > n - from) {
    return npos;
  }
  // The first/last-byte filter checks up to m bytes per candidate, so its
  // worst case is n * m. Long needles go to memmem, whose two-way search is
  // linear; short ones keep the faster filter.
  if (m >= kLongNeedle) {
    const void* hit = memmem(hay + from, n - from, needle, m);
    return hit == nullptr
               ? npos
               : static_cast<std::size_t>(static_cast<const char*>(hit) - hay);
  }
  const unsigned char* h = asBytes(hay);
  const unsigned char* nd = asBytes(needle);
  const std::size_t last = n - m;
  const ExactInner inner{nd, m};
  std::size_t p = from;
#if defined(__SSE2__)
  AnchorSet first;
  AnchorSet tail;
  first.count = tail.count = 1;
  std::fill(std::begin(first.bytes), std::end(first.bytes), nd[0]);
  std::fill(std::begin(tail.bytes), std::end(tail.bytes), nd[m - 1]);
  const std::size_t found = scanBlocks<1>(h, last, m, p, first, tail, inner);
  if (found != npos) {
    return found;
  }
#endif
  for (; p <= last; ++p) {
    if (h[p] == nd[0] && h[p + m - 1] == nd[m - 1] && inner(h + p)) {
      return p;
    }
  }
  return npos;
}

}  // namespace detail

namespace {

constexpr std::size_t npos = std::string::npos;

unsigned char foldAsciiUpper(unsigned char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + 0x20) : c;
}

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

// Short texts: lower byte by byte rather than filling a CaseMap.
bool matchesLoweredAt(const std::string& str, const std::string& folded,
                      std::size_t p) {
  for (std::size_t i = 0; i < folded.size(); ++i) {
    if (detail::lowerByte(static_cast<unsigned char>(str[p + i])) !=
        static_cast<unsigned char>(folded[i])) {
      return false;
    }
  }
  return true;
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
  if (n - from < detail::kCaseMapThreshold) {
    const std::string folded = foldNeedle(sub, nullptr);
    for (std::size_t p = from; p <= n - m; ++p) {
      if (matchesLoweredAt(str, folded, p)) {
        return p;
      }
    }
    return npos;
  }
  detail::CaseMap map;
  detail::fillLowerMap(map);
  const std::string folded = foldNeedle(sub, &map);
  return detail::findFolded(str.data(), n, folded.data(), m, from, map);
}

std::size_t stdstring::lastIndexOf(const std::string& str,
                                   const std::string& sub, std::size_t from,
                                   bool caseSensitive) {
  if (caseSensitive) {
    // rfind follows the same table: min(from, size) for an empty needle, and
    // the highest start not above min(from, size - m) otherwise.
    return str.rfind(sub, from);
  }
  const std::size_t n = str.size();
  const std::size_t m = sub.size();
  if (m == 0) {
    return std::min(from, n);
  }
  if (m > n) {
    return npos;
  }
  const std::size_t start = std::min(from, n - m);
  detail::CaseMap map;
  const bool useMap = start + m >= detail::kCaseMapThreshold;
  if (useMap) {
    detail::fillLowerMap(map);
  }
  const std::string folded = foldNeedle(sub, useMap ? &map : nullptr);
  const auto* h = reinterpret_cast<const unsigned char*>(str.data());
  const auto* nd = reinterpret_cast<const unsigned char*>(folded.data());
  for (std::size_t p = start + 1; p-- > 0;) {
    if (!useMap) {
      if (matchesLoweredAt(str, folded, p)) {
        return p;
      }
      continue;
    }
    if (map.to[h[p]] != nd[0] || map.to[h[p + m - 1]] != nd[m - 1]) {
      continue;
    }
    std::size_t i = 1;
    while (i < m && map.to[h[p + i]] == nd[i]) {
      ++i;
    }
    if (i >= m) {
      return p;
    }
  }
  return npos;
}

}  // namespace TQBase
