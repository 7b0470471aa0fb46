#ifndef TQBASE_TESTS_FRAME_RELOADPROBE_H_
#define TQBASE_TESTS_FRAME_RELOADPROBE_H_

// What the reload probe, a module linked against the library, reports about
// the library that was loaded with it.
struct ReloadProbeFacts {
  const void* libraryCode;  // an exported function of the library
  const char* emptyData;    // constData() of a default-constructed array
  long long tickCount;      // GetTickCount_64()
};

extern "C" void tqbaseReloadProbe(ReloadProbeFacts* facts);

#endif  // TQBASE_TESTS_FRAME_RELOADPROBE_H_
