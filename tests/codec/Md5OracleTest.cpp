// MD5 against OpenSSL's EVP digest as an independent oracle.
#include "TQBase/TQMD5.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <random>
#include <string>
#include <vector>

namespace {

using TQBase::TQMD5;

constexpr unsigned kSeed = 1321;

std::string oracleMd5(const std::string& data) {
  unsigned char out[EVP_MAX_MD_SIZE];
  unsigned int outLen = 0;
  EVP_Digest(data.data(), data.size(), out, &outLen, EVP_md5(), nullptr);
  return TQMD5::translate(out);
}

std::string randomBytes(std::mt19937& rng, std::size_t size) {
  std::string s(size, '\0');
  for (char& ch : s) ch = static_cast<char>(rng());
  return s;
}

unsigned char* bytes(std::string& s) {
  return reinterpret_cast<unsigned char*>(&s[0]);
}

// RFC 1321 padding of `message` as finalize() applies it.
std::string padded(const std::string& message) {
  std::string out = message + '\x80';
  while (out.size() % 64 != 56) out += '\0';
  const unsigned long long bits = message.size() * 8ull;
  for (int i = 0; i < 8; ++i) out += static_cast<char>(bits >> (8 * i));
  return out;
}

TEST(Md5Oracle, EveryLengthAroundBlockBoundaries) {
  // 55 is the last length padded within one block, 56 spills the count.
  std::mt19937 rng(kSeed);
  for (std::size_t len = 0; len <= 200; ++len) {
    SCOPED_TRACE(len);
    const std::string msg = randomBytes(rng, len);
    EXPECT_EQ(TQMD5::get_md5(msg), oracleMd5(msg));
  }
}

TEST(Md5Oracle, RandomPiecesIncludingEmptyOnes) {
  for (int trial = 0; trial < 200; ++trial) {
    SCOPED_TRACE(trial);
    std::mt19937 rng(kSeed + trial);
    std::string msg = randomBytes(rng, rng() % 5000);
    TQMD5 md5;
    std::size_t pos = 0;
    while (pos < msg.size()) {
      // Zero-sized pieces one time in four; sizes cross block edges.
      const std::size_t piece =
          rng() % 4 == 0 ? 0
                         : std::min<std::size_t>(rng() % 300, msg.size() - pos);
      md5.update(bytes(msg) + pos, static_cast<unsigned>(piece));
      pos += piece;
    }
    md5.finalize();
    EXPECT_EQ(md5.get_digest(), oracleMd5(msg));
  }
}

TEST(Md5Oracle, UpdateAfterFinalizeContinuesPaddedMessage) {
  std::mt19937 rng(kSeed);
  for (std::size_t len : {0u, 3u, 55u, 56u, 64u, 119u, 120u}) {
    SCOPED_TRACE(len);
    std::string msg = randomBytes(rng, len), more = randomBytes(rng, 100);
    TQMD5 md5;
    md5.update(bytes(msg), static_cast<unsigned>(len));
    md5.finalize();
    const std::string first = md5.get_digest();
    EXPECT_EQ(first, oracleMd5(msg));
    md5.update(bytes(more), 100);
    EXPECT_EQ(md5.get_digest(), first);  // unchanged until the next finalize
    md5.finalize();
    EXPECT_EQ(md5.get_digest(), oracleMd5(padded(msg) + more));
  }
}

TEST(Md5Oracle, DoubleFinalizeDigestsThePaddedBlock) {
  std::string abc = "abc";
  TQMD5 md5(bytes(abc), 3);
  md5.finalize();
  EXPECT_EQ(md5.get_digest(), "2ef3c917c1c6afe91d4cc66d8733c403");
  EXPECT_EQ(md5.get_digest(), oracleMd5(padded("abc")));
  // count stood at 1024 bits: a third finalize pads 128 bytes again.
  md5.finalize();
  EXPECT_EQ(md5.get_digest(), oracleMd5(padded(padded("abc"))));
}

}  // namespace
