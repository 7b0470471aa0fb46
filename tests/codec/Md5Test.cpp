#include "TQBase/TQMD5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

using TQBase::TQMD5;

unsigned char* bytes(std::string& s) {
  return reinterpret_cast<unsigned char*>(&s[0]);
}

TEST(Md5Digest, MatchesRfc1321TestSuite) {
  const char* rows[][2] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
       "d174ab98d277d9f5a5611c2c9f419d9f"},
      {"1234567890123456789012345678901234567890123456789012345678901234567890"
       "1234567890",
       "57edf4a22be3c955ac49da2e2107b67a"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row[0]);
    std::string msg = row[0];
    EXPECT_EQ(TQMD5::get_md5(msg), row[1]);
    TQMD5 whole(bytes(msg), unsigned(msg.size()));
    EXPECT_EQ(whole.get_digest(), row[1]);
  }
}

TEST(Md5Digest, DigestIsUnavailableBeforeFinalize) {
  TQMD5 md5;
  unsigned char out[16];
  std::memset(out, 0xA5, sizeof out);
  EXPECT_EQ(md5.get_digest(), "");
  EXPECT_FALSE(md5.get_digest(out));
  EXPECT_EQ(out[0], 0xA5);
  // Asking did not finish the object: data still counts.
  std::string abc = "abc";
  md5.update(bytes(abc), 3);
  md5.finalize();
  EXPECT_EQ(md5.get_digest(), "900150983cd24fb0d6963f7d28e17f72");
  ASSERT_TRUE(md5.get_digest(out));
  EXPECT_EQ(TQMD5::translate(out), md5.get_digest());
}

TEST(Md5Digest, EmptyInputsGiveEmptyMessageDigest) {
  const std::string empty = "d41d8cd98f00b204e9800998ecf8427e";
  EXPECT_EQ(TQMD5(nullptr, 0).get_digest(), empty);
  EXPECT_EQ(TQMD5::get_md5(""), empty);
  TQMD5 md5;
  md5.update(static_cast<unsigned char*>(nullptr), 0);
  md5.finalize();
  EXPECT_EQ(md5.get_digest(), empty);
}

TEST(Md5Digest, AssignmentCopiesPartialBlockAndState) {
  std::string head = "The quick brown fox jumps", tail = " over the lazy dog";
  TQMD5 first;
  first.update(bytes(head), unsigned(head.size()));
  TQMD5 second;
  second = first;
  TQMD5& alias = second;
  second = alias;  // self-assignment changes nothing
  first.update(bytes(tail), unsigned(tail.size()));
  second.update(bytes(tail), unsigned(tail.size()));
  first.finalize();
  EXPECT_EQ(second.get_digest(), "");
  second.finalize();
  EXPECT_EQ(first.get_digest(), "9e107d9d372bb6826bd81d3542a419d6");
  EXPECT_EQ(second.get_digest(), first.get_digest());
  TQMD5 third;
  third = first;  // the finished flag travels too
  EXPECT_EQ(third.get_digest(), first.get_digest());
}

// A memory stream that counts how often it is closed.
struct CountingStream {
  std::string data;
  std::size_t pos = 0;
  int closes = 0;
};

FILE* openCounting(CountingStream& s) {
  cookie_io_functions_t io{};
  io.read = [](void* cookie, char* buf, std::size_t size) -> ssize_t {
    auto* self = static_cast<CountingStream*>(cookie);
    // Short reads on purpose: stdio must still hand over every byte.
    const std::size_t n =
        std::min({size, self->data.size() - self->pos, std::size_t{700}});
    std::memcpy(buf, self->data.data() + self->pos, n);
    self->pos += n;
    return static_cast<ssize_t>(n);
  };
  io.close = [](void* cookie) -> int {
    ++static_cast<CountingStream*>(cookie)->closes;
    return 0;
  };
  return fopencookie(&s, "r", io);
}

TEST(Md5Digest, StreamIsDigestedAndClosedOnce) {
  for (std::size_t size : {0u, 1u, 1023u, 1024u, 2050u, 70000u}) {
    SCOPED_TRACE(size);
    CountingStream source;
    for (std::size_t i = 0; i < size; ++i) source.data += char(i * 7 + 3);
    FILE* stream = openCounting(source);
    ASSERT_NE(stream, nullptr);
    TQMD5 fromStream(stream);
    EXPECT_EQ(source.closes, 1);
    EXPECT_EQ(fromStream.get_digest(), TQMD5::get_md5(source.data));
  }
}

}  // namespace
