// TQByteArray beside std::string (and memmem) on the same inputs. Every
// iteration takes its input at a new offset of a 1 MiB pool of random bytes,
// so neither side can learn one input's branches.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "PoolCursor.h"
#include "TQBase/TQByteArray.h"

using TQBase::TQByteArray;

namespace {

constexpr std::size_t kPoolSize = 1 << 20;

// Random bytes; `alphabet` > 0 limits them to that many letters, which gives
// the searches many partial matches.
const std::string& pool(int alphabet) {
  static std::string pools[2];
  std::string& p = pools[alphabet > 0 ? 1 : 0];
  if (p.empty()) {
    std::mt19937 rng(12345);
    p.resize(kPoolSize);
    for (char& c : p) {
      c = alphabet > 0 ? static_cast<char>('a' + rng() % alphabet)
                       : static_cast<char>(rng());
    }
  }
  return p;
}

constexpr int kPiece = 16;

void BM_Append_TQByteArray(benchmark::State& state) {
  const int total = static_cast<int>(state.range(0));
  const std::string& data = pool(0);
  PoolCursor cursor(kPoolSize, kPiece);
  for (auto _ : state) {
    TQByteArray a;
    for (int n = 0; n < total; n += kPiece)
      a.append(data.data() + cursor.next(), kPiece);
    benchmark::DoNotOptimize(a.constData());
  }
  state.SetBytesProcessed(state.iterations() * total);
}

// Above 8 KiB the capacity grows in 4 KiB steps, each a full copy, so long
// runs of small appends are quadratic unless the caller reserves first.
void BM_AppendReserved_TQByteArray(benchmark::State& state) {
  const int total = static_cast<int>(state.range(0));
  const std::string& data = pool(0);
  PoolCursor cursor(kPoolSize, kPiece);
  for (auto _ : state) {
    TQByteArray a;
    a.reserve(total);
    for (int n = 0; n < total; n += kPiece)
      a.append(data.data() + cursor.next(), kPiece);
    benchmark::DoNotOptimize(a.constData());
  }
  state.SetBytesProcessed(state.iterations() * total);
}

void BM_Append_StdString(benchmark::State& state) {
  const int total = static_cast<int>(state.range(0));
  const std::string& data = pool(0);
  PoolCursor cursor(kPoolSize, kPiece);
  for (auto _ : state) {
    std::string s;
    for (int n = 0; n < total; n += kPiece)
      s.append(data.data() + cursor.next(), kPiece);
    benchmark::DoNotOptimize(s.data());
  }
  state.SetBytesProcessed(state.iterations() * total);
}

// A set of distinct sources of the benchmark's size covering the pool.
template <typename T>
std::vector<T> sources(std::size_t length) {
  std::vector<T> out;
  const std::string& data = pool(0);
  const std::size_t count = std::max<std::size_t>(4, kPoolSize / length);
  for (std::size_t i = 0; i < count && (i + 1) * length <= kPoolSize; ++i)
    out.emplace_back(data.data() + i * length, static_cast<int>(length));
  return out;
}

void BM_CopyThenWrite_TQByteArray(benchmark::State& state) {
  const auto all =
      sources<TQByteArray>(static_cast<std::size_t>(state.range(0)));
  std::size_t i = 0;
  for (auto _ : state) {
    TQByteArray copy = all[i++ % all.size()];  // shares
    copy.getData()[0] = 'x';                   // detaches
    benchmark::DoNotOptimize(copy.constData());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_CopyThenWrite_StdString(benchmark::State& state) {
  const auto all =
      sources<std::string>(static_cast<std::size_t>(state.range(0)));
  std::size_t i = 0;
  for (auto _ : state) {
    std::string copy = all[i++ % all.size()];
    copy[0] = 'x';
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_CopyThenRead_TQByteArray(benchmark::State& state) {
  const auto all =
      sources<TQByteArray>(static_cast<std::size_t>(state.range(0)));
  std::size_t i = 0;
  for (auto _ : state) {
    TQByteArray copy = all[i++ % all.size()];
    benchmark::DoNotOptimize(copy.constData()[0]);
  }
}

void BM_CopyThenRead_StdString(benchmark::State& state) {
  const auto all =
      sources<std::string>(static_cast<std::size_t>(state.range(0)));
  std::size_t i = 0;
  for (auto _ : state) {
    std::string copy = all[i++ % all.size()];
    benchmark::DoNotOptimize(copy.data()[0]);
  }
}

// An 8-letter pattern over 4 letters: frequent partial matches, rare hits.
constexpr char kPattern[] = "abcdabdc";

void BM_IndexOf_TQByteArray(benchmark::State& state) {
  const std::size_t length = static_cast<std::size_t>(state.range(0));
  const std::string& data = pool(4);
  PoolCursor cursor(kPoolSize, length);
  for (auto _ : state) {
    const TQByteArray hay = TQByteArray::fromRawData(
        data.data() + cursor.next(), static_cast<int>(length));
    benchmark::DoNotOptimize(hay.indexOf(kPattern, 0, 8));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_IndexOf_StdStringFind(benchmark::State& state) {
  const std::size_t length = static_cast<std::size_t>(state.range(0));
  const std::string& data = pool(4);
  PoolCursor cursor(kPoolSize, length);
  const std::string pattern(kPattern, 8);
  for (auto _ : state) {
    const std::string_view hay(data.data() + cursor.next(), length);
    benchmark::DoNotOptimize(hay.find(pattern));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_IndexOf_Memmem(benchmark::State& state) {
  const std::size_t length = static_cast<std::size_t>(state.range(0));
  const std::string& data = pool(4);
  PoolCursor cursor(kPoolSize, length);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        memmem(data.data() + cursor.next(), length, kPattern, 8));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

// The std::string peers are the plain table loops a caller would write.
constexpr char kAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kHex[] = "0123456789ABCDEF";

std::string base64StdString(const char* src, std::size_t n) {
  std::string out(((n + 2) / 3) * 4, '=');
  const auto* in = reinterpret_cast<const unsigned char*>(src);
  std::size_t o = 0, i = 0;
  for (; i + 3 <= n; i += 3, o += 4) {
    const unsigned group = (in[i] << 16) | (in[i + 1] << 8) | in[i + 2];
    out[o] = kAlphabet[group >> 18];
    out[o + 1] = kAlphabet[(group >> 12) & 63];
    out[o + 2] = kAlphabet[(group >> 6) & 63];
    out[o + 3] = kAlphabet[group & 63];
  }
  if (i < n) {
    const unsigned group = (in[i] << 16) | (i + 1 < n ? in[i + 1] << 8 : 0);
    out[o] = kAlphabet[group >> 18];
    out[o + 1] = kAlphabet[(group >> 12) & 63];
    if (i + 1 < n) out[o + 2] = kAlphabet[(group >> 6) & 63];
  }
  return out;
}

std::string hexStdString(const char* src, std::size_t n) {
  std::string out(2 * n, '\0');
  for (std::size_t i = 0; i < n; ++i) {
    const auto c = static_cast<unsigned char>(src[i]);
    out[2 * i] = kHex[c >> 4];
    out[2 * i + 1] = kHex[c & 15];
  }
  return out;
}

void BM_ToBase64_TQByteArray(benchmark::State& state) {
  const std::size_t length = static_cast<std::size_t>(state.range(0));
  PoolCursor cursor(kPoolSize, length);
  for (auto _ : state) {
    const TQByteArray src = TQByteArray::fromRawData(
        pool(0).data() + cursor.next(), static_cast<int>(length));
    benchmark::DoNotOptimize(src.toBase64().constData());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_ToBase64_StdString(benchmark::State& state) {
  const std::size_t length = static_cast<std::size_t>(state.range(0));
  PoolCursor cursor(kPoolSize, length);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        base64StdString(pool(0).data() + cursor.next(), length).data());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_ToHex_TQByteArray(benchmark::State& state) {
  const std::size_t length = static_cast<std::size_t>(state.range(0));
  PoolCursor cursor(kPoolSize, length);
  for (auto _ : state) {
    const TQByteArray src = TQByteArray::fromRawData(
        pool(0).data() + cursor.next(), static_cast<int>(length));
    benchmark::DoNotOptimize(src.toHex().constData());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void BM_ToHex_StdString(benchmark::State& state) {
  const std::size_t length = static_cast<std::size_t>(state.range(0));
  PoolCursor cursor(kPoolSize, length);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        hexStdString(pool(0).data() + cursor.next(), length).data());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

}  // namespace

BENCHMARK(BM_Append_TQByteArray)->Range(64, 1 << 20);
BENCHMARK(BM_AppendReserved_TQByteArray)->Range(64, 1 << 20);
BENCHMARK(BM_Append_StdString)->Range(64, 1 << 20);
BENCHMARK(BM_CopyThenWrite_TQByteArray)->Range(8, 1 << 16);
BENCHMARK(BM_CopyThenWrite_StdString)->Range(8, 1 << 16);
BENCHMARK(BM_CopyThenRead_TQByteArray)->Range(8, 1 << 16);
BENCHMARK(BM_CopyThenRead_StdString)->Range(8, 1 << 16);
BENCHMARK(BM_IndexOf_TQByteArray)->Range(64, 1 << 18);
BENCHMARK(BM_IndexOf_StdStringFind)->Range(64, 1 << 18);
BENCHMARK(BM_IndexOf_Memmem)->Range(64, 1 << 18);
BENCHMARK(BM_ToBase64_TQByteArray)->Range(8, 1 << 18);
BENCHMARK(BM_ToBase64_StdString)->Range(8, 1 << 18);
BENCHMARK(BM_ToHex_TQByteArray)->Range(8, 1 << 18);
BENCHMARK(BM_ToHex_StdString)->Range(8, 1 << 18);
