// Every vector form of the encoding kernels against the plain one, on random,
// cut-off and broken input at every length from 0 to 200 and every alignment
// of a 64-byte block. The plain form is itself checked through the public
// functions (ConversionTest, Utf8DetectTest, the ICU oracle).

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "encoding/Kernels.h"

namespace TQBase {
namespace detail {
namespace {

constexpr std::size_t kMaxLength = 200;
constexpr std::size_t kAlignments = 64;

// UTF-8 pieces: mostly well-formed, with every kind of trouble mixed in.
std::string randomUtf8(std::mt19937& rng, unsigned kind) {
  static const unsigned char kOdd[] = {0x80, 0xBF, 0xC0, 0xC2, 0xDF, 0xE0,
                                       0xEF, 0xF0, 0xF4, 0xF8, 0xFC, 0xFF};
  std::string bytes;
  while (bytes.size() < kMaxLength + 8) {
    const unsigned pick = rng() % 100;
    if (kind == 0 && pick < 80) {
      bytes.append(1 + rng() % 40, static_cast<char>('a' + rng() % 26));
    } else if (pick < 45) {
      bytes += static_cast<char>(rng() % 0x80);
    } else if (pick < 65) {
      bytes += static_cast<char>(0xC0 + rng() % 0x20);
      bytes += static_cast<char>(0x80 + rng() % 0x40);
    } else if (pick < 97) {
      bytes += static_cast<char>(0xE0 + rng() % 0x10);
      bytes += static_cast<char>(0x80 + rng() % 0x40);
      bytes += static_cast<char>(0x80 + rng() % 0x40);
    } else if (pick < 98) {
      bytes += static_cast<char>(0xF0 + rng() % 5);  // 4 bytes, some too big
      for (int i = 0; i < 3; ++i) bytes += static_cast<char>(0x80 + rng() % 64);
    } else {
      bytes += static_cast<char>(kOdd[rng() % sizeof kOdd]);
    }
  }
  // Kind 2 breaks one byte at random; kind 3 is noise.
  if (kind == 2) bytes[rng() % bytes.size()] = static_cast<char>(rng());
  if (kind == 3)
    for (char& byte : bytes)
      if (rng() % 8 == 0) byte = static_cast<char>(kOdd[rng() % sizeof kOdd]);
  return bytes;
}

std::vector<wchar_t> randomWide(std::mt19937& rng, unsigned kind) {
  std::vector<wchar_t> units;
  while (units.size() < kMaxLength + 8) {
    const unsigned pick = rng() % 100;
    std::uint32_t u;
    if (kind == 3) {  // ASCII with now and then a unit just above it or of
                      // one high bit, so a wrong mask in a range check shows
      const std::uint32_t high =
          rng() % 2 ? 0x80 + rng() % 0x80 : 1u << (8 + rng() % 23);
      units.push_back(static_cast<wchar_t>(pick < 92 ? 'a' + pick % 26 : high));
      continue;
    }
    if (kind == 0 && pick < 50) {  // runs that fill vector blocks
      units.insert(units.end(), 1 + rng() % 80,
                   static_cast<wchar_t>('a' + rng() % 26));
      continue;
    }
    if (pick < (kind == 0 ? 90u : 40u))
      u = 0x20 + rng() % 0x5F;
    else if (pick < 60)
      u = 0x80 + rng() % 0x780;
    else if (pick < 98)
      u = 0x800 + rng() % 0xF800;
    else if (pick < 99)
      u = 0x10000 + rng() % 0x100000;
    else
      u = kind == 2 ? 0x110000 + rng() : rng() % 0x80;
    units.push_back(static_cast<wchar_t>(u));
  }
  return units;
}

class EncodingKernels : public ::testing::TestWithParam<Isa> {
 protected:
  void SetUp() override {
    if (supportedIsa(GetParam()) != GetParam())
      GTEST_SKIP() << "this CPU lacks the instruction set";
  }
  // Every (length, alignment) of `source`, copied so that it starts at that
  // alignment and ends where the allocation ends.
  template <typename T, typename Check>
  void forEachPiece(const std::vector<T>& source, Check check) {
    for (std::size_t length = 0; length <= kMaxLength; ++length)
      for (std::size_t align = 0; align < kAlignments / sizeof(T); ++align) {
        std::vector<T> buffer(align + length);
        std::copy(source.begin(), source.begin() + length,
                  buffer.begin() + align);
        check(buffer.data() + align, length);
        if (HasFailure()) {
          ADD_FAILURE() << "length " << length << ", alignment " << align;
          return;
        }
      }
  }
};

// `run(out, isa)` writes into `out` and returns a count (kFailed on
// failure): the form under test must give the plain form's count and output.
template <typename T, typename Run>
void expectSameOutput(std::size_t room, Isa isa, Run run) {
  std::vector<T> expected(room + kSlack), actual(room + kSlack);
  const std::size_t count = run(expected.data(), Isa::scalar);
  ASSERT_EQ(run(actual.data(), isa), count);
  if (count == kFailed) return;
  ASSERT_TRUE(
      std::equal(expected.begin(), expected.begin() + count, actual.begin()));
}

TEST_P(EncodingKernels, Utf8ScanAndDecodeMatchPlainForm) {
  constexpr unsigned kSeed = 0x0F8;
  for (unsigned trial = 0; trial < 8; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    const std::string text = randomUtf8(rng, trial % 4);
    const std::vector<unsigned char> bytes(text.begin(), text.end());
    forEachPiece(bytes, [&](const unsigned char* in, std::size_t size) {
      ASSERT_EQ(scanUtf8(in, size, GetParam()),
                scanUtf8(in, size, Isa::scalar));
      const std::size_t starts = countUtf8Starts(in, size, Isa::scalar);
      ASSERT_EQ(countUtf8Starts(in, size, GetParam()), starts);
      expectSameOutput<wchar_t>(starts, GetParam(), [&](wchar_t* out, Isa isa) {
        return decodeUtf8(in, size, out, isa);
      });
    });
  }
}

TEST_P(EncodingKernels, Utf8EncodeMatchesPlainForm) {
  constexpr unsigned kSeed = 0xE7C;
  for (unsigned trial = 0; trial < 8; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    const std::vector<wchar_t> units = randomWide(rng, trial % 4);
    forEachPiece(units, [&](const wchar_t* in, std::size_t size) {
      // The one-pass form stops at the first element above 0xFFFF; the
      // other writes what utf8Length measured.
      const std::size_t length = utf8Length(in, size, Isa::scalar);
      ASSERT_EQ(utf8Length(in, size, GetParam()), length);
      for (const bool onePass : {true, false}) {
        if (!onePass && length == kFailed) return;
        expectSameOutput<unsigned char>(onePass ? 3 * size : length, GetParam(),
                                        [&](unsigned char* out, Isa isa) {
                                          return encodeUtf8(in, size, out,
                                                            onePass, isa);
                                        });
      }
    });
  }
}

TEST_P(EncodingKernels, Cp936MatchesPlainForm) {
  constexpr unsigned kSeed = 0x936;
  for (unsigned trial = 0; trial < 8; ++trial) {
    SCOPED_TRACE(kSeed + trial);
    std::mt19937 rng(kSeed + trial);
    const std::vector<wchar_t> units = randomWide(rng, trial % 4);
    forEachPiece(units, [&](const wchar_t* in, std::size_t size) {
      const std::size_t bound = cp936EncodeBound(in, size, Isa::scalar);
      ASSERT_EQ(cp936EncodeBound(in, size, GetParam()), bound);
      expectSameOutput<unsigned char>(bound, GetParam(),
                                      [&](unsigned char* out, Isa isa) {
                                        return encodeCp936(in, size, out, isa);
                                      });
    });
    // GBK of the units that have a form, with ASCII runs, a byte broken now
    // and then.
    std::vector<unsigned char> gbk;
    for (std::size_t i = 0; gbk.size() < kMaxLength + 8; ++i) {
      unsigned char code[2];
      const wchar_t unit = units[i % units.size()];
      const std::size_t length = encodeCp936(&unit, 1, code, Isa::scalar);
      if (length != kFailed) gbk.insert(gbk.end(), code, code + length);
      if (i >= units.size())
        gbk.insert(gbk.end(), {0xB0, 0xA1});  // an ideograph
    }
    if (trial % 4 == 2)
      gbk[rng() % gbk.size()] = static_cast<unsigned char>(rng());
    forEachPiece(gbk, [&](const unsigned char* in, std::size_t size) {
      const std::size_t bound = cp936DecodeBound(in, size, Isa::scalar);
      ASSERT_EQ(cp936DecodeBound(in, size, GetParam()), bound);
      expectSameOutput<wchar_t>(bound, GetParam(), [&](wchar_t* out, Isa isa) {
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
    const unsigned char pair[] = {0xB0, 0xA1};  // a GB2312 ideograph
    gbk.insert(gbk.end(), pair, pair + 2);
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
