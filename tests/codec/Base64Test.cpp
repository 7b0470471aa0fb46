#include "TQBase/TQBase64.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using TQBase::TQBase64;

constexpr unsigned char kSentinel = 0xA5;
constexpr unsigned kSeed = 20240604;

std::string bytesOf(const std::vector<unsigned char>& v) {
  return std::string(v.begin(), v.end());
}

// Straight reading of the decoding rules, group by group, on a copy padded
// with "=": the reference for the table-driven decoder.
int modelDecode(const std::string& src, std::vector<unsigned char>& out) {
  static const std::string kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  auto code = [](char ch) -> unsigned {
    if (ch == '=') return 0xFE;
    const auto pos = kAlphabet.find(ch);
    return ch != '\0' && pos != std::string::npos ? unsigned(pos) : 0xFF;
  };
  std::string padded = src + "====";
  padded.resize((src.size() + 3) / 4 * 4);
  for (std::size_t g = 0; g < padded.size(); g += 4) {
    const unsigned a = code(padded[g]), b = code(padded[g + 1]),
                   c = code(padded[g + 2]), d = code(padded[g + 3]);
    if (a == 0xFF || b == 0xFF || c == 0xFF || d == 0xFF) return -1;
    out.push_back(static_cast<unsigned char>((a << 2) + ((b >> 4) & 3)));
    if (c != 0xFE)
      out.push_back(static_cast<unsigned char>((b << 4) + ((c >> 2) & 15)));
    if (d != 0xFE) out.push_back(static_cast<unsigned char>((c << 6) + d));
  }
  return static_cast<int>(out.size());
}

TEST(Base64Codec, LengthFormulasRunUnguarded) {
  struct Row {
    int n, encoded, decoded;
  };
  const Row rows[] = {{0, 0, 0},
                      {1, 4, 3},
                      {3, 4, 3},
                      {4, 8, 3},
                      {5, 8, 6},
                      {6, 8, 6},
                      {7, 12, 6},
                      {-1, 0, 0},
                      {-4, 0, 0},
                      {-5, -4, 0},
                      {-6, -4, 0},
                      {-7, -4, -3},
                      {-8, -8, -3},
                      {1610612733, 2147483644, 1207959552},
                      {2147483644, -1431655768, 1610612733}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.n);
    EXPECT_EQ(TQBase64::getEncodeDstLen(row.n), row.encoded);
    EXPECT_EQ(TQBase64::getdecodeDstLen(row.n), row.decoded);
  }
}

TEST(Base64Codec, EncodesRfc4648VectorsWithoutTerminator) {
  const char* rows[][2] = {{"", ""},
                           {"a", "YQ=="},
                           {"ab", "YWI="},
                           {"abc", "YWJj"},
                           {"abcd", "YWJjZA=="},
                           {"foobar", "Zm9vYmFy"},
                           {"fooba", "Zm9vYmE="}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row[0]);
    const std::string in = row[0], want = row[1];
    std::vector<char> dst(want.size() + 4, char(kSentinel));
    EXPECT_EQ(
        TQBase64::encode(reinterpret_cast<const unsigned char*>(in.data()),
                         int(in.size()), dst.data(), int(want.size())),
        int(want.size()));
    EXPECT_EQ(std::string(dst.data(), want.size()), want);
    for (std::size_t i = want.size(); i < dst.size(); ++i) {
      EXPECT_EQ(dst[i], char(kSentinel));
    }
    std::string text = "old";
    EXPECT_TRUE(TQBase64::encode(in, text));
    EXPECT_EQ(text, want);
  }
}

