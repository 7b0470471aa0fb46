// Every vector form of the encoding kernels against the plain one, on random,
// cut-off and broken input at every length from 0 to 200 and every alignment
// of a 64-byte block. The plain form is itself checked through the public
// functions (the ICU and iconv comparisons, the Utf8 and Gbk fuzz models).

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "encoding/Kernels.h"
#include "support/EveryPlacement.h"

namespace TQBase {
namespace detail {
namespace {

using tqtest::forEveryPlacement;
constexpr std::size_t kMaxLength = 200;

// UTF-8 pieces: mostly well-formed, with every kind of trouble mixed in.
// Kind 0 is mostly ASCII runs, kind 2 breaks one byte, kind 3 is noise.
std::vector<unsigned char> randomUtf8(std::mt19937& rng, unsigned kind) {
  static const unsigned char kOdd[] = {0x80, 0xBF, 0xC0, 0xC2, 0xDF, 0xE0,
                                       0xEF, 0xF0, 0xF4, 0xF8, 0xFC, 0xFF};
  std::vector<unsigned char> bytes;
  // ASCII, then 2-, 3- and 4-byte forms (some too big): a lead byte from
  // [low, low + span) and its continuation bytes.
  static const unsigned kLow[] = {0x00, 0xC0, 0xE0, 0xF0};
  static const unsigned kSpan[] = {0x80, 0x20, 0x10, 5};
  while (bytes.size() < kMaxLength + 8) {
    const unsigned pick = rng() % 100;
    if (kind == 0 && pick < 80) {
      bytes.insert(bytes.end(), 1 + rng() % 40,
                   static_cast<unsigned char>('a' + rng() % 26));
    } else if (pick < 98) {
      const unsigned form = (pick >= 45) + (pick >= 65) + (pick >= 97);
      bytes.push_back(
          static_cast<unsigned char>(kLow[form] + rng() % kSpan[form]));
      for (unsigned i = 0; i < form; ++i)
        bytes.push_back(static_cast<unsigned char>(0x80 + rng() % 0x40));
    } else {
      bytes.push_back(kOdd[rng() % sizeof kOdd]);
    }
  }
  if (kind == 2)
    bytes[rng() % bytes.size()] = static_cast<unsigned char>(rng());
  if (kind == 3)
    for (unsigned char& byte : bytes)
      if (rng() % 8 == 0) byte = kOdd[rng() % sizeof kOdd];
  return bytes;
}

// Kind 0 has ASCII runs that fill vector blocks, kind 2 elements above
// 0x10FFFF or negative; kinds 3 and 4 are ASCII with now and then an element
// just above it (which every encoder takes, so that every block is reached)
// or of one high bit, and now and then one at a bound of a UTF-8 form: a
// wrong mask or bound in a range check shows.
std::vector<wchar_t> randomWide(std::mt19937& rng, unsigned kind) {
  std::vector<wchar_t> units;
  while (units.size() < kMaxLength + 8) {
    const unsigned pick = rng() % 100;
    std::uint32_t u;
    if (kind >= 3) {
      static const std::uint32_t kBounds[] = {0x7FF,   0x800,    0xFFFF,
                                              0x10000, 0x10FFFF, 0x110000};
      // Kind 3 stays below 0x10000, where the vector encoders keep going.
      const std::uint32_t high = pick >= 96
                                     ? kBounds[rng() % (kind == 3 ? 3 : 6)]
                                 : kind == 3 ? 0x80 + rng() % 0x80
                                             : 1u << (8 + rng() % 23);
      u = pick < 92 ? 'a' + pick % 26 : high;
    } else if (kind == 0 && pick < 50) {
      units.insert(units.end(), 1 + rng() % 80,
                   static_cast<wchar_t>('a' + rng() % 26));
      continue;
    } else {
      u = pick < (kind == 0 ? 90u : 40u) ? 0x20 + rng() % 0x5F
          : pick < 60                    ? 0x80 + rng() % 0x780
          : pick < 98                    ? 0x800 + rng() % 0xF800
          : pick < 99                    ? 0x10000 + rng() % 0x100000
          : kind == 2                    ? 0x110000 + rng()
                                         : rng() % 0x80;
    }
    units.push_back(static_cast<wchar_t>(u));
  }
  return units;
}

// GBK of the units that have a form, ideographs after them; kind 2 breaks
// a byte.
std::vector<unsigned char> randomGbk(std::mt19937& rng, unsigned kind,
                                     const std::vector<wchar_t>& units) {
  std::vector<unsigned char> gbk;
  for (std::size_t i = 0; gbk.size() < kMaxLength + 8; ++i) {
    unsigned char code[2 + kSlack];
    const wchar_t unit = units[i % units.size()];
    const std::size_t length = encodeCp936(&unit, 1, code, Isa::scalar);
    if (length != kFailed) gbk.insert(gbk.end(), code, code + length);
    if (i >= units.size()) gbk.insert(gbk.end(), {0xB0, 0xA1});
  }
  if (kind == 2) gbk[rng() % gbk.size()] = static_cast<unsigned char>(rng());
  return gbk;
}

class EncodingKernels : public ::testing::TestWithParam<Isa> {
 protected:
  void SetUp() override {
    if (supportedIsa(GetParam()) != GetParam())
      GTEST_SKIP() << "this CPU lacks the instruction set";
  }
  // `run(isa)` gives a count: the form under test must give the plain one's.
  template <typename Run>
  auto sameCount(Run run) {
    const auto count = run(Isa::scalar);
    EXPECT_EQ(run(GetParam()), count);
    return count;
  }
  // `run(out, isa)` writes into `out` (room for `room` + kSlack) and returns
  // a count, kFailed on failure: the same count and output as the plain form.
  template <typename T, typename Run>
  void sameOutput(std::size_t room, Run run) {
    std::vector<T> expected(room + kSlack), actual(room + kSlack);
    const std::size_t count = run(expected.data(), Isa::scalar);
    ASSERT_EQ(run(actual.data(), GetParam()), count);
    ASSERT_TRUE(
        count == kFailed ||
        std::equal(expected.begin(), expected.begin() + count, actual.begin()));
  }
};

TEST_P(EncodingKernels, MatchThePlainForm) {
  constexpr unsigned kSeed = 0x936;
  for (unsigned trial = 0; trial < 10; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    forEveryPlacement(
        randomUtf8(rng, trial % 5), 64,
        [&](const unsigned char* in, std::size_t size) {
          sameCount([&](Isa isa) { return scanUtf8(in, size, isa); });
          const std::size_t starts = sameCount(
              [&](Isa isa) { return countUtf8Starts(in, size, isa); });
          sameOutput<wchar_t>(starts, [&](wchar_t* out, Isa isa) {
            return decodeUtf8(in, size, out, isa);
          });
        });
    const std::vector<wchar_t> units = randomWide(rng, trial % 5);
    forEveryPlacement(units, 64, [&](const wchar_t* in, std::size_t size) {
      // The one-pass form stops at the first element above 0xFFFF; the
      // other writes what utf8Length measured.
      const std::size_t length =
          sameCount([&](Isa isa) { return utf8Length(in, size, isa); });
      for (const bool onePass : {true, false}) {
        if (onePass || length != kFailed)
          sameOutput<unsigned char>(
              onePass ? 3 * size : length, [&](unsigned char* out, Isa isa) {
                return encodeUtf8(in, size, out, onePass, isa);
              });
      }
      const std::size_t bound =
          sameCount([&](Isa isa) { return cp936EncodeBound(in, size, isa); });
      sameOutput<unsigned char>(bound, [&](unsigned char* out, Isa isa) {
        return encodeCp936(in, size, out, isa);
      });
    });
    forEveryPlacement(randomGbk(rng, trial % 5, units), 64,
                      [&](const unsigned char* in, std::size_t size) {
                        const std::size_t bound = sameCount([&](Isa isa) {
                          return cp936DecodeBound(in, size, isa);
                        });
                        sameOutput<wchar_t>(bound, [&](wchar_t* out, Isa isa) {
                          return decodeCp936(in, size, out, isa);
                        });
                      });
  }
}

// A trail byte below 0x40 at every place, the input ending at every place
// behind it: a lead byte that ends a vector block is looked up with the byte
// behind the block, which must then still be checked.
TEST_P(EncodingKernels, Cp936BadTrailFailsAnywhere) {
  std::vector<unsigned char> gbk;
  while (gbk.size() < kMaxLength) {
    gbk.insert(gbk.end(), {0xB0, 0xA1});  // a GB2312 ideograph
    if (gbk.size() % 14 == 0) gbk.push_back('a');
  }
  for (std::size_t bad = 1; bad < gbk.size(); ++bad) {
    if (gbk[bad - 1] != 0xB0) continue;
    std::vector<unsigned char> broken = gbk;
    broken[bad] = 0x30;
    for (std::size_t size = bad + 1; size <= broken.size(); ++size) {
      std::vector<wchar_t> out(size + kSlack);
      ASSERT_EQ(decodeCp936(broken.data(), size, out.data(), GetParam()),
                kFailed)
          << bad << ' ' << size;
    }
  }
}

std::string isaName(const ::testing::TestParamInfo<Isa>& param) {
  static const char* const kNames[] = {"scalar", "sse2", "avx2", "avx512"};
  return kNames[static_cast<int>(param.param)];
}

INSTANTIATE_TEST_SUITE_P(EveryVectorForm, EncodingKernels,
                         ::testing::Values(Isa::sse2, Isa::avx2, Isa::avx512),
                         isaName);

TEST(EncodingKernelsDispatch, UsesTheBestFormOfThisCpu) {
  EXPECT_EQ(detectedIsa(), supportedIsa(Isa::avx512));
  EXPECT_EQ(supportedIsa(Isa::scalar), Isa::scalar);
}

}  // namespace
}  // namespace detail
}  // namespace TQBase
