// MD5 known answers (the RFC 1321 test suite, built whether or not an
// oracle is at hand), and TQMD5's private helpers, which are exported too and
// so are held to RFC 1321 as well. They are reached through member pointers
// that explicit template instantiation may name despite access (the one
// standard way in).
#include "TQBase/TQMD5.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <tuple>

namespace {

using TQBase::TQMD5;

// Stores pointers to the private members `M...` under the tag type `Tag`.
template <typename Tag, auto... M>
struct Steal {
  friend auto get(Tag) { return std::make_tuple(M...); }
};

struct Members {
  friend auto get(Members);
};
template struct Steal<Members, &TQMD5::F, &TQMD5::G, &TQMD5::H, &TQMD5::I,
                      &TQMD5::FF, &TQMD5::GG, &TQMD5::HH, &TQMD5::II,
                      &TQMD5::rotate_left, &TQMD5::encode, &TQMD5::decode,
                      &TQMD5::transform, &TQMD5::state>;

TEST(Md5Digest, MatchesRfc1321TestSuite) {
  const char* rows[][2] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
       "d174ab98d277d9f5a5611c2c9f419d9f"},
      {"1234567890123456789012345678901234567890"
       "1234567890123456789012345678901234567890",
       "57edf4a22be3c955ac49da2e2107b67a"}};
  for (const auto& row : rows) EXPECT_EQ(TQMD5::get_md5(row[0]), row[1]);
  EXPECT_EQ(TQMD5(nullptr, 0).get_digest(), TQMD5::get_md5(""));
  unsigned char abc[] = "abc";
  TQMD5 md5(abc, 3), copy;
  copy = md5;      // the finished flag travels too
  md5.finalize();  // digests the padded message once more
  EXPECT_EQ(md5.get_digest(), "2ef3c917c1c6afe91d4cc66d8733c403");
  EXPECT_EQ(copy.get_digest(), "900150983cd24fb0d6963f7d28e17f72");
}

unsigned int rotl(unsigned int x, unsigned int n) {
  n %= 32;
  return n == 0 ? x : (x << n) | (x >> (32 - n));
}

// The auxiliary functions, steps and rotation on random words; words are
// little-endian, and a length short of a whole word still moves it; one
// transform of the padded empty message leaves its digest as the state.
TEST(Md5Members, FollowRfc1321) {
  const auto [F, G, H, I, FF, GG, HH, II, rotate, encode, decode, transform,
              state] = get(Members());
  const std::array aux = {F, G, H, I};
  const std::array steps = {FF, GG, HH, II};
  std::mt19937 rng(1321);
  for (int trial = 0; trial < 2000; ++trial) {
    const unsigned int x = rng(), y = rng(), z = rng(), w = rng(), s = rng();
    const unsigned int rfc[] = {(x & y) | (~x & z), (x & z) | (y & ~z),
                                x ^ y ^ z, y ^ (x | ~z)};
    EXPECT_EQ(rotate(x, s), rotl(x, s));
    for (int k = 0; k < 4; ++k) {
      EXPECT_EQ(aux[k](x, y, z), rfc[k]);
      unsigned int a = w;
      steps[k](a, x, y, z, s, trial % 32, s ^ w);
      EXPECT_EQ(a, rotl(w + rfc[k] + s + (s ^ w), trial % 32) + x);
    }
  }
  unsigned int words[2] = {0x04030201u, 0x08070605u}, back[2] = {};
  unsigned char bytes[8] = {};
  encode(bytes, words, 6);
  decode(back, bytes, 5);
  EXPECT_EQ(std::string(bytes, bytes + 8), "\x01\x02\x03\x04\x05\x06\x07\x08");
  EXPECT_EQ(back[0], words[0]);
  EXPECT_EQ(back[1], words[1]);
  unsigned char block[64] = {0x80}, digest[16];
  TQMD5 md5;
  (md5.*transform)(block);
  encode(digest, md5.*state, 16);
  EXPECT_EQ(TQMD5::translate(digest), "d41d8cd98f00b204e9800998ecf8427e");
}

}  // namespace
