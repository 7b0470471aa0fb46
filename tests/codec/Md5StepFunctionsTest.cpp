// TQMD5's exported private helpers (the RFC 1321 auxiliary functions, the
// round steps, rotation and the byte-order helpers) against the RFC's
// formulas on random words. They are reached through explicit template
// instantiation, which the language exempts from access checking.

#include <random>

#include <gtest/gtest.h>

#include "TQBase/TQMD5.h"

namespace {

using TQBase::TQMD5;
using Aux = unsigned int (*)(unsigned int, unsigned int, unsigned int);
using Step = void (*)(unsigned int&, unsigned int, unsigned int, unsigned int,
                      unsigned int, unsigned int, unsigned int);
using Rotate = unsigned int (*)(unsigned int, unsigned int);
using Encode = void (*)(unsigned char*, unsigned int*, unsigned int);
using Decode = void (*)(unsigned int*, unsigned char*, unsigned int);

template <typename T, int N>
struct Member {
  static T pointer;
};
template <typename T, int N>
T Member<T, N>::pointer;

template <typename T, int N, T P>
struct Take {
  static const bool done;
};
template <typename T, int N, T P>
const bool Take<T, N, P>::done = (Member<T, N>::pointer = P, true);

template struct Take<Aux, 0, &TQMD5::F>;
template struct Take<Aux, 1, &TQMD5::G>;
template struct Take<Aux, 2, &TQMD5::H>;
template struct Take<Aux, 3, &TQMD5::I>;
template struct Take<Step, 0, &TQMD5::FF>;
template struct Take<Step, 1, &TQMD5::GG>;
template struct Take<Step, 2, &TQMD5::HH>;
template struct Take<Step, 3, &TQMD5::II>;
template struct Take<Rotate, 0, &TQMD5::rotate_left>;
template struct Take<Encode, 0, &TQMD5::encode>;
template struct Take<Decode, 0, &TQMD5::decode>;
using Transform = void (TQMD5::*)(unsigned char*);
template struct Take<Transform, 0, &TQMD5::transform>;

unsigned int rotl(unsigned int x, unsigned int n) {
  n %= 32;
  return n == 0 ? x : (x << n) | (x >> (32 - n));
}

TEST(Md5StepFunctions, MatchTheRoundFormulas) {
  const Aux aux[] = {Member<Aux, 0>::pointer, Member<Aux, 1>::pointer,
                     Member<Aux, 2>::pointer, Member<Aux, 3>::pointer};
  const Step step[] = {Member<Step, 0>::pointer, Member<Step, 1>::pointer,
                       Member<Step, 2>::pointer, Member<Step, 3>::pointer};
  const Rotate rotate = Member<Rotate, 0>::pointer;
  auto model = [](int k, unsigned x, unsigned y, unsigned z) {
    switch (k) {
      case 0:
        return (x & y) | (~x & z);
      case 1:
        return (x & z) | (y & ~z);
      case 2:
        return x ^ y ^ z;
      default:
        return y ^ (x | ~z);
    }
  };
  std::mt19937 rng(1321);
  for (int trial = 0; trial < 2000; ++trial) {
    const unsigned a = rng(), b = rng(), c = rng(), d = rng(), x = rng(),
                   ac = rng(), s = rng() % 64;
    EXPECT_EQ(rotate(a, s), rotl(a, s));
    for (int k = 0; k < 4; ++k) {
      ASSERT_EQ(aux[k](b, c, d), model(k, b, c, d)) << k;
      unsigned got = a;
      step[k](got, b, c, d, x, s, ac);
      ASSERT_EQ(got, rotl(a + model(k, b, c, d) + x + ac, s) + b) << k;
    }
  }
}

TEST(Md5StepFunctions, ByteOrderHelpersGoByWholeWords) {
  const Encode encode = Member<Encode, 0>::pointer;
  const Decode decode = Member<Decode, 0>::pointer;
  unsigned int words[2] = {0x04030201u, 0x08070605u};
  unsigned char bytes[9] = {0};
  // A length of 5 is no multiple of 4: the second word still goes whole.
  encode(bytes, words, 5);
  const unsigned char expected[9] = {1, 2, 3, 4, 5, 6, 7, 8, 0};
  for (int i = 0; i < 9; ++i) EXPECT_EQ(bytes[i], expected[i]) << i;
  unsigned int back[3] = {0, 0, 0xDEADBEEFu};
  decode(back, bytes, 8);
  EXPECT_EQ(back[0], words[0]);
  EXPECT_EQ(back[1], words[1]);
  EXPECT_EQ(back[2], 0xDEADBEEFu);
}

TEST(Md5StepFunctions, TransformAppliesOneBlockAsUpdateDoes) {
  const Transform transform = Member<Transform, 0>::pointer;
  unsigned char x[64], y[64];
  for (int i = 0; i < 64; ++i) {
    x[i] = static_cast<unsigned char>(i * 7 + 1);
    y[i] = static_cast<unsigned char>(255 - i);
  }
  // Block x by transform, then y by update; and x by update, then y by
  // transform: the same state and count.
  TQMD5 a, b, yOnly;
  (a.*transform)(x);
  a.update(y, 64);
  b.update(x, 64);
  (b.*transform)(y);
  yOnly.update(y, 64);
  a.finalize();
  b.finalize();
  yOnly.finalize();
  EXPECT_EQ(a.get_digest(), b.get_digest());
  EXPECT_NE(a.get_digest(), yOnly.get_digest());
}

}  // namespace