TEST(Base64Codec, DecodesPaddingMarkAsValue) {
  struct Row {
    const char* in;
    std::vector<unsigned char> out;
  };
  const Row rows[] = {
      {"QQ==", {0x41}},
      {"QQQ=", {0x41, 0x04}},
      {"QQQQ", {0x41, 0x04, 0x10}},
      {"QQ=Q", {0x41, 0x90}},  // "=" in place 3 only skips the second byte
      {"Q=QQ", {0x43, 0xE4, 0x10}},
      {"=QQQ", {0xF9, 0x04, 0x10}},
      {"====", {0xFB}},
      {"Q", {0x43}},  // completed to "Q==="
      {"QQ", {0x41}},
      {"QUI", {0x41, 0x42}},
      {"QUI=", {0x41, 0x42}},
      {"QUJDRA==", {0x41, 0x42, 0x43, 0x44}},
      {"QQ==QQ==", {0x41, 0x41}},  // padding ends nothing
      {"QUJD=", {0x41, 0x42, 0x43, 0xFB}},
      {"", {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.in);
    const int len = int(std::strlen(row.in));
    std::vector<unsigned char> dst(TQBase64::getdecodeDstLen(len) + 2,
                                   kSentinel);
    ASSERT_EQ(TQBase64::decode(row.in, len, dst.data(),
                               TQBase64::getdecodeDstLen(len)),
              int(row.out.size()));
    EXPECT_TRUE(std::equal(row.out.begin(), row.out.end(), dst.begin()));
    for (std::size_t i = row.out.size(); i < dst.size(); ++i) {
      EXPECT_EQ(dst[i], kSentinel);
    }
    std::string text = "old";
    EXPECT_TRUE(TQBase64::decode(std::string(row.in), text));
    EXPECT_EQ(text, bytesOf(row.out));
  }
}

TEST(Base64Codec, TooSmallDestinationIsRefusedUntouched) {
  unsigned char in[3] = {1, 2, 3};
  char text[8];
  std::memset(text, kSentinel, sizeof text);
  EXPECT_EQ(TQBase64::encode(in, 3, text, 3), -1);
  EXPECT_EQ(text[0], char(kSentinel));
  EXPECT_EQ(TQBase64::encode(in, 3, text, 4), 4);
  EXPECT_EQ(TQBase64::encode(in, 0, text, 0), 0);
  EXPECT_EQ(TQBase64::encode(in, 0, text, -1), -1);

  unsigned char bytes[8];
  std::memset(bytes, kSentinel, sizeof bytes);
  // Five characters need room for two groups though four bytes result.
  EXPECT_EQ(TQBase64::decode("QUJDR", 5, bytes, 5), -1);
  EXPECT_EQ(bytes[0], kSentinel);
  EXPECT_EQ(TQBase64::decode("QUJDR", 5, bytes, 6), 4);
  EXPECT_EQ(TQBase64::decode("QQ==", 4, bytes, 2), -1);
  EXPECT_EQ(TQBase64::decode(nullptr, 0, bytes, 0), 0);
  EXPECT_EQ(TQBase64::decode("", 0, bytes, -1), -1);
}

TEST(Base64Codec, StringDecodeFailureKeepsProvisionalSize) {
  std::string out = "previous";
  EXPECT_FALSE(TQBase64::decode("QUJD!UJD", 8, out));
  EXPECT_EQ(out, std::string("ABC\0\0\0", 6));
  // NUL inside a std::string source is an invalid character.
  EXPECT_FALSE(TQBase64::decode(std::string("QU\0D", 4), out));
  EXPECT_EQ(out, std::string(3, '\0'));
}

TEST(Base64Codec, NegativeLengthsFollowTheFormula) {
  unsigned char in[1] = {0};
  char text[4];
  unsigned char bytes[4];
  EXPECT_EQ(TQBase64::encode(in, -5, text, -4), 0);
  EXPECT_EQ(TQBase64::encode(in, -5, text, -5), -1);
  EXPECT_EQ(TQBase64::decode("", -8, bytes, -3), 0);
  EXPECT_THROW(TQBase64::decode("", -1, bytes, 0), std::length_error);
  std::string out;
  EXPECT_TRUE(TQBase64::encode(in, -1, out));
  EXPECT_TRUE(out.empty());
  EXPECT_THROW(TQBase64::encode(in, -5, out), std::length_error);
  EXPECT_THROW(TQBase64::decode("", -3, out), std::length_error);
}

TEST(Base64Codec, OversizedLengthsCannotOverrunDestination) {
  // The wrapped formulas would let these through; the true sizes cannot fit.
  unsigned char in[1] = {0};
  char text[4];
  unsigned char bytes[4];
  EXPECT_EQ(TQBase64::encode(in, 2147483647, text, 4), -1);
  EXPECT_EQ(TQBase64::decode("QQ==", 2147483647, bytes, 4), -1);
}

TEST(Base64Codec, RoundTripsRandomBytes) {
  for (int trial = 0; trial < 300; ++trial) {
    SCOPED_TRACE(trial);
    std::mt19937 rng(kSeed + trial);
    std::string bytes(rng() % 200, '\0');
    for (char& ch : bytes) ch = char(rng());
    std::string text, back;
    ASSERT_TRUE(TQBase64::encode(bytes, text));
    ASSERT_EQ(text.size(), (bytes.size() + 2) / 3 * 4);
    ASSERT_TRUE(TQBase64::decode(text, back));
    EXPECT_EQ(back, bytes);
  }
}

TEST(Base64Codec, DecodeMatchesModelOnNoisyText) {
  const std::string kChars =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"
      "========\n-_ \x80!";
  for (int trial = 0; trial < 2000; ++trial) {
    SCOPED_TRACE(trial);
    std::mt19937 rng(kSeed + trial);
    std::string in(rng() % 40, '\0');
    // Mostly clean text, so that failures come late in the input too.
    for (char& ch : in) {
      const std::size_t span = rng() % 8 != 0 ? 72 : kChars.size();
      ch = kChars[rng() % span];
    }
    std::vector<unsigned char> want;
    const int wantResult = modelDecode(in, want);
    const int room = TQBase64::getdecodeDstLen(int(in.size()));
    std::vector<unsigned char> dst(room + 1, kSentinel);
    ASSERT_EQ(TQBase64::decode(in.data(), int(in.size()), dst.data(), room),
              wantResult);
    ASSERT_TRUE(std::equal(want.begin(), want.end(), dst.begin()));
    for (std::size_t i = want.size(); i < dst.size(); ++i) {
      ASSERT_EQ(dst[i], kSentinel);
    }
  }
}

}  // namespace
