// The fast text-form kernels against plain models written from the rules,
// on random, skipped and invalid input: every length 0..200, every
// alignment of the source within 16 bytes.
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bytearray/TextFormsInternal.h"
#include "codec/Base64Blocks.h"
#include "support/ByteArrayChecks.h"

namespace {

using TQBase::TQByteArray;
using namespace TQBase::detail;
using tqtest::bytesOf;

constexpr int kMaxLength = 200;
constexpr int kAlignments = 16;

std::string alphabetOf(bool url) {
  return std::string(
             "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789") +
         (url ? "-_" : "+/");
}

// fromHex: c - 0x57 from 0x61 up, c - 0x37 from 0x41, c - 0x30 below.
int modelHexCount(unsigned char c) {
  return c >= 0x61 ? c - 0x57 : c >= 0x41 ? c - 0x37 : c - 0x30;
}
std::string modelFromHex(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2)
    out += static_cast<char>(
        (modelHexCount(static_cast<unsigned char>(text[i])) * 16 +
         modelHexCount(static_cast<unsigned char>(text[i + 1]))) &
        0xFF);
  return out;
}

std::string modelFromBase64(const std::string& text, bool url) {
  const std::string alphabet = alphabetOf(url);
  std::string out;
  unsigned accumulator = 0;
  int bits = 0;
  for (char c : text) {
    const auto at = alphabet.find(c);
    if (c == '\0' || at == std::string::npos) continue;
    accumulator = (accumulator << 6) | static_cast<unsigned>(at);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out += static_cast<char>((accumulator >> bits) & 0xFF);
      accumulator &= (1u << bits) - 1;
    }
  }
  return out;
}

std::string modelToBase64(const std::string& bytes, bool url) {
  const std::string alphabet = alphabetOf(url);
  std::string out;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    unsigned group = static_cast<unsigned char>(bytes[i]) << 16;
    if (i + 1 < bytes.size())
      group |= static_cast<unsigned char>(bytes[i + 1]) << 8;
    if (i + 2 < bytes.size()) group |= static_cast<unsigned char>(bytes[i + 2]);
    out += alphabet[group >> 18];
    out += alphabet[(group >> 12) & 63];
    out += i + 1 < bytes.size() ? alphabet[(group >> 6) & 63] : '=';
    out += i + 2 < bytes.size() ? alphabet[group & 63] : '=';
  }
  return out;
}

std::string hexOf(char c) {
  static const char kDigits[] = "0123456789ABCDEF";
  return {kDigits[static_cast<unsigned char>(c) >> 4],
          kDigits[static_cast<unsigned char>(c) & 15]};
}

std::string modelToHex(const std::string& bytes) {
  std::string out;
  for (char c : bytes) out += hexOf(c);
  return out;
}

std::string modelPercent(const std::string& bytes) {
  const std::string kept =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-./_~";
  std::string out;
  for (char c : bytes)
    out += c != '\0' && kept.find(c) != std::string::npos ? std::string(1, c)
                                                          : "%" + hexOf(c);
  return out;
}

// Texts of each kind: random bytes, clean Base64 of both alphabets, Base64
// with blanks, padding and high bytes strewn in, hex digits of both cases,
// and URL-like text that is mostly kept by percent encoding.
std::string randomText(std::mt19937& rng, int kind, int length) {
  static const std::string kBase64 =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/-_";
  static const std::string kNoise = " \n=\x80\xFF!";
  static const std::string kHex = "0123456789abcdefABCDEF";
  static const std::string kUrl = "abcXYZ019-._~/ %?";
  std::string text;
  for (int i = 0; i < length; ++i) {
    const unsigned r = rng();
    switch (kind) {
      case 0:
        text += static_cast<char>(r);
        break;
      case 1:
        text += kBase64[r % 64];
        break;
      case 2:
        text +=
            r % 16 == 0 ? kNoise[r / 16 % kNoise.size()] : kBase64[r / 16 % 66];
        break;
      case 3:
        text += kHex[r % kHex.size()];
        break;
      default:
        text += r % 32 == 0 ? static_cast<char>(r >> 8) : kUrl[r % 13];
        break;
    }
  }
  return text;
}

template <typename Check>
void forEveryInput(Check check) {
  std::mt19937 rng(20261124);
  for (int kind = 0; kind < 5; ++kind) {
    for (int length = 0; length <= kMaxLength; ++length) {
      const std::string text = randomText(rng, kind, length);
      for (int align = 0; align < kAlignments; ++align) {
        // The source sits at `align` in a buffer that ends with it, so a
        // read past its end shows under AddressSanitizer.
        std::vector<char> memory(align + text.size() + 1);
        std::memcpy(memory.data() + align, text.data(), text.size());
        check(text,
              reinterpret_cast<const unsigned char*>(memory.data() + align));
      }
    }
  }
}

TEST(TextFormsKernels, HexDecodersMatchTheModel) {
  forEveryInput([](const std::string& text, const unsigned char* at) {
    const std::string expected = modelFromHex(text);
    const int pairs = static_cast<int>(text.size() / 2);
    std::string plain(pairs, '\0');
    decodeHexPlain(at, pairs, reinterpret_cast<unsigned char*>(&plain[0]));
    ASSERT_EQ(plain, expected);
#if defined(__SSE2__)
    std::string vector(pairs, '\0');
    decodeHexSse2(at, pairs, reinterpret_cast<unsigned char*>(&vector[0]));
    ASSERT_EQ(vector, expected);
#endif
  });
}

