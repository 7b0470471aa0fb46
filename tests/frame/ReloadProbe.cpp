// Loaded and unloaded by the reload test; the library comes and goes with it.
#include "frame/ReloadProbe.h"

#include <cstring>

#include "TQBase/System.h"
#include "TQBase/TQByteArray.h"

extern "C" void tqbaseReloadProbe(ReloadProbeFacts* facts) {
  const TQBase::TQByteArray empty;
  const TQBase::TQByteArray copy(empty);
  facts->emptyData = empty.constData();
  facts->emptySize = empty.size();
  facts->copySharesEmpty = copy.constData() == empty.constData();
  TQBase::TQByteArray filled;
  filled.resize(3);
  std::memcpy(filled.getData(), "abc", 3);
  facts->filledReads = std::strcmp(filled.constData(), "abc") == 0;
  facts->tickCount = TQBase::GetTickCount_64();
}
