// GBK and UTF-8 conversion beside ICU (ucnv) and raw glibc iconv on the same
// text. Each row converts 1 MiB (counted in the narrow form: UTF-8 bytes for
// the UTF-8 rows, GBK bytes for the GBK rows), cycling through 4 distinct
// megabytes so that no short input is learnt by the branch predictor. Rows of
// one conversion sit together; compare their bytes_per_second.

#include <iconv.h>
#include <unicode/ucnv.h>

#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "TQBase/Encoding.h"

namespace {

constexpr std::size_t kChunkBytes = 1 << 20;
constexpr int kChunks = 4;

enum class Text { ascii, chinese };
enum class Narrow { utf8, gbk };

struct Chunk {
  std::wstring wide;
  std::u16string utf16;  // ICU's form of the same units
  std::string narrow;
};

// Words of printable ASCII, or mostly CJK ideographs (all of which GBK has)
// with some ASCII punctuation and digits, until the narrow form has 1 MiB.
std::vector<Chunk> makeChunks(Text text, Narrow narrow) {
  std::vector<Chunk> chunks(kChunks);
  for (int index = 0; index < kChunks; ++index) {
    std::mt19937 rng(1000 * static_cast<unsigned>(text) +
                     100 * static_cast<unsigned>(narrow) +
                     static_cast<unsigned>(index));
    Chunk& chunk = chunks[static_cast<std::size_t>(index)];
    std::size_t bytes = 0;
    while (bytes < kChunkBytes) {
      wchar_t unit;
      if (text == Text::ascii || rng() % 10 == 0)
        unit = static_cast<wchar_t>(rng() % 6 == 0 ? ' ' : 0x21 + rng() % 94);
      else
        unit = static_cast<wchar_t>(0x4E00 + rng() % (0x9FA5 - 0x4E00 + 1));
      chunk.wide += unit;
      bytes += unit < 0x80 ? 1 : (narrow == Narrow::utf8 ? 3 : 2);
    }
    chunk.utf16.assign(chunk.wide.begin(), chunk.wide.end());
    chunk.narrow = narrow == Narrow::utf8 ? TQBase::UnicodeToUTF8(chunk.wide)
                                          : TQBase::UnicodeToGBK(chunk.wide);
    if (chunk.narrow.empty()) std::abort();
  }
  return chunks;
}

const std::vector<Chunk>& chunksFor(Text text, Narrow narrow) {
  static const std::vector<Chunk> all[2][2] = {
      {makeChunks(Text::ascii, Narrow::utf8),
       makeChunks(Text::ascii, Narrow::gbk)},
      {makeChunks(Text::chinese, Narrow::utf8),
       makeChunks(Text::chinese, Narrow::gbk)}};
  return all[static_cast<int>(text)][static_cast<int>(narrow)];
}

const char* icuName(Narrow narrow) {
  return narrow == Narrow::utf8 ? "UTF-8" : "windows-936-2000";
}
const char* iconvName(Narrow narrow) {
  return narrow == Narrow::utf8 ? "UTF-8" : "CP936";
}

// Runs `convert` over the chunks in turn; bytes are those of the narrow form.
template <typename Convert>
void runOverChunks(benchmark::State& state, Text text, Narrow narrow,
                   Convert convert) {
  const std::vector<Chunk>& chunks = chunksFor(text, narrow);
  std::size_t next = 0, bytes = 0;
  for (auto _ : state) {
    const Chunk& chunk = chunks[next];
    next = (next + 1) % chunks.size();
    bytes += chunk.narrow.size();
    convert(chunk);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}

// TQBase

void BM_ToWide_TQBase(benchmark::State& state, Text text, Narrow narrow) {
  runOverChunks(state, text, narrow, [narrow](const Chunk& chunk) {
    std::wstring wide = narrow == Narrow::utf8
                            ? TQBase::UTF8ToUnicode(chunk.narrow)
                            : TQBase::GBKToUnicode(chunk.narrow);
    if (wide.size() != chunk.wide.size()) std::abort();
    benchmark::DoNotOptimize(wide.data());
  });
}

void BM_FromWide_TQBase(benchmark::State& state, Text text, Narrow narrow) {
  runOverChunks(state, text, narrow, [narrow](const Chunk& chunk) {
    std::string bytes = narrow == Narrow::utf8
                            ? TQBase::UnicodeToUTF8(chunk.wide)
                            : TQBase::UnicodeToGBK(chunk.wide);
    if (bytes.size() != chunk.narrow.size()) std::abort();
    benchmark::DoNotOptimize(bytes.data());
  });
}

// ICU: a converter per call, like the library's per-call conversion object.

void BM_ToWide_ICU(benchmark::State& state, Text text, Narrow narrow) {
  runOverChunks(state, text, narrow, [narrow](const Chunk& chunk) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(icuName(narrow), &status);
    std::u16string units(chunk.narrow.size(), u'\0');
    const int32_t count =
        ucnv_toUChars(converter, units.data(),
                      static_cast<int32_t>(units.size()), chunk.narrow.data(),
                      static_cast<int32_t>(chunk.narrow.size()), &status);
    ucnv_close(converter);
    if (U_FAILURE(status) || count != static_cast<int32_t>(chunk.wide.size()))
      std::abort();
    units.resize(static_cast<std::size_t>(count));
    benchmark::DoNotOptimize(units.data());
  });
}

void BM_FromWide_ICU(benchmark::State& state, Text text, Narrow narrow) {
  runOverChunks(state, text, narrow, [narrow](const Chunk& chunk) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(icuName(narrow), &status);
    std::string bytes(chunk.utf16.size() * 3, '\0');
    const int32_t count = ucnv_fromUChars(
        converter, bytes.data(), static_cast<int32_t>(bytes.size()),
        chunk.utf16.data(), static_cast<int32_t>(chunk.utf16.size()), &status);
    ucnv_close(converter);
    if (U_FAILURE(status) || count != static_cast<int32_t>(chunk.narrow.size()))
      std::abort();
    bytes.resize(static_cast<std::size_t>(count));
    benchmark::DoNotOptimize(bytes.data());
  });
}

