// Text forms, splitting, number parsing and small appends beside their
// peers: abseil's escaping functions, plain table-driven loops, a find loop
// into std::list, strtol and std::from_chars, std::string::append. Inputs
// cycle through pools of at least 4 MiB of distinct data; the items are
// 1 MiB unless the name says otherwise. Compare the pairs as ratios.
#include <benchmark/benchmark.h>

#include <absl/strings/escaping.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <list>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "PoolCursor.h"
#include "TQBase/StdString.h"
#include "TQBase/TQByteArray.h"

using TQBase::TQByteArray;

namespace {

constexpr std::size_t kPoolSize = 4u << 20;
constexpr std::size_t kItem = 1u << 20;

const std::string& randomBytes() {
  static const std::string pool = [] {
    std::string bytes(kPoolSize, '\0');
    std::mt19937 rng(7);
    for (char& c : bytes) c = static_cast<char>(rng());
    return bytes;
  }();
  return pool;
}

// Words, blanks and some punctuation: what query strings and paths hold.
const std::string& asciiText() {
  static const std::string pool = [] {
    static const char* const kWords[] = {"path",  "to",    "file",  "name",
                                         "value", "query", "index", "user",
                                         "a-b",   "x_y.z", "key",   "page"};
    static const char kJoins[] = "  /&=?,/";
    std::string text;
    std::mt19937 rng(8);
    while (text.size() < kPoolSize) {
      text += kWords[rng() % 12];
      text += kJoins[rng() % 8];
    }
    text.resize(kPoolSize);
    return text;
  }();
  return pool;
}

const std::string& hexText() {
  static const std::string pool = absl::BytesToHexString(randomBytes());
  return pool;
}

const std::string& base64Text() {
  static const std::string pool = absl::Base64Escape(randomBytes());
  return pool;
}

// The stride of the pool cursors, the one these ratios were first measured
// with.
constexpr std::size_t kStride = 40009;

TQByteArray rawItem(const std::string& pool, std::size_t at,
                    std::size_t length) {
  return TQByteArray::fromRawData(pool.data() + at, static_cast<int>(length));
}

void setBytes(benchmark::State& state, std::size_t perIteration) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(perIteration));
}

// ---- hex and Base64 ------------------------------------------------------

void BM_FromHex_TQByteArray(benchmark::State& state) {
  PoolCursor cursor(hexText().size(), kItem, 2, kStride);
  for (auto _ : state) {
    const TQByteArray out =
        TQByteArray::fromHex(rawItem(hexText(), cursor.next(), kItem));
    benchmark::DoNotOptimize(out.constData());
  }
  setBytes(state, kItem);
}

void BM_FromHex_Abseil(benchmark::State& state) {
  PoolCursor cursor(hexText().size(), kItem, 2, kStride);
  for (auto _ : state) {
    const std::string out = absl::HexStringToBytes(
        absl::string_view(hexText().data() + cursor.next(), kItem));
    benchmark::DoNotOptimize(out.data());
  }
  setBytes(state, kItem);
}

void BM_FromBase64_TQByteArray(benchmark::State& state) {
  PoolCursor cursor(base64Text().size(), kItem, 4, kStride);
  for (auto _ : state) {
    const TQByteArray out =
        TQByteArray::fromBase64(rawItem(base64Text(), cursor.next(), kItem));
    benchmark::DoNotOptimize(out.constData());
  }
  setBytes(state, kItem);
}

void BM_FromBase64_Abseil(benchmark::State& state) {
  PoolCursor cursor(base64Text().size(), kItem, 4, kStride);
  for (auto _ : state) {
    std::string out;
    absl::Base64Unescape(
        absl::string_view(base64Text().data() + cursor.next(), kItem), &out);
    benchmark::DoNotOptimize(out.data());
  }
  setBytes(state, kItem);
}