TEST(TextFormsKernels, Base64DecodersMatchTheModel) {
  forEveryInput([](const std::string& text, const unsigned char* at) {
    const int n = static_cast<int>(text.size());
    for (bool url : {false, true}) {
      const std::string expected = modelFromBase64(text, url);
      std::vector<unsigned char> out(base64DecodedBound(n) + 1);
      const int stored = decodeBase64Fast(at, n, url, out.data());
      ASSERT_EQ(std::string(out.begin(), out.begin() + stored), expected);
      signed char values[256];
      std::memset(values, -1, sizeof values);
      const std::string alphabet = alphabetOf(url);
      for (int v = 0; v < 64; ++v)
        values[static_cast<unsigned char>(alphabet[v])] =
            static_cast<signed char>(v);
      const int plainStored = decodeBase64Plain(at, n, values, out.data());
      ASSERT_EQ(std::string(out.begin(), out.begin() + plainStored), expected);
    }
  });
}

// Every kernel this processor runs, the plain "none" included: whole groups
// only, clean characters only, and nothing written behind what it keeps.
TEST(TextFormsKernels, Base64BlocksAtEveryLevel) {
  std::vector<Base64Simd> levels = {Base64Simd::none};
#if defined(__x86_64__)
  if (__builtin_cpu_supports("ssse3")) levels.push_back(Base64Simd::ssse3);
  if (__builtin_cpu_supports("avx2")) levels.push_back(Base64Simd::avx2);
#endif
  for (const Base64Simd level : levels) {
    SCOPED_TRACE(static_cast<int>(level));
    forEveryInput([level](const std::string& text, const unsigned char* at) {
      for (bool url : {false, true}) {
        const std::size_t n = text.size();
        std::string chars(n / 3 * 4 + 4, '#');
        const std::size_t encoded =
            encodeBase64Blocks(level, at, n, &chars[0], url);
        ASSERT_EQ(encoded % 3, 0u);
        ASSERT_LE(encoded, n);
        ASSERT_EQ(chars.substr(0, encoded / 3 * 4),
                  modelToBase64(text.substr(0, encoded), url));
        ASSERT_EQ(chars.find_first_not_of('#', encoded / 3 * 4),
                  std::string::npos);
        std::string bytes(n, '#');
        const std::size_t decoded = decodeBase64Blocks(
            level, at, n, reinterpret_cast<unsigned char*>(&bytes[0]),
            n / 4 * 3, url);
        ASSERT_EQ(decoded % 4, 0u);
        const std::string clean = text.substr(0, decoded);
        ASSERT_EQ(clean.find_first_not_of(alphabetOf(url)), std::string::npos);
        ASSERT_EQ(bytes.substr(0, decoded / 4 * 3),
                  modelFromBase64(clean, url));
        ASSERT_EQ(bytes.find_first_not_of('#', decoded / 4 * 3),
                  std::string::npos);
        // Short of room, a kernel stops within it.
        std::string tight(n, '#');
        const std::size_t tightDecoded = decodeBase64Blocks(
            level, at, n, reinterpret_cast<unsigned char*>(&tight[0]), 12, url);
        ASSERT_LE(tightDecoded / 4 * 3, 12u);
        ASSERT_EQ(tight.substr(0, tightDecoded / 4 * 3),
                  bytes.substr(0, tightDecoded / 4 * 3));
        // A kernel that runs takes the clean text as far as its blocks go.
        const bool allClean =
            text.find_first_not_of(alphabetOf(url)) == std::string::npos;
        if (level != Base64Simd::none && allClean && n >= 48) {
          ASSERT_GE(decoded + 32, n);
        }
      }
    });
  }
  ASSERT_TRUE(levels.size() == 1 || bestBase64Simd() == levels.back());
}

// The public forms, over raw arrays with no terminator behind them.
TEST(TextFormsKernels, PublicFormsMatchTheModels) {
  forEveryInput([](const std::string& text, const unsigned char* at) {
    const int n = static_cast<int>(text.size());
    const TQByteArray source =
        TQByteArray::fromRawData(reinterpret_cast<const char*>(at), n);
    ASSERT_EQ(bytesOf(source.toBase64(0)), modelToBase64(text, false));
    ASSERT_EQ(bytesOf(source.toBase64(1)), modelToBase64(text, true));
    ASSERT_EQ(bytesOf(TQByteArray::fromBase64(source)),
              modelFromBase64(text, false));
    ASSERT_EQ(bytesOf(TQByteArray::fromBase64(source, 1)),
              modelFromBase64(text, true));
    ASSERT_EQ(bytesOf(source.toHex()), modelToHex(text));
    ASSERT_EQ(bytesOf(TQByteArray::fromHex(source)), modelFromHex(text));
    const TQByteArray percent = source.toPercentEncoding();
    ASSERT_EQ(bytesOf(percent), modelPercent(text));
    // Nothing escaped: the result shares the source's record (or both are
    // the empty array).
    ASSERT_EQ(percent.constData() == source.constData(),
              modelPercent(text) == text);
  });
}

}  // namespace
