// The search core on its own: every needle over {a, b} up to 9 letters, in
// both directions, and the folded searches through hand-made case maps such
// as no installed locale has (several bytes onto one, chains x -> y -> z).
#include "text/TextInternal.h"
#include "text/TwoWay.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using TQBase::detail::CaseMap;
constexpr std::size_t npos = std::string::npos;

struct Bytes {
  const char* at;
  unsigned char operator()(std::size_t i) const {
    return static_cast<unsigned char>(at[i]);
  }
};

std::string binary(unsigned bits, unsigned length) {
  std::string s(length, 'a');
  for (unsigned i = 0; i < length; ++i)
    if ((bits >> i) & 1) s[i] = 'b';
  return s;
}

TEST(TwoWayInternal, EveryShortBinaryNeedleMatchesFind) {
  std::mt19937 rng(4242);
  for (unsigned length = 1; length <= 9; ++length) {
    for (unsigned bits = 0; bits < (1u << length); ++bits) {
      const std::string needle = binary(bits, length);
      for (int round = 0; round < 4; ++round) {
        std::string hay = binary(rng(), 20) + binary(rng(), 20);
        hay.resize(length + rng() % (41 - length));
        if (round == 0) hay.replace(hay.size() - length, length, needle);
        const std::size_t found = TQBase::detail::twoWayFind(
            Bytes{needle.data()}, length, Bytes{hay.data()}, hay.size());
        const std::size_t want = hay.find(needle);
        EXPECT_EQ(found == TQBase::detail::kTwoWayNone ? npos : found, want)
            << needle << " in " << hay;
      }
    }
  }
}

// Maps that do not fold twice to the same place; `ontoA` more bytes go to
// `a` (three take the wider block scan, more than four none at all).
CaseMap oddMap(int ontoA) {
  CaseMap map;
  for (unsigned b = 0; b < 256; ++b) map.to[b] = static_cast<unsigned char>(b);
  map.to[0x78] = 'y';  // x -> y -> z
  map.to[0x79] = 'z';
  map.to[0xC9] = 0xE9;
  for (int i = 0; i < ontoA; ++i) map.to['A' + i] = 'a';
  return map;
}

std::size_t foldedModel(const std::string& hay, const std::string& folded,
                        std::size_t from, const CaseMap& map) {
  for (std::size_t p = from; p + folded.size() <= hay.size(); ++p) {
    std::size_t i = 0;
    while (i < folded.size() &&
           map.to[static_cast<unsigned char>(hay[p + i])] ==
               static_cast<unsigned char>(folded[i]))
      ++i;
    if (i == folded.size()) return p;
  }
  return npos;
}

std::size_t lastFoldedModel(const std::string& hay, const std::string& folded,
                            std::size_t start, const CaseMap& map) {
  for (std::size_t p = start + 1; p-- > 0;)
    if (foldedModel(hay, folded, p, map) == p) return p;
  return npos;
}

TEST(TwoWayInternal, FoldedSearchesFollowAnyMap) {
  static const std::string kAlphabet = "aAbBxyz\xC9\xE9";
  for (int trial = 0; trial < 3000; ++trial) {
    std::mt19937 rng(7300 + trial);
    SCOPED_TRACE(trial);
    const int ontoA[] = {0, 2, 5};
    const CaseMap map = oddMap(ontoA[rng() % 3]);
    std::string hay(rng() % 2 ? rng() % 40 : 200 + rng() % 400, 'a');
    for (char& c : hay) c = kAlphabet[rng() % (rng() % 2 ? 2 : 9)];
    std::string folded(1 + rng() % (rng() % 3 == 0 ? 120 : 6), 'a');
    for (char& c : folded)
      c = static_cast<char>(map.to[static_cast<unsigned char>(
          kAlphabet[rng() % (rng() % 2 ? 2 : 9)])]);
    if (folded.size() > hay.size()) continue;
    const std::size_t from = rng() % (hay.size() - folded.size() + 1);
    EXPECT_EQ(TQBase::detail::findFolded(hay.data(), hay.size(), folded.data(),
                                         folded.size(), from, map),
              foldedModel(hay, folded, from, map))
        << "forward";
    EXPECT_EQ(TQBase::detail::findLastFolded(hay.data(), folded.data(),
                                             folded.size(), from, &map),
              lastFoldedModel(hay, folded, from, map))
        << "backward";
  }
}

// Out-of-range starts give npos before any search.
TEST(TwoWayInternal, ForwardSearchesRejectEmptyAndLateStarts) {
  CaseMap map;
  TQBase::detail::fillLowerMap(map);
  const std::string hay = "abcabc";
  for (std::size_t from : {std::size_t{5}, std::size_t{7}}) {
    EXPECT_EQ(TQBase::detail::findExact(hay.data(), 6, "bc", 2, from), npos);
    EXPECT_EQ(TQBase::detail::findFolded(hay.data(), 6, "bc", 2, from, map),
              npos);
    EXPECT_EQ(TQBase::detail::findLowered(hay.data(), 6, "bc", 2, from), npos);
  }
  EXPECT_EQ(TQBase::detail::findExact(hay.data(), 6, "", 0, 0), npos);
  EXPECT_EQ(TQBase::detail::findFolded(hay.data(), 6, "", 0, 0, map), npos);
  EXPECT_EQ(TQBase::detail::findLowered(hay.data(), 6, "", 0, 0), npos);
}

}  // namespace
