// TQMD5 against OpenSSL's MD5 on the same bytes, fed in pieces of sizes
// chosen by the input through every way in: update on a buffer, update on a
// stream, the buffer and stream constructors and get_md5.

#include <openssl/evp.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "TQBase/TQMD5.h"

namespace {

using TQBase::TQMD5;

std::string hex(const unsigned char* digest) {
  static const char kDigits[] = "0123456789abcdef";
  std::string out;
  for (int i = 0; i < 16; ++i) {
    out += kDigits[digest[i] >> 4];
    out += kDigits[digest[i] & 15];
  }
  return out;
}

std::string reference(const std::string& s) {
  unsigned char digest[16];
  EVP_Digest(s.data(), s.size(), digest, nullptr, EVP_md5(), nullptr);
  return hex(digest);
}

// A stream over a copy of `bytes`; update(FILE*) closes it.
std::FILE* streamOf(std::string& bytes) {
  return fmemopen(bytes.empty() ? nullptr : &bytes[0], bytes.size(), "rb");
}

void checkFinished(TQMD5& md5, const std::string& expected) {
  FUZZ_CHECK(md5.get_digest() == expected);
  unsigned char out[16];
  FUZZ_CHECK(md5.get_digest(out));
  FUZZ_CHECK(hex(out) == expected);
  FUZZ_CHECK(TQMD5::translate(out) == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                      std::size_t size) {
  fuzz::Input in(data, size);
  // Piece sizes come first, the message is what is left.
  std::vector<std::size_t> cuts;
  for (std::size_t k = in.small(8); k > 0; --k) cuts.push_back(in.u32() % 300);
  const unsigned streamMask = in.byte();
  const std::string message = in.rest();
  const std::string expected = reference(message);

  TQMD5 md5;
  unsigned char none[16] = {};
  FUZZ_CHECK(md5.get_digest().empty());
  FUZZ_CHECK(!md5.get_digest(none));
  for (unsigned char b : none) FUZZ_CHECK(b == 0);  // left untouched

  std::size_t pos = 0;
  for (std::size_t i = 0; pos < message.size(); ++i) {
    std::size_t piece = i < cuts.size() ? cuts[i] : message.size() - pos;
    if (piece > message.size() - pos) piece = message.size() - pos;
    // Each piece is an exact heap copy, so reading past it is seen.
    std::unique_ptr<unsigned char[]> copy(new unsigned char[piece]);
    std::memcpy(copy.get(), message.data() + pos, piece);
    if (((streamMask >> (i % 8)) & 1) != 0 && piece > 0) {
      std::string bytes(message, pos, piece);
      std::FILE* stream = streamOf(bytes);
      FUZZ_CHECK(stream != nullptr);
      md5.update(stream);
    } else {
      md5.update(copy.get(), static_cast<unsigned int>(piece));
    }
    pos += piece;
    if (i > 64) break;  // the rest goes in below
  }
  if (pos < message.size()) {
    std::string restBytes(message, pos);
    md5.update(reinterpret_cast<unsigned char*>(&restBytes[0]),
               static_cast<unsigned int>(restBytes.size()));
  }
  FUZZ_CHECK(md5.get_digest().empty());
  md5.finalize();
  checkFinished(md5, expected);

  // update after finalize leaves the digest alone until the next finalize.
  TQMD5 copy = md5;
  unsigned char zero = 0;
  copy.update(&zero, 0);
  checkFinished(copy, expected);

  std::string whole = message;
  TQMD5 once(
      reinterpret_cast<unsigned char*>(whole.empty() ? nullptr : &whole[0]),
      static_cast<unsigned int>(whole.size()));
  checkFinished(once, expected);
  FUZZ_CHECK(TQMD5::get_md5(message) == expected);

  if (!message.empty()) {
    std::string bytes = message;
    TQMD5 fromStream(streamOf(bytes));
    checkFinished(fromStream, expected);
  }
  return 0;
}
