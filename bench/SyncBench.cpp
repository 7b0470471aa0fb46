// TQWfirstRWLock beside std::shared_mutex: the same critical sections, each
// reading or bumping one word of a 256 KiB pool that the index walks through.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <shared_mutex>
#include <vector>

#include "TQBase/Locks.h"

namespace {

constexpr std::size_t kPoolWords = (256 * 1024) / sizeof(std::uint64_t);

std::vector<std::uint64_t>& pool() {
  static std::vector<std::uint64_t> words = [] {
    std::vector<std::uint64_t> v(kPoolWords);
    std::uint64_t x = 0x9E3779B97F4A7C15ull;
    for (auto& w : v)
      w = (x = x * 6364136223846793005ull + 1442695040888963407ull);
    return v;
  }();
  return words;
}

struct TQLock {
  TQBase::TQWfirstRWLock lock;
  void lockRead() { lock.lock_read(); }
  void unlockRead() { lock.release_read(); }
  void lockWrite() { lock.lock_write(); }
  void unlockWrite() { lock.release_write(); }
};

struct StdLock {
  std::shared_mutex lock;
  void lockRead() { lock.lock_shared(); }
  void unlockRead() { lock.unlock_shared(); }
  void lockWrite() { lock.lock(); }
  void unlockWrite() { lock.unlock(); }
};

template <class Lock>
Lock& sharedLock() {
  static Lock lock;
  return lock;
}

// `writeEvery` 1: writes only; 0: reads only; n: one write in n sections.
template <class Lock>
void BM_Sections(benchmark::State& state) {
  const std::int64_t writeEvery = state.range(0);
  Lock& lock = sharedLock<Lock>();
  std::vector<std::uint64_t>& words = pool();
  std::size_t index =
      static_cast<std::size_t>(state.thread_index()) * 4099 % kPoolWords;
  std::uint64_t sum = 0;
  std::int64_t n = 0;
  for (auto _ : state) {
    if (writeEvery != 0 && ++n % writeEvery == 0) {
      lock.lockWrite();
      words[index] += 1;
      lock.unlockWrite();
    } else {
      lock.lockRead();
      sum += words[index];
      lock.unlockRead();
    }
    index = (index + 97) % kPoolWords;
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations());
}

void SectionArgs(benchmark::internal::Benchmark* b) {
  b->ArgName("writeEvery")->Arg(0)->Arg(16)->Arg(1);
}

BENCHMARK_TEMPLATE(BM_Sections, TQLock)->Apply(SectionArgs);
BENCHMARK_TEMPLATE(BM_Sections, StdLock)->Apply(SectionArgs);
BENCHMARK_TEMPLATE(BM_Sections, TQLock)
    ->Apply(SectionArgs)
    ->Threads(2)
    ->UseRealTime();
BENCHMARK_TEMPLATE(BM_Sections, StdLock)
    ->Apply(SectionArgs)
    ->Threads(2)
    ->UseRealTime();

}  // namespace
