// GBK and UTF-8 conversion and UTF-8 detection beside ICU and glibc iconv on
// the same text. Each call converts 1 MiB (counted in the narrow form: UTF-8
// bytes for the UTF-8 rows, GBK bytes for the GBK rows), cycling through 4
// distinct megabytes so that no short input is learnt by the branch
// predictor. After the runs, a table gives each row as a ratio: TQBase
// throughput / peer throughput.
//
// Texts: "ascii" is printable ASCII words; "chinese" is GB2312 ideographs
// with 5 % ASCII; "mixed" is 70 % ASCII, 20 % two-byte and 10 % three-byte
// characters.

#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "TQBase/Encoding.h"

namespace {

constexpr std::size_t kChunkBytes = 1 << 20;
constexpr int kChunks = 4;

enum class Text { ascii, chinese, mixed };
enum class Narrow { utf8, gbk };

struct Chunk {
  std::wstring wide;
  std::u16string utf16;  // ICU's form of the same units
  std::string narrow;
};

wchar_t randomUnit(Text text, std::mt19937& rng) {
  const unsigned pick = rng() % 100;
  auto ascii = [&] {
    return static_cast<wchar_t>(rng() % 6 == 0 ? ' ' : 0x21 + rng() % 94);
  };
  switch (text) {
    case Text::ascii:
      return ascii();
    case Text::chinese:
      if (pick < 5) return ascii();
      // GB2312 level 1 and 2 ideographs: rows 0xB0-0xF7, cells 0xA1-0xFE.
      {
        const char gb[2] = {static_cast<char>(0xB0 + rng() % 0x48),
                            static_cast<char>(0xA1 + rng() % 0x5E)};
        // Row 0xD7 ends at 0xF9; its last cells are private use.
        const std::wstring one = TQBase::GBKToUnicode(std::string(gb, 2));
        return one.empty() || one[0] >= 0xE000 ? L'\x4E00' : one[0];
      }
    case Text::mixed:
      if (pick < 70) return ascii();
      if (pick < 90) return static_cast<wchar_t>(0x80 + rng() % 0x780);
      return static_cast<wchar_t>(0x4E00 + rng() % 0x5000);
  }
  return L' ';
}

std::vector<Chunk> makeChunks(Text text, Narrow narrow) {
  std::vector<Chunk> chunks(kChunks);
  for (int index = 0; index < kChunks; ++index) {
    std::mt19937 rng(1000 * static_cast<unsigned>(text) +
                     100 * static_cast<unsigned>(narrow) +
                     static_cast<unsigned>(index));
    Chunk& chunk = chunks[static_cast<std::size_t>(index)];
    std::size_t bytes = 0;
    while (bytes < kChunkBytes) {
      const wchar_t unit = randomUnit(text, rng);
      chunk.wide += unit;
      bytes += unit < 0x80             ? 1
               : narrow == Narrow::gbk ? 2
               : unit < 0x800          ? 2
                                       : 3;
    }
    chunk.utf16.assign(chunk.wide.begin(), chunk.wide.end());
    chunk.narrow = narrow == Narrow::utf8 ? TQBase::UnicodeToUTF8(chunk.wide)
                                          : TQBase::UnicodeToGBK(chunk.wide);
    if (chunk.narrow.empty()) std::abort();
  }
  return chunks;
}

const std::vector<Chunk>& chunksFor(Text text, Narrow narrow) {
  static std::map<std::pair<Text, Narrow>, std::vector<Chunk>> all;
  auto found = all.find({text, narrow});
  if (found == all.end())
    found = all.emplace(std::make_pair(text, narrow), makeChunks(text, narrow))
                .first;
  return found->second;
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

void check(bool good) {
  if (!good) std::abort();
}

// The rows: each call beside its peer.

void toUtf8TQBase(const Chunk& chunk) {
  std::string bytes = TQBase::UnicodeToUTF8(chunk.wide);
  check(bytes.size() == chunk.narrow.size());
  benchmark::DoNotOptimize(bytes.data());
}

void toUtf8Icu(const Chunk& chunk) {
  std::string bytes(chunk.narrow.size(), '\0');
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = 0;
  u_strToUTF8(bytes.data(), static_cast<int32_t>(bytes.size()), &length,
              chunk.utf16.data(), static_cast<int32_t>(chunk.utf16.size()),
              &status);
  check(U_SUCCESS(status) && length == static_cast<int32_t>(bytes.size()));
  benchmark::DoNotOptimize(bytes.data());
}

void fromUtf8TQBase(const Chunk& chunk) {
  std::wstring wide = TQBase::UTF8ToUnicode(chunk.narrow);
  check(wide.size() == chunk.wide.size());
  benchmark::DoNotOptimize(wide.data());
}

void fromUtf8Icu(const Chunk& chunk) {
  std::u16string units(chunk.narrow.size(), u'\0');
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = 0;
  u_strFromUTF8(units.data(), static_cast<int32_t>(units.size()), &length,
                chunk.narrow.data(), static_cast<int32_t>(chunk.narrow.size()),
                &status);
  check(U_SUCCESS(status) && length == static_cast<int32_t>(chunk.wide.size()));
  units.resize(static_cast<std::size_t>(length));
  benchmark::DoNotOptimize(units.data());
}

void toGbkTQBase(const Chunk& chunk) {
  std::string bytes = TQBase::UnicodeToGBK(chunk.wide);
  check(bytes.size() == chunk.narrow.size());
  benchmark::DoNotOptimize(bytes.data());
}

// A converter per call, like the library's per-call conversion.
void toGbkIcu(const Chunk& chunk) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open("windows-936-2000", &status);
  std::string bytes(chunk.utf16.size() * 2, '\0');
  const int32_t count = ucnv_fromUChars(
      converter, bytes.data(), static_cast<int32_t>(bytes.size()),
      chunk.utf16.data(), static_cast<int32_t>(chunk.utf16.size()), &status);
  ucnv_close(converter);
  check(U_SUCCESS(status) &&
        count == static_cast<int32_t>(chunk.narrow.size()));
  bytes.resize(static_cast<std::size_t>(count));
  benchmark::DoNotOptimize(bytes.data());
}

void fromGbkTQBase(const Chunk& chunk) {
  std::wstring wide = TQBase::GBKToUnicode(chunk.narrow);
  check(wide.size() == chunk.wide.size());
  benchmark::DoNotOptimize(wide.data());
}

void fromGbkIconv(const Chunk& chunk) {
  iconv_t converter = iconv_open("WCHAR_T", "CP936");
  std::wstring wide(chunk.narrow.size(), L'\0');
  char* in = const_cast<char*>(chunk.narrow.data());
  std::size_t inLeft = chunk.narrow.size();
  char* out = reinterpret_cast<char*>(wide.data());
  std::size_t outLeft = wide.size() * sizeof(wchar_t);
  const std::size_t result = iconv(converter, &in, &inLeft, &out, &outLeft);
  iconv_close(converter);
  check(result != static_cast<std::size_t>(-1));
  wide.resize(wide.size() - outLeft / sizeof(wchar_t));
  check(wide.size() == chunk.wide.size());
  benchmark::DoNotOptimize(wide.data());
}

void detectTQBase(const Chunk& chunk) {
  check(TQBase::IsUTF8File(chunk.narrow.data(),
                           static_cast<int>(chunk.narrow.size())));
}

// ICU's preflight: no destination, only the check and the count.
void detectIcu(const Chunk& chunk) {
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = 0;
  u_strFromUTF8(nullptr, 0, &length, chunk.narrow.data(),
                static_cast<int32_t>(chunk.narrow.size()), &status);
  check(status == U_BUFFER_OVERFLOW_ERROR);
  benchmark::DoNotOptimize(length);
}

struct Row {
  const char* call;
  Narrow narrow;
  std::vector<Text> texts;
  void (*ours)(const Chunk&);
  const char* peerName;
  void (*peer)(const Chunk&);
};

const char* textName(Text text) {
  return text == Text::ascii     ? "ascii"
         : text == Text::chinese ? "chinese"
                                 : "mixed";
}

// Console output as usual, plus the throughput of every run by name.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      const auto found = run.counters.find("bytes_per_second");
      if (found != run.counters.end())
        throughput[run.benchmark_name()] = found->second.value;
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> throughput;
};

}  // namespace

