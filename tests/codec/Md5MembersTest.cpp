// TQMD5's private helpers are exported too, so they are held to RFC 1321
// here. They are reached through member pointers that explicit template
// instantiation may name despite access (the one standard way in).
#include "TQBase/TQMD5.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

using TQBase::TQMD5;
using Aux = unsigned int (*)(unsigned int, unsigned int, unsigned int);
using Step = void (*)(unsigned int&, unsigned int, unsigned int, unsigned int,
                      unsigned int, unsigned int, unsigned int);
using Rotate = unsigned int (*)(unsigned int, unsigned int);
using Encode = void (*)(unsigned char*, unsigned int*, unsigned int);
using Decode = void (*)(unsigned int*, unsigned char*, unsigned int);
using Transform = void (TQMD5::*)(unsigned char*);
using State = unsigned int (TQMD5::*)[4];

// Stores a pointer to the private member `M` under the tag type `Tag`.
template <typename Tag, typename Tag::type M>
struct Steal {
  friend typename Tag::type get(Tag) { return M; }
};

#define TQTEST_MEMBER(Name, Type, Member) \
  struct Name {                           \
    using type = Type;                    \
    friend type get(Name);                \
  };                                      \
  template struct Steal<Name, &TQMD5::Member>

TQTEST_MEMBER(FTag, Aux, F);
TQTEST_MEMBER(GTag, Aux, G);
TQTEST_MEMBER(HTag, Aux, H);
TQTEST_MEMBER(ITag, Aux, I);
TQTEST_MEMBER(FFTag, Step, FF);
TQTEST_MEMBER(GGTag, Step, GG);
TQTEST_MEMBER(HHTag, Step, HH);
TQTEST_MEMBER(IITag, Step, II);
TQTEST_MEMBER(RotateTag, Rotate, rotate_left);
TQTEST_MEMBER(EncodeTag, Encode, encode);
TQTEST_MEMBER(DecodeTag, Decode, decode);
TQTEST_MEMBER(TransformTag, Transform, transform);
TQTEST_MEMBER(StateTag, State, state);

unsigned int rotl(unsigned int x, unsigned int n) {
  n %= 32;
  return n == 0 ? x : (x << n) | (x >> (32 - n));
}

TEST(Md5Members, AuxiliaryFunctionsAndStepsFollowRfc1321) {
  std::mt19937 rng(1321);
  for (int trial = 0; trial < 2000; ++trial) {
    const unsigned int x = rng(), y = rng(), z = rng(), w = rng(), s = rng();
    EXPECT_EQ(get(FTag())(x, y, z), (x & y) | (~x & z));
    EXPECT_EQ(get(GTag())(x, y, z), (x & z) | (y & ~z));
    EXPECT_EQ(get(HTag())(x, y, z), x ^ y ^ z);
    EXPECT_EQ(get(ITag())(x, y, z), y ^ (x | ~z));
    EXPECT_EQ(get(RotateTag())(x, s), rotl(x, s));
    const Aux aux[] = {get(FTag()), get(GTag()), get(HTag()), get(ITag())};
    const Step steps[] = {get(FFTag()), get(GGTag()), get(HHTag()),
                          get(IITag())};
    for (int k = 0; k < 4; ++k) {
      unsigned int a = w;
      steps[k](a, x, y, z, s, trial % 32, s ^ w);
      EXPECT_EQ(a, rotl(w + aux[k](x, y, z) + s + (s ^ w), trial % 32) + x);
    }
  }
}

// Words are little-endian; a length short of a whole word still moves it.
TEST(Md5Members, EncodeDecodeAndTransform) {
  unsigned int words[2] = {0x04030201u, 0x08070605u};
  unsigned char bytes[8] = {};
  get(EncodeTag())(bytes, words, 6);
  const unsigned char expected[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(std::memcmp(bytes, expected, 8), 0);
  unsigned int back[2] = {};
  get(DecodeTag())(back, bytes, 5);
  EXPECT_EQ(back[0], words[0]);
  EXPECT_EQ(back[1], words[1]);
  // One transform of the padded empty message leaves its digest as state.
  unsigned char block[64] = {0x80};
  TQMD5 md5;
  (md5.*get(TransformTag()))(block);
  unsigned char digest[16];
  get(EncodeTag())(digest, md5.*get(StateTag()), 16);
  EXPECT_EQ(TQMD5::translate(digest), "d41d8cd98f00b204e9800998ecf8427e");
}

}  // namespace