// Raw iconv between the narrow form and glibc's wchar_t, opened per call.

void BM_ToWide_iconv(benchmark::State& state, Text text, Narrow narrow) {
  runOverChunks(state, text, narrow, [narrow](const Chunk& chunk) {
    iconv_t converter = iconv_open("WCHAR_T", iconvName(narrow));
    std::wstring wide(chunk.narrow.size(), L'\0');
    char* in = const_cast<char*>(chunk.narrow.data());
    std::size_t inLeft = chunk.narrow.size();
    char* out = reinterpret_cast<char*>(wide.data());
    std::size_t outLeft = wide.size() * sizeof(wchar_t);
    const std::size_t result = iconv(converter, &in, &inLeft, &out, &outLeft);
    iconv_close(converter);
    if (result == static_cast<std::size_t>(-1)) std::abort();
    wide.resize(wide.size() - outLeft / sizeof(wchar_t));
    benchmark::DoNotOptimize(wide.data());
  });
}

void BM_FromWide_iconv(benchmark::State& state, Text text, Narrow narrow) {
  runOverChunks(state, text, narrow, [narrow](const Chunk& chunk) {
    iconv_t converter = iconv_open(iconvName(narrow), "WCHAR_T");
    std::string bytes(chunk.wide.size() * 3, '\0');
    char* in = reinterpret_cast<char*>(const_cast<wchar_t*>(chunk.wide.data()));
    std::size_t inLeft = chunk.wide.size() * sizeof(wchar_t);
    char* out = bytes.data();
    std::size_t outLeft = bytes.size();
    const std::size_t result = iconv(converter, &in, &inLeft, &out, &outLeft);
    iconv_close(converter);
    if (result == static_cast<std::size_t>(-1)) std::abort();
    bytes.resize(bytes.size() - outLeft);
    benchmark::DoNotOptimize(bytes.data());
  });
}

#define TQBASE_ENCODING_ROWS(direction, name, narrow)                         \
  BENCHMARK_CAPTURE(BM_##direction##_TQBase, name##_ascii, Text::ascii,       \
                    narrow);                                                  \
  BENCHMARK_CAPTURE(BM_##direction##_ICU, name##_ascii, Text::ascii, narrow); \
  BENCHMARK_CAPTURE(BM_##direction##_iconv, name##_ascii, Text::ascii,        \
                    narrow);                                                  \
  BENCHMARK_CAPTURE(BM_##direction##_TQBase, name##_chinese, Text::chinese,   \
                    narrow);                                                  \
  BENCHMARK_CAPTURE(BM_##direction##_ICU, name##_chinese, Text::chinese,      \
                    narrow);                                                  \
  BENCHMARK_CAPTURE(BM_##direction##_iconv, name##_chinese, Text::chinese,    \
                    narrow)

TQBASE_ENCODING_ROWS(ToWide, UTF8ToUnicode, Narrow::utf8);
TQBASE_ENCODING_ROWS(FromWide, UnicodeToUTF8, Narrow::utf8);
TQBASE_ENCODING_ROWS(ToWide, GBKToUnicode, Narrow::gbk);
TQBASE_ENCODING_ROWS(FromWide, UnicodeToGBK, Narrow::gbk);

}  // namespace
