#ifndef TQBASE_TEXT_TWOWAY_H_
#define TQBASE_TEXT_TWOWAY_H_

// The linear-time substring search behind every search of the text functions:
// Crochemore and Perrin's two-way algorithm. It makes at most 2n comparisons
// on a text of n units and keeps a few counters, whatever the needle, where a
// plain comparison at each start costs up to n times the needle's length.
//
// Needle and text are read through accessors, `needle(i)` and `hay(i)`, that
// give each unit as an unsigned value. The same code therefore runs forwards
// or backwards (an accessor that counts from the end finds the last match),
// on bytes or on wide units, and through a case map.

#include <cstddef>

namespace TQBase {
namespace detail {

inline constexpr std::size_t kTwoWayNone = static_cast<std::size_t>(-1);

// Start of the maximal suffix of the needle under the order of units
// (`reversed` false) or its opposite, with the period of that suffix.
template <typename NeedleAt>
std::size_t twoWayMaximalSuffix(const NeedleAt& needle, std::size_t m,
                                bool reversed, std::size_t& period) {
  // `best` is one before the suffix start; it wraps to kTwoWayNone at first,
  // and best + k wraps back into range.
  std::size_t best = kTwoWayNone;
  std::size_t j = 0;
  std::size_t k = 1;
  std::size_t p = 1;
  while (j + k < m) {
    const auto a = needle(j + k);
    const auto b = needle(best + k);
    if (a == b) {
      if (k != p) {
        ++k;
      } else {
        j += p;
        k = 1;
      }
    } else if ((a < b) != reversed) {
      j += k;
      k = 1;
      p = j - best;
    } else {
      best = j++;
      k = p = 1;
    }
  }
  period = p;
  return best + 1;
}

// First i with needle(0 .. m) equal to hay(i .. i + m), or kTwoWayNone.
// Requires 1 <= m <= n.
template <typename NeedleAt, typename HayAt>
std::size_t twoWayFind(const NeedleAt& needle, std::size_t m, const HayAt& hay,
                       std::size_t n) {
  // Critical factorisation: the later of the two maximal suffixes splits the
  // needle so that no shift can skip a match.
  std::size_t period = 0;
  std::size_t periodReversed = 0;
  std::size_t split = twoWayMaximalSuffix(needle, m, false, period);
  const std::size_t splitReversed =
      twoWayMaximalSuffix(needle, m, true, periodReversed);
  if (splitReversed >= split) {
    split = splitReversed;
    period = periodReversed;
  }
  bool periodic = true;
  for (std::size_t i = 0; i < split && periodic; ++i) {
    periodic = needle(i) == needle(i + period);
  }
  const std::size_t last = n - m;
  const auto pivot = needle(split);
  std::size_t j = 0;
  if (periodic) {
    // The needle repeats with `period`: after a full match of the right part
    // the left part overlapping the previous window is known to match.
    std::size_t memory = 0;
    while (j <= last) {
      if (memory == 0) {
        // A tight loop for the common case: the first unit of the right part
        // does not match, and the window moves on by one.
        while (j <= last && pivot != hay(split + j)) {
          ++j;
        }
        if (j > last) {
          break;
        }
      }
      std::size_t i = split > memory ? split : memory;
      while (i < m && needle(i) == hay(i + j)) {
        ++i;
      }
      if (i < m) {
        j += i - split + 1;
        memory = 0;
        continue;
      }
      i = split;
      while (i > memory && needle(i - 1) == hay(i - 1 + j)) {
        --i;
      }
      if (i <= memory) {
        return j;
      }
      j += period;
      memory = m - period;
    }
    return kTwoWayNone;
  }
  const std::size_t shift = (split > m - split ? split : m - split) + 1;
  while (j <= last) {
    while (j <= last && pivot != hay(split + j)) {
      ++j;
    }
    if (j > last) {
      break;
    }
    std::size_t i = split;
    while (i < m && needle(i) == hay(i + j)) {
      ++i;
    }
    if (i < m) {
      j += i - split + 1;
      continue;
    }
    i = split;
    while (i > 0 && needle(i - 1) == hay(i - 1 + j)) {
      --i;
    }
    if (i == 0) {
      return j;
    }
    j += shift;
  }
  return kTwoWayNone;
}

}  // namespace detail
}  // namespace TQBase

#endif  // TQBASE_TEXT_TWOWAY_H_
