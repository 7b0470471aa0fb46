// Loaded and unloaded by the reload test; the library comes and goes with it.
#include "frame/ReloadProbe.h"

#include "TQBase/System.h"
#include "TQBase/TQByteArray.h"

extern "C" void tqbaseReloadProbe(ReloadProbeFacts* facts) {
  facts->libraryCode = reinterpret_cast<const void*>(&TQBase::GetTickCount_64);
  const TQBase::TQByteArray empty;
  facts->emptyData = empty.constData();
  facts->tickCount = TQBase::GetTickCount_64();
}
