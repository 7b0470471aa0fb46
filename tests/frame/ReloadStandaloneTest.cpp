// The library unloads: after its last dlclose it is unmapped, and the next
// dlopen runs the load-time steps again on a fresh mapping. This program does
// not link the library; it loads it through the probe module.
#include <dlfcn.h>
#include <time.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "frame/ReloadProbe.h"

#if defined(__SANITIZE_ADDRESS__)
#define TQBASE_LEAK_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TQBASE_LEAK_CHECKED 1
#endif
#endif
#ifdef TQBASE_LEAK_CHECKED
#include <sanitizer/lsan_interface.h>
#endif

namespace {

// Every load makes an empty holder that is never freed, by design; once its
// library is unmapped nothing points at it, so LeakSanitizer is told to
// leave what the load makes alone.
void* loadProbe() {
#ifdef TQBASE_LEAK_CHECKED
  __lsan::ScopedDisabler loadTimeState;
#endif
  return dlopen(TQBASE_RELOAD_PROBE, RTLD_NOW | RTLD_LOCAL);
}

bool libraryMapped() {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line)) {
    if (line.find("libTQBase.so") != std::string::npos) return true;
  }
  return false;
}

long long monotonicMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

TEST(LoadState, EveryLoadRunsTheLoadTimeSteps) {
  for (int load = 1; load <= 3; ++load) {
    SCOPED_TRACE(load);
    ASSERT_FALSE(libraryMapped());
    void* probe = loadProbe();
    ASSERT_NE(probe, nullptr) << dlerror();
    void* library = dlopen(TQBASE_SONAME, RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(library, nullptr) << dlerror();
    auto* run = reinterpret_cast<void (*)(ReloadProbeFacts*)>(
        dlsym(probe, "tqbaseReloadProbe"));
    ASSERT_NE(run, nullptr) << dlerror();
    ReloadProbeFacts facts{};
    run(&facts);

    // sharedNull was made by this load: an empty array reads the zero byte
    // of this mapping, not of an earlier one.
    void* anExport = dlsym(library, "_ZN6TQBase15GetTickCount_64Ev");
    Dl_info empty{};
    Dl_info exported{};
    ASSERT_NE(dladdr(facts.emptyData, &empty), 0);
    ASSERT_NE(dladdr(anExport, &exported), 0);
    EXPECT_EQ(empty.dli_fbase, exported.dli_fbase);
    EXPECT_EQ(facts.emptySize, 0);
    EXPECT_EQ(facts.emptyData[0], '\0');
    EXPECT_TRUE(facts.copySharesEmpty);
    EXPECT_TRUE(facts.filledReads);
    // The counter state was stored: the millisecond clock follows the
    // monotonic counter, not the wall clock it falls back to without one.
    EXPECT_LT(std::llabs(facts.tickCount - monotonicMilliseconds()), 10'000);

    EXPECT_EQ(dlclose(library), 0);
    EXPECT_EQ(dlclose(probe), 0);
    void* stillLoaded = dlopen(TQBASE_SONAME, RTLD_NOW | RTLD_NOLOAD);
    if (stillLoaded != nullptr) dlclose(stillLoaded);
    EXPECT_EQ(stillLoaded, nullptr)
        << "the library is still loaded after its last dlclose";
    EXPECT_FALSE(libraryMapped());
  }
}

}  // namespace
