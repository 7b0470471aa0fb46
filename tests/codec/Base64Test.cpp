#include "TQBase/TQBase64.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>
#include <tuple>

namespace {

using TQBase::TQBase64;

constexpr char kSentinel = char(0xA5);
constexpr unsigned kSeed = 20240604;
const std::string kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

unsigned char* u8(std::string& s) {
  return reinterpret_cast<unsigned char*>(&s[0]);
}
// `want` followed by sentinels up to the size of `dst`.
std::string behind(const std::string& want, const std::string& dst) {
  return want + std::string(dst.size() - want.size(), kSentinel);
}

// Straight reading of the decoding rules, group by group, on a copy padded
// with "=": the reference for the table-driven decoder. "=" has the value
// 0xFE, bytes outside the alphabet 0xFF.
unsigned code(char ch) {
  return ch == '=' ? 0xFE : std::min<unsigned>(kAlphabet.find(ch), 0xFF);
}
int modelDecode(const std::string& src, std::string& out) {
  const std::string in = src + "===";
  for (std::size_t g = 0; g < src.size(); g += 4) {
    const unsigned a = code(in[g]), b = code(in[g + 1]), c = code(in[g + 2]),
                   d = code(in[g + 3]);
    if (std::max({a, b, c, d}) == 0xFF) return -1;
    out += char((a << 2) + ((b >> 4) & 3));
    if (c != 0xFE) out += char((b << 4) + ((c >> 2) & 15));
    if (d != 0xFE) out += char((c << 6) + d);
  }
  return static_cast<int>(out.size());
}

// Buffer forms: the result, what lands in `dst`, and sentinels behind it.
// Encoding "abc" needs 4 characters, "QUJDR" room for two groups (6). A
// negative length passes when the formula allows it (-5 gives -4) and the
// formula wraps above 1,610,612,733. "=" in place 3 or 4 only skips a byte
// and is 0xFE elsewhere; the groups before a bad character stay.
TEST(Base64Codec, EdgesOfBufferAndStringForms) {
  // encode?, src, srcLen, dstLen, result, bytes in dst before the sentinels
  const std::tuple<bool, const char*, int, int, int, std::string> rows[] = {
      {true, "a", 1, 4, 4, "YQ=="},
      {true, "abc", 3, 4, 4, "YWJj"},
      {true, "abc", 3, 3, -1, ""},
      {true, "", -5, -4, 0, ""},
      {true, "", -5, -5, -1, ""},
      {true, "", 2147483647, 4, -1, ""},
      {false, "Q=QQ", 4, 3, 3, "\x43\xE4\x10"},
      {false, "QUJD!UJD", 8, 6, -1, "ABC"},
      {false, "QUJDR", 5, 5, -1, ""},
      {false, nullptr, 0, 0, 0, ""},
      {false, "", -8, -3, 0, ""},
      {false, "QQ==", 2147483647, 4, -1, ""}};
  for (const auto& [encode, src, srcLen, dstLen, result, want] : rows) {
    SCOPED_TRACE(std::to_string(srcLen) + (src ? src : "(null)"));
    std::string dst(10, kSentinel);
    const auto* bytes = reinterpret_cast<const unsigned char*>(src);
    EXPECT_EQ(encode ? TQBase64::encode(bytes, srcLen, &dst[0], dstLen)
                     : TQBase64::decode(src, srcLen, u8(dst), dstLen),
              result);
    EXPECT_EQ(dst, behind(want, dst));
  }
  // The length formulas are int arithmetic without guard and wrap; the
  // string forms keep the provisional size on failure and refuse negative
  // sizes.
  EXPECT_EQ(TQBase64::getEncodeDstLen(1610612733), 2147483644);
  EXPECT_EQ(TQBase64::getEncodeDstLen(2147483644), -1431655768);
  EXPECT_EQ(TQBase64::getdecodeDstLen(2147483644), 1610612733);
  std::string out = "previous";
  EXPECT_FALSE(TQBase64::decode("QUJD!UJD", 8, out));
  EXPECT_EQ(out, std::string("ABC\0\0\0", 6));
  EXPECT_FALSE(TQBase64::decode(std::string("QU\0D", 4), out));
  EXPECT_EQ(out, std::string(3, '\0'));
  EXPECT_TRUE(TQBase64::encode(nullptr, -1, out));
  EXPECT_TRUE(out.empty());
  EXPECT_THROW(TQBase64::encode(nullptr, -5, out), std::length_error);
  EXPECT_THROW(TQBase64::decode("", -3, out), std::length_error);
  EXPECT_THROW(TQBase64::decode("", -1, nullptr, 0), std::length_error);
}

TEST(Base64Codec, RoundTripsAndMatchesModelOnNoisyText) {
  const std::string kChars = kAlphabet + "========\n-_ \x80!";
  std::string text = "old", back = "old";  // string forms replace, not append
  for (int trial = 0; trial < 2000; ++trial) {
    SCOPED_TRACE(trial);
    std::mt19937 rng(kSeed + trial);
    std::string bytes(rng() % 200, '\0'), in(rng() % 40, '\0'), want;
    for (char& ch : bytes) ch = char(rng());
    ASSERT_TRUE(TQBase64::encode(bytes, text));
    ASSERT_TRUE(TQBase64::decode(text, back));
    ASSERT_EQ(back, bytes);
    // Mostly clean text, so that failures come late in the input too.
    for (char& ch : in)
      ch = kChars[rng() % 8 ? rng() % 72 : rng() % kChars.size()];
    std::string dst(TQBase64::getdecodeDstLen(int(in.size())) + 1, kSentinel);
    ASSERT_EQ(TQBase64::decode(in.data(), int(in.size()), u8(dst),
                               int(dst.size()) - 1),
              modelDecode(in, want));
    ASSERT_EQ(dst, behind(want, dst));
  }
}

// The class holds nothing: assignment only returns the left-hand object.
TEST(Base64Codec, AssignmentReturnsItself) {
  TQBase64 a, b;
  EXPECT_EQ(&(a = b), &a);
}

}  // namespace