void BM_ToBase64_TQByteArray(benchmark::State& state) {
  PoolCursor cursor(kPoolSize, kItem, 1, kStride);
  for (auto _ : state) {
    const TQByteArray out =
        rawItem(randomBytes(), cursor.next(), kItem).toBase64();
    benchmark::DoNotOptimize(out.constData());
  }
  setBytes(state, kItem);
}

void BM_ToBase64_Abseil(benchmark::State& state) {
  PoolCursor cursor(kPoolSize, kItem, 1, kStride);
  for (auto _ : state) {
    const std::string out = absl::Base64Escape(
        absl::string_view(randomBytes().data() + cursor.next(), kItem));
    benchmark::DoNotOptimize(out.data());
  }
  setBytes(state, kItem);
}

// ---- percent encoding ----------------------------------------------------

constexpr std::array<bool, 256> makeKept() {
  std::array<bool, 256> kept{};
  for (unsigned c = 0; c < 256; ++c)
    kept[c] = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
              (c >= 'a' && c <= 'z') || c == '-' || c == '.' || c == '/' ||
              c == '_' || c == '~';
  return kept;
}
constexpr auto kKept = makeKept();

std::string percentPlain(std::string_view in) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string out(in.size() * 3, '\0');
  std::size_t o = 0;
  for (const char ch : in) {
    const auto c = static_cast<unsigned char>(ch);
    if (kKept[c]) {
      out[o++] = ch;
    } else {
      out[o] = '%';
      out[o + 1] = kDigits[c >> 4];
      out[o + 2] = kDigits[c & 15];
      o += 3;
    }
  }
  out.resize(o);
  return out;
}

void percentTQ(benchmark::State& state, const std::string& pool) {
  PoolCursor cursor(pool.size(), kItem, 1, kStride);
  for (auto _ : state) {
    const TQByteArray out =
        rawItem(pool, cursor.next(), kItem).toPercentEncoding();
    benchmark::DoNotOptimize(out.constData());
  }
  setBytes(state, kItem);
}

void percentPeer(benchmark::State& state, const std::string& pool) {
  PoolCursor cursor(pool.size(), kItem, 1, kStride);
  for (auto _ : state) {
    const std::string out =
        percentPlain(std::string_view(pool).substr(cursor.next(), kItem));
    benchmark::DoNotOptimize(out.data());
  }
  setBytes(state, kItem);
}

void BM_PercentText_TQByteArray(benchmark::State& s) {
  percentTQ(s, asciiText());
}
void BM_PercentText_PlainLoop(benchmark::State& s) {
  percentPeer(s, asciiText());
}
void BM_PercentBytes_TQByteArray(benchmark::State& s) {
  percentTQ(s, randomBytes());
}
void BM_PercentBytes_PlainLoop(benchmark::State& s) {
  percentPeer(s, randomBytes());
}

// ---- splitting -----------------------------------------------------------

// Comma-separated fields of 1 to 24 bytes, some empty, in 1 MiB texts.
const std::vector<std::string>& fieldTexts() {
  static const std::vector<std::string> pool = [] {
    std::vector<std::string> texts;
    std::mt19937 rng(9);
    for (std::size_t n = 0; n < kPoolSize / kItem; ++n) {
      std::string text;
      while (text.size() < kItem) {
        text.append(rng() % 25, static_cast<char>('a' + rng() % 26));
        text += ',';
      }
      texts.push_back(std::move(text));
    }
    return texts;
  }();
  return pool;
}

void BM_SplitString_TQBase(benchmark::State& state) {
  std::list<std::string> out;
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(TQBase::stdstring::SplitString(
        out, fieldTexts()[i++ % fieldTexts().size()], ',', true));
  }
  setBytes(state, kItem);
}

