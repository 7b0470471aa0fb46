// MD5 against OpenSSL's EVP digest as an independent oracle.
#include "TQBase/TQMD5.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>

namespace {

using TQBase::TQMD5;

constexpr unsigned kSeed = 1321;

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

// A memory stream that keeps the unread data and counts its closes.
using Source = std::pair<std::string, int>;
FILE* openSource(Source& source) {
  cookie_io_functions_t io{};
  io.read = [](void* cookie, char* buf, std::size_t size) -> ssize_t {
    std::string& rest = static_cast<Source*>(cookie)->first;
    const std::size_t n = rest.copy(buf, size);
    rest.erase(0, n);
    return static_cast<ssize_t>(n);
  };
  io.close = [](void* c) { return ++static_cast<Source*>(c)->second, 0; };
  return fopencookie(&source, "r", io);
}

// Random messages (every length to 200 first: 55/56 and 119/120 decide the
// padding) fed whole, as a stream, and in random pieces (empty ones too)
// with copies taken midway.
TEST(Md5Oracle, RandomMessagesInRandomPieces) {
  for (int trial = 0; trial < 400; ++trial) {
    SCOPED_TRACE(trial);
    std::mt19937 rng(kSeed + trial);
    std::string msg(trial <= 200 ? trial : rng() % 5000, '\0');
    for (char& ch : msg) ch = static_cast<char>(rng());
    auto* data = reinterpret_cast<unsigned char*>(&msg[0]);
    const std::string want = oracleMd5(msg);
    EXPECT_EQ(TQMD5::get_md5(msg), want);
    Source source{msg, 0};
    EXPECT_EQ(TQMD5(openSource(source)).get_digest(), want);
    EXPECT_EQ(source.second, 1);  // closed exactly once, also when empty
    TQMD5 md5, copy;
    std::size_t pos = 0, copyPos = 0;
    while (pos < msg.size()) {
      const std::size_t piece =
          std::min<std::size_t>(rng() % 4 ? rng() % 300 : 0, msg.size() - pos);
      md5.update(data + pos, static_cast<unsigned>(piece));
      pos += piece;
      if (rng() % 8 == 0) copy = md5, copyPos = pos;
    }
    copy = *&copy;  // self-assignment keeps everything
    copy.update(data + copyPos, static_cast<unsigned>(msg.size() - copyPos));
    unsigned char out[16] = {0xA5};
    EXPECT_FALSE(md5.get_digest(out));  // nothing before finalize
    EXPECT_EQ(out[0], 0xA5);
    EXPECT_EQ(md5.get_digest(), "");
    md5.finalize();
    ASSERT_TRUE(md5.get_digest(out));
    EXPECT_EQ(TQMD5::translate(out), want);
    copy.finalize();
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
