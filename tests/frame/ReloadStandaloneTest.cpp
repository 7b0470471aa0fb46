// The library unloads: after its last dlclose it is unmapped, and the next
// dlopen runs the load-time steps again on a fresh mapping. This program does
// not link the library; it loads it through the probe module.
#include <dlfcn.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "frame/ReloadProbe.h"

// Defined where LeakSanitizer runs.
extern "C" void __lsan_disable() __attribute__((weak));
extern "C" void __lsan_enable() __attribute__((weak));

namespace {

// Every load makes an empty holder that is never freed, by design; once its
// library is unmapped nothing points at it, so LeakSanitizer is told to
// leave what the load makes alone.
void* loadProbe() {
  if (__lsan_disable) __lsan_disable();
  void* probe = dlopen(TQBASE_RELOAD_PROBE, RTLD_NOW | RTLD_LOCAL);
  if (__lsan_enable) __lsan_enable();
  return probe;
}

bool libraryMapped() {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line))
    if (line.find(TQBASE_SONAME) != std::string::npos) return true;
  return false;
}

TEST(LoadState, EveryLoadRunsTheLoadTimeSteps) {
  for (int load = 1; load <= 3; ++load) {
    SCOPED_TRACE(load);
    ASSERT_FALSE(libraryMapped());
    void* probe = loadProbe();
    ASSERT_NE(probe, nullptr) << dlerror();
    auto* run = reinterpret_cast<void (*)(ReloadProbeFacts*)>(
        dlsym(probe, "tqbaseReloadProbe"));
    ASSERT_NE(run, nullptr) << dlerror();
    ReloadProbeFacts facts{};
    run(&facts);

    // sharedNull was made by this load: an empty array reads the zero byte
    // of this mapping, not of an earlier one.
    Dl_info empty{}, library{};
    ASSERT_NE(dladdr(facts.emptyData, &empty), 0);
    ASSERT_NE(dladdr(facts.libraryCode, &library), 0);
    EXPECT_EQ(empty.dli_fbase, library.dli_fbase);
    EXPECT_EQ(facts.emptyData[0], '\0');
    // The counter state was stored: the millisecond clock follows the
    // monotonic counter, not the wall clock it falls back to without one.
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
    EXPECT_LT(std::llabs(facts.tickCount - now.count()), 10'000);

    EXPECT_EQ(dlclose(probe), 0);
    EXPECT_FALSE(libraryMapped()) << "still mapped after its last dlclose";
  }
}

}  // namespace