void BM_SplitString_FindLoop(benchmark::State& state) {
  std::list<std::string> out;
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& text = fieldTexts()[i++ % fieldTexts().size()];
    out.clear();
    std::size_t pos = 0;
    for (;;) {
      const std::size_t hit = text.find(',', pos);
      if (hit == std::string::npos) {
        out.emplace_back(text, pos);
        break;
      }
      out.emplace_back(text, pos, hit - pos);
      pos = hit + 1;
    }
    benchmark::DoNotOptimize(out.size());
  }
  setBytes(state, kItem);
}

// ---- numbers -------------------------------------------------------------

// Decimal ints of every length, signs included: 4 MiB of text.
const std::vector<std::string>& numberTexts() {
  static const std::vector<std::string> pool = [] {
    std::vector<std::string> texts;
    std::mt19937 rng(10);
    std::size_t bytes = 0;
    while (bytes < kPoolSize) {
      const int digits = 1 + static_cast<int>(rng() % 9);
      std::string text = rng() % 4 == 0 ? "-" : "";
      for (int d = 0; d < digits; ++d)
        text += static_cast<char>('0' + rng() % 10);
      bytes += text.size() + sizeof(std::string);
      texts.push_back(std::move(text));
    }
    return texts;
  }();
  return pool;
}

void BM_Stoi_TQBase(benchmark::State& state) {
  const auto& texts = numberTexts();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        TQBase::stdstring::stoi(texts[i++ % texts.size()]));
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_Stoi_Strtol(benchmark::State& state) {
  const auto& texts = numberTexts();
  std::size_t i = 0;
  for (auto _ : state) {
    char* end = nullptr;
    benchmark::DoNotOptimize(
        std::strtol(texts[i++ % texts.size()].c_str(), &end, 10));
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_Stoi_FromChars(benchmark::State& state) {
  const auto& texts = numberTexts();
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& text = texts[i++ % texts.size()];
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    benchmark::DoNotOptimize(value);
  }
  state.SetItemsProcessed(state.iterations());
}

// ---- appends -------------------------------------------------------------

constexpr int kPiece = 16;

void BM_AppendReserved16_TQByteArray(benchmark::State& state) {
  PoolCursor cursor(kPoolSize, kPiece, 1, kStride);
  const char* pool = randomBytes().data();
  for (auto _ : state) {
    TQByteArray a;
    a.reserve(static_cast<int>(kItem));
    for (std::size_t n = 0; n < kItem; n += kPiece)
      a.append(pool + cursor.next(), kPiece);
    benchmark::DoNotOptimize(a.constData());
  }
  setBytes(state, kItem);
}

void BM_AppendReserved16_StdString(benchmark::State& state) {
  PoolCursor cursor(kPoolSize, kPiece, 1, kStride);
  const char* pool = randomBytes().data();
  for (auto _ : state) {
    std::string s;
    s.reserve(kItem);
    for (std::size_t n = 0; n < kItem; n += kPiece)
      s.append(pool + cursor.next(), kPiece);
    benchmark::DoNotOptimize(s.data());
  }
  setBytes(state, kItem);
}

}  // namespace

BENCHMARK(BM_FromHex_TQByteArray);
BENCHMARK(BM_FromHex_Abseil);
BENCHMARK(BM_FromBase64_TQByteArray);
BENCHMARK(BM_FromBase64_Abseil);
BENCHMARK(BM_ToBase64_TQByteArray);
BENCHMARK(BM_ToBase64_Abseil);
BENCHMARK(BM_PercentText_TQByteArray);
BENCHMARK(BM_PercentText_PlainLoop);
BENCHMARK(BM_PercentBytes_TQByteArray);
BENCHMARK(BM_PercentBytes_PlainLoop);
BENCHMARK(BM_SplitString_TQBase);
BENCHMARK(BM_SplitString_FindLoop);
BENCHMARK(BM_Stoi_TQBase);
BENCHMARK(BM_Stoi_Strtol);
BENCHMARK(BM_Stoi_FromChars);
BENCHMARK(BM_AppendReserved16_TQByteArray);
BENCHMARK(BM_AppendReserved16_StdString);
