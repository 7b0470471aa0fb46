// MD5 against OpenSSL's EVP digest as an independent oracle, through what
// the Md5 fuzz harness does not take: copies taken midway, self-assignment,
// updates past finalize, and the stream constructor on every message, the
// empty one included. Every length to 200 (55/56 and 119/120 decide the
// padding), then longer ones.
#include "TQBase/TQMD5.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>

namespace {

using TQBase::TQMD5;

std::string oracleMd5(const std::string& data) {
  unsigned char out[EVP_MAX_MD_SIZE];
  EVP_Digest(data.data(), data.size(), out, nullptr, EVP_md5(), nullptr);
  return TQMD5::translate(out);
}

// The message that finalize() digests: RFC 1321 padding and the bit count.
std::string padded(const std::string& msg) {
  std::string out = msg + '\x80';
  while (out.size() % 64 != 56) out += '\0';
  const unsigned long long bits =
      static_cast<unsigned long long>(msg.size()) * 8;
  for (int i = 0; i < 8; ++i) out += static_cast<char>(bits >> (8 * i));
  return out;
}

TEST(Md5Oracle, CopiesStreamsAndUpdatesPastFinalize) {
  for (int trial = 0; trial < 240; ++trial) {
    SCOPED_TRACE(trial);
    std::mt19937 rng(1321 + trial);
    std::string msg(trial <= 200 ? trial : rng() % 5000, '\0');
    for (char& ch : msg) ch = static_cast<char>(rng());
    auto* data = reinterpret_cast<unsigned char*>(&msg[0]);
    const std::string want = oracleMd5(msg);
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    ASSERT_EQ(write(fds[1], msg.data(), msg.size()), ssize_t(msg.size()));
    close(fds[1]);
    EXPECT_EQ(TQMD5(fdopen(fds[0], "r")).get_digest(), want);
    EXPECT_EQ(fcntl(fds[0], F_GETFD), -1);  // closed (twice: ASan sees it)
    const unsigned cut = rng() % (msg.size() + 1);
    TQMD5 md5, copy;
    md5.update(data, cut);
    copy = md5;
    copy = *&copy;  // self-assignment keeps everything
    md5.update(data + cut, static_cast<unsigned>(msg.size() - cut));
    copy.update(data + cut, static_cast<unsigned>(msg.size() - cut));
    md5.finalize();
    copy.finalize();
    EXPECT_EQ(md5.get_digest(), want);
    EXPECT_EQ(copy.get_digest(), want);
    // Past finalize the object goes on as if the padded message went on.
    const std::string extra = msg.substr(0, trial % 70);
    md5.update(data, static_cast<unsigned>(extra.size()));
    EXPECT_EQ(md5.get_digest(), want);  // unchanged until the next finalize
    md5.finalize();
    EXPECT_EQ(md5.get_digest(), oracleMd5(padded(msg) + extra));
  }
}

}  // namespace
