// Runs a harness over every file of the directories (or files) named on the
// command line, without libFuzzer, so that any compiler can replay the
// corpus and past findings in the ordinary test suite. A property failure
// aborts, which fails the test.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "FuzzSupport.h"

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  std::vector<fs::path> files;
  for (int i = 1; i < argc; ++i) {
    const fs::path arg(argv[i]);
    if (fs::is_directory(arg)) {
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
  std::sort(files.begin(), files.end());
  for (const auto& file : files) {
    std::ifstream in(file, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                  std::istreambuf_iterator<char>());
    // A heap copy of the exact size, so that a sanitizer sees an overread.
    std::vector<std::uint8_t> exact(bytes.begin(), bytes.end());
    exact.shrink_to_fit();
    LLVMFuzzerTestOneInput(exact.empty() ? nullptr : exact.data(),
                           exact.size());
  }
  std::printf("replayed %zu inputs\n", files.size());
  return 0;
}
