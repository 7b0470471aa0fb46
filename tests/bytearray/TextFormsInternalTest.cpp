// The vector text-form kernels against their plain twins on random, clean
// and invalid input: every length 0..200, every alignment of the source
// within 16 bytes. The public forms, which run the vector kernels, are held
// to models of the rules by the ByteArrayTextForms fuzz harness.
#include <array>
#include <climits>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bytearray/ByteArrayData.h"
#include "bytearray/TextFormsInternal.h"
#include "codec/Base64Blocks.h"
#include "frame/ByteTables.h"
#include "support/EveryPlacement.h"

namespace {

using namespace TQBase::detail;
constexpr auto npos = std::string::npos;

unsigned char* u8(std::string& s) {
  return reinterpret_cast<unsigned char*>(&s[0]);
}

const char* alphabetOf(bool url) {
  return url ? kBase64UrlAlphabet : kBase64Alphabet;
}

// fromBase64's plain walk over the `n` characters at `in`.
std::string plainBase64(const void* in, std::size_t n, bool url) {
  std::array<signed char, 256> values;
  values.fill(-1);
  for (int v = 0; v < 64; ++v)
    values[static_cast<unsigned char>(alphabetOf(url)[v])] =
        static_cast<signed char>(v);
  std::string out(n * 3 / 4 + 1, '\0');
  out.resize(decodeBase64Plain(static_cast<const unsigned char*>(in),
                               static_cast<int>(n), values.data(), u8(out)));
  return out;
}

// Texts of each kind (any bytes, clean Base64 of either alphabet, Base64 of
// both with blanks, padding and high bytes strewn in, hex digits) at every
// length and alignment, each length another stretch of the kind's text.
template <typename Check>
void forEveryInput(Check check) {
  const std::string kinds[] = {"", kBase64Alphabet, kBase64UrlAlphabet,
                               std::string(kBase64Alphabet) + "-_ \n=\x80\xFF!",
                               "0123456789abcdefABCDEF"};
  std::mt19937 rng(20261124);
  for (const std::string& set : kinds) {
    std::vector<unsigned char> text(400);
    for (unsigned char& c : text)
      c = static_cast<unsigned char>(set.empty() ? rng()
                                                 : set[rng() % set.size()]);
    tqtest::forEveryPlacement(
        text, 16,
        [&](const unsigned char* at, std::size_t n) {
          check(std::string(at, at + n), at);
        },
        37);
  }
}

// The Base64 block kernels run at every level this processor has, the plain
// "none" included: whole groups only, clean characters only, nothing written
// behind what they keep, and what they write reads back plainly.
TEST(TextFormsKernels, VectorFormsMatchThePlainOnes) {
  std::vector<Base64Simd> levels = {Base64Simd::none};
#if defined(__x86_64__)
  if (__builtin_cpu_supports("ssse3")) levels.push_back(Base64Simd::ssse3);
  if (__builtin_cpu_supports("avx2")) levels.push_back(Base64Simd::avx2);
#endif
  ASSERT_TRUE(levels.size() == 1 || bestBase64Simd() == levels.back());
  forEveryInput([&](const std::string& text, const unsigned char* at) {
    const std::size_t n = text.size();
    std::string plainHex(n / 2, '\0'), hex(n / 2, '\0');
    decodeHexPlain(at, static_cast<int>(n / 2), u8(plainHex));
#if defined(__SSE2__)
    decodeHexSse2(at, static_cast<int>(n / 2), u8(hex));
    ASSERT_EQ(hex, plainHex);
#endif
    for (bool url : {false, true}) {
      std::string fast(n * 3 / 4 + 1, '\0');
      fast.resize(decodeBase64Fast(at, static_cast<int>(n), url, u8(fast)));
      ASSERT_EQ(fast, plainBase64(at, n, url));
      const std::size_t clean = text.find_first_not_of(alphabetOf(url));
      for (const Base64Simd level : levels) {
        SCOPED_TRACE(static_cast<int>(level));
        std::string chars(n / 3 * 4 + 4, '#'), bytes(n, '#'), tight(n, '#');
        const std::size_t encoded =
            encodeBase64Blocks(level, at, n, &chars[0], url);
        ASSERT_EQ(encoded % 3, 0u);
        ASSERT_LE(encoded, n);
        ASSERT_EQ(plainBase64(chars.data(), encoded / 3 * 4, url),
                  text.substr(0, encoded));
        ASSERT_EQ(chars.find_first_not_of('#', encoded / 3 * 4), npos);
        const std::size_t decoded =
            decodeBase64Blocks(level, at, n, u8(bytes), n / 4 * 3, url);
        ASSERT_EQ(decoded % 4, 0u);
        ASSERT_GE(clean, decoded);
        ASSERT_EQ(bytes.substr(0, decoded / 4 * 3),
                  plainBase64(at, decoded, url));
        ASSERT_EQ(bytes.find_first_not_of('#', decoded / 4 * 3), npos);
        // Short of room, a kernel stops within it.
        const std::size_t room = n / 8;
        const std::size_t kept =
            decodeBase64Blocks(level, at, n, u8(tight), room, url) / 4 * 3;
        ASSERT_LE(kept, room);
        ASSERT_EQ(tight.substr(0, kept), bytes.substr(0, kept));
        ASSERT_EQ(tight.find_first_not_of('#', kept), npos);
        // A kernel that runs takes clean text as far as its blocks go.
        if (level != Base64Simd::none && clean == npos && n >= 48) {
          ASSERT_GE(decoded + 32, n);
        }
      }
    }
  });
}

// The size helpers must not wrap at any size an int can state. (Where the
// members refuse, and so their helpers, the byte array's limit test checks.)
TEST(TextFormsKernels, SizeHelpersStopAtTheLargestCapacity) {
  EXPECT_EQ(allocationFor(kMaxWantedCapacity), 0x7FFFF000);
  EXPECT_EQ(base64EncodedSize(1610609661), 2147479548);
  EXPECT_THROW(base64EncodedSize(1610609662), std::bad_alloc);
  EXPECT_THROW(base64EncodedSize(1610612734), std::bad_alloc);  // int wraps
  EXPECT_EQ(base64DecodedBound(INT_MAX), 1610612735);
  EXPECT_EQ(hexEncodedSize(1073741823), 2147483646);
  EXPECT_EQ(percentEncodedBound(715826517), 2147479551);
  EXPECT_THROW(percentEncodedBound(INT_MAX), std::bad_alloc);
}

}  // namespace
