// MD5 known answers: the RFC 1321 test suite, built whether or not an oracle
// is at hand.
#include "TQBase/TQMD5.h"

#include <gtest/gtest.h>

namespace {

using TQBase::TQMD5;

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

}  // namespace
