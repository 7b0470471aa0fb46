// TQMD5 and TQBase64 beside OpenSSL's EVP MD5 and EVP_EncodeBlock /
// EVP_DecodeBlock on the same inputs. Each iteration takes the next slice
// of a large random pool so that neither caches nor branch predictors see
// one small input repeated. Compare bytes_per_second of the pairs.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "PoolCursor.h"
#include "TQBase/TQBase64.h"
#include "TQBase/TQMD5.h"

namespace {

constexpr std::size_t kPoolSize = 4u << 20;  // room for many 1 MiB slices

// Not const: TQMD5 takes its input through a non-const pointer.
std::vector<unsigned char>& bytePool() {
  static std::vector<unsigned char> pool = [] {
    std::vector<unsigned char> bytes(kPoolSize);
    std::mt19937 rng(42);
    for (auto& b : bytes) b = static_cast<unsigned char>(rng());
    return bytes;
  }();
  return pool;
}

// The byte pool as Base64 text; a slice starting at a multiple of 4 is
// valid input for both decoders.
const std::string& textPool() {
  static const std::string text = [] {
    std::string out;
    TQBase::TQBase64::encode(bytePool().data(), static_cast<int>(kPoolSize),
                             out);
    return out;
  }();
  return text;
}

void BM_Md5_TQMD5(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  auto& pool = bytePool();
  PoolCursor cursor(pool.size(), n, 1);
  unsigned char digest[16];
  for (auto _ : state) {
    TQBase::TQMD5 md5(pool.data() + cursor.next(), static_cast<unsigned>(n));
    md5.get_digest(digest);
    benchmark::DoNotOptimize(digest);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * n));
}

void BM_Md5_OpenSSL(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(0));
  const auto& pool = bytePool();
  PoolCursor cursor(pool.size(), n, 1);
  EVP_MD_CTX* ctx = EVP_MD_CTX_new();
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int digestLen = 0;
  for (auto _ : state) {
    EVP_DigestInit_ex(ctx, EVP_md5(), nullptr);
    EVP_DigestUpdate(ctx, pool.data() + cursor.next(), n);
    EVP_DigestFinal_ex(ctx, digest, &digestLen);
    benchmark::DoNotOptimize(digest);
  }
  EVP_MD_CTX_free(ctx);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * n));
}

void BM_Base64Encode_TQBase64(benchmark::State& state) {
  const auto n = static_cast<int>(state.range(0));
  const auto& pool = bytePool();
  PoolCursor cursor(pool.size(), n, 1);
  std::vector<char> out(TQBase::TQBase64::getEncodeDstLen(n) + 1);
  for (auto _ : state) {
    int written = TQBase::TQBase64::encode(pool.data() + cursor.next(), n,
                                           out.data(), int(out.size()));
    benchmark::DoNotOptimize(written);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * n));
}

void BM_Base64Encode_OpenSSL(benchmark::State& state) {
  const auto n = static_cast<int>(state.range(0));
  const auto& pool = bytePool();
  PoolCursor cursor(pool.size(), n, 1);
  // EVP_EncodeBlock writes a terminating NUL as well.
  std::vector<unsigned char> out(TQBase::TQBase64::getEncodeDstLen(n) + 1);
  for (auto _ : state) {
    int written = EVP_EncodeBlock(out.data(), pool.data() + cursor.next(), n);
    benchmark::DoNotOptimize(written);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * n));
}

// Decode sizes are given in decoded bytes; the input is the matching text.
void BM_Base64Decode_TQBase64(benchmark::State& state) {
  const auto n = static_cast<int>(state.range(0));
  const int textLen = TQBase::TQBase64::getEncodeDstLen(n);
  const auto& text = textPool();
  PoolCursor cursor(text.size(), textLen, 4);
  std::vector<unsigned char> out(TQBase::TQBase64::getdecodeDstLen(textLen));
  for (auto _ : state) {
    int written = TQBase::TQBase64::decode(text.data() + cursor.next(), textLen,
                                           out.data(), int(out.size()));
    benchmark::DoNotOptimize(written);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * textLen));
}

void BM_Base64Decode_OpenSSL(benchmark::State& state) {
  const auto n = static_cast<int>(state.range(0));
  const int textLen = TQBase::TQBase64::getEncodeDstLen(n);
  const auto& text = textPool();
  PoolCursor cursor(text.size(), textLen, 4);
  std::vector<unsigned char> out(TQBase::TQBase64::getdecodeDstLen(textLen));
  for (auto _ : state) {
    int written = EVP_DecodeBlock(
        out.data(),
        reinterpret_cast<const unsigned char*>(text.data() + cursor.next()),
        textLen);
    benchmark::DoNotOptimize(written);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * textLen));
}

#define TQBASE_CODEC_SIZES RangeMultiplier(8)->Range(8, 1 << 20)

BENCHMARK(BM_Md5_TQMD5)->TQBASE_CODEC_SIZES;
BENCHMARK(BM_Md5_OpenSSL)->TQBASE_CODEC_SIZES;
BENCHMARK(BM_Base64Encode_TQBase64)->TQBASE_CODEC_SIZES;
BENCHMARK(BM_Base64Encode_OpenSSL)->TQBASE_CODEC_SIZES;
BENCHMARK(BM_Base64Decode_TQBase64)->TQBASE_CODEC_SIZES;
BENCHMARK(BM_Base64Decode_OpenSSL)->TQBASE_CODEC_SIZES;

}  // namespace