int main(int argc, char** argv) {
  const std::vector<Row> rows = {
      {"UnicodeToUTF8",
       Narrow::utf8,
       {Text::chinese, Text::ascii, Text::mixed},
       toUtf8TQBase,
       "ICU",
       toUtf8Icu},
      {"UTF8ToUnicode",
       Narrow::utf8,
       {Text::chinese, Text::ascii, Text::mixed},
       fromUtf8TQBase,
       "ICU",
       fromUtf8Icu},
      {"UnicodeToGBK",
       Narrow::gbk,
       {Text::chinese},
       toGbkTQBase,
       "ICU",
       toGbkIcu},
      {"GBKToUnicode",
       Narrow::gbk,
       {Text::chinese},
       fromGbkTQBase,
       "iconv",
       fromGbkIconv},
      {"IsUTF8File",
       Narrow::utf8,
       {Text::chinese, Text::ascii},
       detectTQBase,
       "ICU",
       detectIcu},
  };
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const Row& row : rows) {
    for (const Text text : row.texts) {
      const std::string base = std::string(row.call) + "/" + textName(text);
      const std::string ours = base + "/TQBase";
      const std::string peer = base + "/" + row.peerName;
      const Narrow narrow = row.narrow;
      benchmark::RegisterBenchmark(
          ours.c_str(), [text, narrow, f = row.ours](benchmark::State& state) {
            runOverChunks(state, text, narrow, f);
          });
      benchmark::RegisterBenchmark(
          peer.c_str(), [text, narrow, f = row.peer](benchmark::State& state) {
            runOverChunks(state, text, narrow, f);
          });
      pairs.emplace_back(ours, peer);
    }
  }
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\nRatio (TQBase throughput / peer throughput):\n");
  for (const auto& [ours, peer] : pairs) {
    const auto a = reporter.throughput.find(ours);
    const auto b = reporter.throughput.find(peer);
    if (a == reporter.throughput.end() || b == reporter.throughput.end())
      continue;
    std::printf("  %-36s %6.2f\n", ours.c_str(), a->second / b->second);
  }
  benchmark::Shutdown();
  return 0;
}
