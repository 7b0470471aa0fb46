// stdstring searches and JSON masking beside the obvious peers, on 1 MiB
// texts. Each benchmark cycles through a pool of four distinct texts (4 MiB)
// so that branch predictors cannot learn one input.
#include "TQBase/BufferFunctions.h"
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

// A needle that is absent, so the backward and wide searches read the whole
// text.
const std::string kAbsent = "Connection_Status_X";

void BM_LastIndexOf_TQBase(benchmark::State& state) {
  const auto& pool = searchPool();
  std::size_t i = 0;
  for (auto _ : state) {
    const SearchInput& in = pool[i++ % kPoolSize];
    benchmark::DoNotOptimize(
        stdstring::lastIndexOf(in.text, kAbsent, std::string::npos, true));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_LastIndexOf_PeerStdRfind(benchmark::State& state) {
  const auto& pool = searchPool();
  std::size_t i = 0;
  for (auto _ : state) {
    const SearchInput& in = pool[i++ % kPoolSize];
    benchmark::DoNotOptimize(in.text.rfind(kAbsent));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_LastIndexOfIgnoreCase_TQBase(benchmark::State& state) {
  const auto& pool = searchPool();
  std::size_t i = 0;
  for (auto _ : state) {
    const SearchInput& in = pool[i++ % kPoolSize];
    benchmark::DoNotOptimize(
        stdstring::lastIndexOf(in.text, kAbsent, std::string::npos, false));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_LastIndexOfIgnoreCase_PeerCopyLowerRfind(benchmark::State& state) {
  const auto& pool = searchPool();
  std::size_t i = 0;
  for (auto _ : state) {
    const SearchInput& in = pool[i++ % kPoolSize];
    benchmark::DoNotOptimize(copyLower(in.text).rfind(copyLower(kAbsent)));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_FindStr_TQBase(benchmark::State& state) {
  std::vector<std::string> texts;
  for (const SearchInput& in : searchPool()) texts.push_back(in.text);
  std::string needle = kAbsent;
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        TQBase::FindStr(&texts[i++ % kPoolSize][0], &needle[0], -1));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_FindStr_PeerStrstr(benchmark::State& state) {
  const auto& pool = searchPool();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        std::strstr(pool[i++ % kPoolSize].text.c_str(), kAbsent.c_str()));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

const std::vector<std::wstring>& widePool() {
  static const std::vector<std::wstring> pool = [] {
    std::vector<std::wstring> texts;
    for (const SearchInput& in : searchPool()) {
      texts.emplace_back(in.text.begin(), in.text.end());
    }
    return texts;
  }();
  return pool;
}

void BM_WideReplace_TQBase(benchmark::State& state) {
  std::vector<std::wstring> texts = widePool();
  const std::wstring absent(kAbsent.begin(), kAbsent.end());
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        stdstring::replace(texts[i++ % kPoolSize], absent, L"x"));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_WideReplace_PeerWstringFind(benchmark::State& state) {
  const auto& pool = widePool();
  const std::wstring absent(kAbsent.begin(), kAbsent.end());
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(pool[i++ % kPoolSize].find(absent));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

BENCHMARK(BM_LastIndexOf_TQBase);
BENCHMARK(BM_LastIndexOf_PeerStdRfind);
BENCHMARK(BM_LastIndexOfIgnoreCase_TQBase);
BENCHMARK(BM_LastIndexOfIgnoreCase_PeerCopyLowerRfind);
BENCHMARK(BM_FindStr_TQBase);
BENCHMARK(BM_FindStr_PeerStrstr);
BENCHMARK(BM_WideReplace_TQBase);
BENCHMARK(BM_WideReplace_PeerWstringFind);

// Adversarial input: 1 MiB of `a` and a needle of k bytes that are all `a`
// but one `b`, at the start, in the middle or at the end (range(1) = 0, 1,
// 2). Nothing matches, so each call reads the whole text; a search that
// re-reads the needle at every start is quadratic here. Each row is to be
// read against the memmem row of the same k and place.
struct AdversarialInput {
  std::vector<std::string> texts;  // kPoolSize distinct buffers of `a`
  std::string needle;
};

AdversarialInput adversarial(const benchmark::State& state) {
  AdversarialInput in;
  for (int i = 0; i < kPoolSize; ++i) {
    in.texts.emplace_back(kTextSize, 'a');
  }
  const auto k = static_cast<std::size_t>(state.range(0));
  in.needle.assign(k, 'a');
  const std::size_t places[] = {0, k / 2, k - 1};
  in.needle[places[state.range(1)]] = 'b';
  return in;
}

std::wstring widen(const std::string& s) {
  return std::wstring(s.begin(), s.end());
}

template <typename Call>
void runAdversarial(benchmark::State& state, Call call) {
  AdversarialInput in = adversarial(state);
  std::size_t i = 0;
  for (auto _ : state) {
    call(in.texts[i++ % kPoolSize], in.needle);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kTextSize));
}

void BM_Adversarial_PeerMemmem(benchmark::State& state) {
  runAdversarial(state, [](std::string& text, const std::string& needle) {
    benchmark::DoNotOptimize(
        memmem(text.data(), text.size(), needle.data(), needle.size()));
  });
}

void BM_Adversarial_IndexOf(benchmark::State& state) {
  runAdversarial(state, [](std::string& text, const std::string& needle) {
    benchmark::DoNotOptimize(stdstring::indexOf(text, needle, 0, true));
  });
}

void BM_Adversarial_IndexOfIgnoreCase(benchmark::State& state) {
  runAdversarial(state, [](std::string& text, const std::string& needle) {
    benchmark::DoNotOptimize(stdstring::indexOf(text, needle, 0, false));
  });
}

void BM_Adversarial_LastIndexOf(benchmark::State& state) {
  runAdversarial(state, [](std::string& text, const std::string& needle) {
    benchmark::DoNotOptimize(
        stdstring::lastIndexOf(text, needle, std::string::npos, true));
  });
}

void BM_Adversarial_LastIndexOfIgnoreCase(benchmark::State& state) {
  runAdversarial(state, [](std::string& text, const std::string& needle) {
    benchmark::DoNotOptimize(
        stdstring::lastIndexOf(text, needle, std::string::npos, false));
  });
}

void BM_Adversarial_Replace(benchmark::State& state) {
  runAdversarial(state, [](std::string& text, const std::string& needle) {
    benchmark::DoNotOptimize(stdstring::replace(text, needle, "x"));
  });
}

void BM_Adversarial_SplitStringRgx(benchmark::State& state) {
  std::list<std::string> out;
  runAdversarial(state, [&out](std::string& text, const std::string& needle) {
    benchmark::DoNotOptimize(
        stdstring::SplitStringRgx(out, text, needle, true));
  });
}

void BM_Adversarial_MaskJsonValue(benchmark::State& state) {
  runAdversarial(state, [](std::string& text, const std::string& needle) {
    benchmark::DoNotOptimize(stdstring::MaskJsonValue(text, {needle}, '*'));
  });
}

void BM_Adversarial_FindStr(benchmark::State& state) {
  runAdversarial(state, [](std::string& text, const std::string& needle) {
    benchmark::DoNotOptimize(
        TQBase::FindStr(&text[0], const_cast<char*>(needle.c_str()), -1));
  });
}

void BM_Adversarial_MatchSubString(benchmark::State& state) {
  runAdversarial(state, [](std::string& text, const std::string& needle) {
    int size = 0;
    benchmark::DoNotOptimize(TQBase::MatchSubString(
        text.c_str(), needle.c_str(), "]", nullptr, size));
  });
}

// Wide text: the peer is memmem over the same wchar_t bytes.
template <typename Call>
void runAdversarialWide(benchmark::State& state, Call call) {
  const AdversarialInput narrow = adversarial(state);
  std::vector<std::wstring> texts;
  for (const std::string& text : narrow.texts) {
    texts.push_back(widen(text));
  }
  const std::wstring needle = widen(narrow.needle);
  std::size_t i = 0;
  for (auto _ : state) {
    call(texts[i++ % kPoolSize], needle);
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<int64_t>(kTextSize * sizeof(wchar_t)));
}

void BM_Adversarial_WidePeerMemmem(benchmark::State& state) {
  runAdversarialWide(state, [](std::wstring& text, const std::wstring& needle) {
    benchmark::DoNotOptimize(memmem(text.data(), text.size() * sizeof(wchar_t),
                                    needle.data(),
                                    needle.size() * sizeof(wchar_t)));
  });
}

void BM_Adversarial_WideReplace(benchmark::State& state) {
  runAdversarialWide(state, [](std::wstring& text, const std::wstring& needle) {
    benchmark::DoNotOptimize(stdstring::replace(text, needle, L"x"));
  });
}

#define TQBASE_ADVERSARIAL(name) \
  BENCHMARK(name)->ArgsProduct({{64, 256, 1024, 4096, 32768}, {0, 1, 2}})

TQBASE_ADVERSARIAL(BM_Adversarial_PeerMemmem);
TQBASE_ADVERSARIAL(BM_Adversarial_IndexOf);
TQBASE_ADVERSARIAL(BM_Adversarial_IndexOfIgnoreCase);
TQBASE_ADVERSARIAL(BM_Adversarial_LastIndexOf);
TQBASE_ADVERSARIAL(BM_Adversarial_LastIndexOfIgnoreCase);
TQBASE_ADVERSARIAL(BM_Adversarial_Replace);
TQBASE_ADVERSARIAL(BM_Adversarial_SplitStringRgx);
TQBASE_ADVERSARIAL(BM_Adversarial_MaskJsonValue);
TQBASE_ADVERSARIAL(BM_Adversarial_FindStr);
TQBASE_ADVERSARIAL(BM_Adversarial_MatchSubString);
TQBASE_ADVERSARIAL(BM_Adversarial_WidePeerMemmem);
TQBASE_ADVERSARIAL(BM_Adversarial_WideReplace);

BENCHMARK(BM_IndexOfIgnoreCase_TQBase);
BENCHMARK(BM_IndexOfIgnoreCase_PeerCopyLowerFind);
BENCHMARK(BM_IndexOf_TQBase);
BENCHMARK(BM_IndexOf_PeerStdFind);
BENCHMARK(BM_IndexOf_PeerMemmem);
BENCHMARK(BM_MaskJsonValue_TQBase);
BENCHMARK(BM_MaskJsonValue_PeerCopyLowerPerSearch);

}  // namespace
