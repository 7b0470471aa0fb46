// stdstring searches and JSON masking beside the obvious peers, on 1 MiB
// texts. Each benchmark cycles through a pool of four distinct texts (4 MiB)
// so that branch predictors cannot learn one input.
#include "TQBase/StdString.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <list>
#include <random>
#include <string>
#include <vector>

using TQBase::stdstring;

namespace {

constexpr std::size_t kTextSize = 1 << 20;
constexpr int kPoolSize = 4;

const char* const kWords[] = {
    "the",     "request", "server",  "connection", "timeout", "value",
    "of",      "client",  "session", "response",   "and",     "error",
    "to",      "config",  "retry",   "header",     "in",      "message",
    "content", "status",  "cache",   "is",         "record",  "table"};

std::string randomCase(std::string word, std::mt19937& rng) {
  for (char& c : word) {
    if (rng() % 4 == 0) {
      c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
  }
  return word;
}

struct SearchInput {
  std::string text;
  std::string needleMixed;  // to find ignoring case
  std::string needleExact;  // to find as is
};

// Prose of common words in mixed case; the needle sits 64 bytes before the
// end so a search reads nearly the whole text.
const std::vector<SearchInput>& searchPool() {
  static const std::vector<SearchInput> pool = [] {
    std::vector<SearchInput> inputs;
    for (int i = 0; i < kPoolSize; ++i) {
      std::mt19937 rng(1000 + i);
      SearchInput in;
      in.text.reserve(kTextSize + 64);
      while (in.text.size() < kTextSize - 64) {
        in.text += randomCase(kWords[rng() % std::size(kWords)], rng);
        in.text += rng() % 8 == 0 ? ". " : " ";
      }
      const std::string needle = "connection_status_" + std::to_string(i);
      in.needleExact = randomCase(needle, rng);
      in.needleMixed = randomCase(needle, rng);
      in.text += in.needleExact;
      in.text.resize(kTextSize, ' ');
      inputs.push_back(std::move(in));
    }
    return inputs;
  }();
  return pool;
}

// A log of JSON records; one in about 400 carries the two secret keys.
const std::vector<std::string>& jsonPool() {
  static const std::vector<std::string> pool = [] {
    std::vector<std::string> texts;
    for (int i = 0; i < kPoolSize; ++i) {
      std::mt19937 rng(2000 + i);
      std::string text;
      text.reserve(kTextSize + 256);
      while (text.size() < kTextSize) {
        text += R"({"user":"u)" + std::to_string(rng() % 100000) +
                R"(","id":)" + std::to_string(rng()) + R"(,"note":")" +
                randomCase(kWords[rng() % std::size(kWords)], rng) + " " +
                randomCase(kWords[rng() % std::size(kWords)], rng) + R"(")";
        if (rng() % 400 == 0) {
          text += R"(,"Password":"p)" + std::to_string(rng()) +
                  R"(","TOKEN":"t)" + std::to_string(rng()) + R"(")";
        }
        text += "}\n";
      }
      texts.push_back(std::move(text));
    }
    return texts;
  }();
  return pool;
}

std::string copyLower(const std::string& s) {
  std::string lowered(s);
  std::transform(lowered.begin(), lowered.end(), lowered.begin(),
                 [](char c) { return static_cast<char>(std::tolower(c)); });
  return lowered;
}

void BM_IndexOfIgnoreCase_TQBase(benchmark::State& state) {
  const auto& pool = searchPool();
  std::size_t i = 0;
  for (auto _ : state) {
    const SearchInput& in = pool[i++ % kPoolSize];
    benchmark::DoNotOptimize(
        stdstring::indexOf(in.text, in.needleMixed, 0, false));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_IndexOfIgnoreCase_PeerCopyLowerFind(benchmark::State& state) {
  const auto& pool = searchPool();
  std::size_t i = 0;
  for (auto _ : state) {
    const SearchInput& in = pool[i++ % kPoolSize];
    benchmark::DoNotOptimize(
        copyLower(in.text).find(copyLower(in.needleMixed)));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_IndexOf_TQBase(benchmark::State& state) {
  const auto& pool = searchPool();
  std::size_t i = 0;
  for (auto _ : state) {
    const SearchInput& in = pool[i++ % kPoolSize];
    benchmark::DoNotOptimize(
        stdstring::indexOf(in.text, in.needleExact, 0, true));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_IndexOf_PeerStdFind(benchmark::State& state) {
  const auto& pool = searchPool();
  std::size_t i = 0;
  for (auto _ : state) {
    const SearchInput& in = pool[i++ % kPoolSize];
    benchmark::DoNotOptimize(in.text.find(in.needleExact));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_IndexOf_PeerMemmem(benchmark::State& state) {
  const auto& pool = searchPool();
  std::size_t i = 0;
  for (auto _ : state) {
    const SearchInput& in = pool[i++ % kPoolSize];
    benchmark::DoNotOptimize(memmem(in.text.data(), in.text.size(),
                                    in.needleExact.data(),
                                    in.needleExact.size()));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

const std::list<std::string> kSecretKeys = {"password", "token"};

// The same byte scan done the plain way: each key search lowers a fresh copy
// of the whole text and of the key, then calls find.
std::string maskByCopyLower(const std::string& json,
                            const std::list<std::string>& keys, char mask) {
  std::string result(json);
  for (const std::string& key : keys) {
    std::size_t scan = 0;
    while (!result.empty()) {
      const std::size_t at = copyLower(result).find(copyLower(key), scan);
      if (at == std::string::npos) break;
      const std::size_t colon = result.find(':', at);
      if (colon == std::string::npos || colon + 1 >= result.size()) break;
      const std::size_t end = result.find_first_of(",]}", colon + 1);
      if (end == std::string::npos) break;
      std::fill(result.begin() + static_cast<std::ptrdiff_t>(colon + 1),
                result.begin() + static_cast<std::ptrdiff_t>(end), mask);
      scan = end + 1;
      if (scan >= result.size()) break;
    }
  }
  return result;
}

void BM_MaskJsonValue_TQBase(benchmark::State& state) {
  const auto& pool = jsonPool();
  if (stdstring::MaskJsonValue(pool[0], kSecretKeys, '*') !=
      maskByCopyLower(pool[0], kSecretKeys, '*')) {
    state.SkipWithError("results differ from the copy-and-lower scan");
    return;
  }
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& json = pool[i++ % kPoolSize];
    benchmark::DoNotOptimize(stdstring::MaskJsonValue(json, kSecretKeys, '*'));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_MaskJsonValue_PeerCopyLowerPerSearch(benchmark::State& state) {
  const auto& pool = jsonPool();
  std::size_t i = 0;
  for (auto _ : state) {
    const std::string& json = pool[i++ % kPoolSize];
    benchmark::DoNotOptimize(maskByCopyLower(json, kSecretKeys, '*'));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

BENCHMARK(BM_IndexOfIgnoreCase_TQBase);
BENCHMARK(BM_IndexOfIgnoreCase_PeerCopyLowerFind);
BENCHMARK(BM_IndexOf_TQBase);
BENCHMARK(BM_IndexOf_PeerStdFind);
BENCHMARK(BM_IndexOf_PeerMemmem);
BENCHMARK(BM_MaskJsonValue_TQBase);
BENCHMARK(BM_MaskJsonValue_PeerCopyLowerPerSearch);

}  // namespace
