// Runs a harness without libFuzzer, so that any compiler can use it in the
// ordinary test suite:
//   replay [--mutations N] [--seed S] <files or directories>...
// Every file is fed as it stands, then N inputs made from them by seeded
// mutations (cuts, byte changes, insertions, repeated chunks, splices), the
// same N for the same seed on every run. The harness's model or oracle then
// works as a property test with a fixed seed. A property failure aborts,
// which fails the test; the input that failed is left in
// replay-failure.bin (in the working directory) for the harness to replay.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "FuzzSupport.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// The input being run, for the abort handler.
const std::uint8_t* g_current = nullptr;
std::size_t g_currentSize = 0;

extern "C" void saveCurrentInput(int) {
  const int fd =
      ::open("replay-failure.bin", O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd >= 0) {
    for (std::size_t done = 0; done < g_currentSize;) {
      const ssize_t n = ::write(fd, g_current + done, g_currentSize - done);
      if (n <= 0) break;
      done += static_cast<std::size_t>(n);
    }
    ::close(fd);
  }
  const char note[] = "failing input saved as replay-failure.bin\n";
  (void)!::write(2, note, sizeof note - 1);
  std::signal(SIGABRT, SIG_DFL);
  std::raise(SIGABRT);
}

void run(const Bytes& input) {
  // A heap copy of the exact size, so that a sanitizer sees an overread.
  Bytes exact(input);
  exact.shrink_to_fit();
  g_current = exact.data();
  g_currentSize = exact.size();
  LLVMFuzzerTestOneInput(exact.empty() ? nullptr : exact.data(), exact.size());
}

// Bytes that the decoders and parsers treat specially, picked more often
// than chance would.
constexpr std::uint8_t kInteresting[] = {
    0x00, 0xFF, 0x80, 0x7F, 0xC0, 0xE0, 0xF0, 0x81, 0xFE, 0x40, '=',
    '%',  '+',  '-',  '/',  '_',  ' ',  '\t', '\n', '"',  ':',  ',',
    '0',  '9',  'a',  'A',  'f',  'F',  'x',  'e',  '.',  '\\'};

class Mutator {
 public:
  static constexpr std::size_t kPoolLimit = 256;
  static constexpr std::size_t kMaxLength = 4096;

  explicit Mutator(std::uint64_t seed) : rng_(seed) {}

  // A mutation of an input of the pool. One in four is kept in the pool
  // (up to kPoolLimit beside the files), so that later inputs grow longer
  // and stray further from the files, as a fuzzer's corpus does.
  Bytes make(std::vector<Bytes>& pool, std::size_t files) {
    Bytes b = pool[below(pool.size())];
    for (std::size_t n = 1 + below(8); n > 0; --n) mutate(b, pool);
    if (b.size() > kMaxLength) b.resize(kMaxLength);
    if (below(4) == 0) {
      if (pool.size() < files + kPoolLimit) {
        pool.push_back(b);
      } else {
        pool[files + below(kPoolLimit)] = b;
      }
    }
    return b;
  }

 private:
  std::size_t below(std::size_t n) {
    return n == 0 ? 0 : static_cast<std::size_t>(rng_() % n);
  }
  std::uint8_t anyByte() {
    return below(2) ? kInteresting[below(sizeof kInteresting)]
                    : static_cast<std::uint8_t>(rng_());
  }

  void mutate(Bytes& b, const std::vector<Bytes>& pool) {
    const std::size_t at = below(b.size() + 1);
    switch (below(6)) {
      case 0:  // cut the tail: truncated text
        b.resize(at);
        break;
      case 1:  // change a few bytes
        for (std::size_t n = 1 + below(4); n > 0 && !b.empty(); --n)
          b[below(b.size())] = anyByte();
        break;
      case 2: {  // insert a few bytes
        Bytes add(1 + below(8));
        for (auto& x : add) x = anyByte();
        b.insert(b.begin() + static_cast<std::ptrdiff_t>(at), add.begin(),
                 add.end());
        break;
      }
      case 3: {  // repeat a chunk: periodic text, long runs
        const std::size_t len = std::min(b.size() - at, 1 + below(16));
        const Bytes chunk(b.begin() + static_cast<std::ptrdiff_t>(at),
                          b.begin() + static_cast<std::ptrdiff_t>(at + len));
        for (std::size_t n = 1 + below(32); n > 0; --n)
          b.insert(b.begin() + static_cast<std::ptrdiff_t>(at), chunk.begin(),
                   chunk.end());
        break;
      }
      case 4: {  // splice in a piece of another input
        const Bytes& other = pool[below(pool.size())];
        const std::size_t from = below(other.size() + 1);
        const std::size_t len = below(other.size() - from + 1);
        b.insert(b.begin() + static_cast<std::ptrdiff_t>(at),
                 other.begin() + static_cast<std::ptrdiff_t>(from),
                 other.begin() + static_cast<std::ptrdiff_t>(from + len));
        break;
      }
      default:  // erase a piece
        b.erase(b.begin() + static_cast<std::ptrdiff_t>(at),
                b.begin() +
                    static_cast<std::ptrdiff_t>(at + below(b.size() - at + 1)));
        break;
    }
  }

  std::mt19937_64 rng_;
};

}  // namespace

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  std::size_t mutations = 0;
  std::uint64_t seed = 1;
  std::vector<fs::path> files;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if ((arg == "--mutations" || arg == "--seed") && i + 1 < argc) {
      const unsigned long long v = std::strtoull(argv[++i], nullptr, 10);
      (arg == "--seed" ? seed : mutations) = v;
    } else if (fs::is_directory(arg)) {
      for (const auto& entry : fs::recursive_directory_iterator(arg)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
      }
    } else {
      files.push_back(arg);
    }
  }
  if (files.empty()) {
    std::fprintf(stderr, "no input files\n");
    return 1;
  }
  std::signal(SIGABRT, saveCurrentInput);
  // Sorted, so that the seeded mutations start from the same pool each run.
  std::sort(files.begin(), files.end());
  std::vector<Bytes> pool;
  for (const auto& file : files) {
    std::ifstream in(file, std::ios::binary);
    pool.emplace_back(std::istreambuf_iterator<char>(in),
                      std::istreambuf_iterator<char>());
    run(pool.back());
  }
  Mutator mutator(seed);
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < mutations; ++i) {
    const Bytes input = mutator.make(pool, files.size());
    bytes += input.size();
    run(input);
  }
  std::printf(
      "replayed %zu inputs and %zu mutations (seed %llu, mean length %zu)\n",
      files.size(), mutations, static_cast<unsigned long long>(seed),
      mutations ? bytes / mutations : 0);
  return 0;
}
