#include "TQBase/Locks.h"

#include <functional>

namespace TQBase {

TQOrderLocker::TQOrderLocker(std::mutex& m1, std::mutex& m2) {
  // std::less gives a total order on pointers to unrelated objects.
  const bool firstIsLower = std::less<std::mutex*>()(&m1, &m2);
  lowerMutex = firstIsLower ? &m1 : &m2;
  higherMutex = firstIsLower ? &m2 : &m1;
  if (lowerMutex == higherMutex) higherMutex = nullptr;

  lowerMutex->lock();
  if (higherMutex == nullptr) return;
  try {
    higherMutex->lock();
  } catch (...) {
    // The destructor will not run for a half-built object.
    lowerMutex->unlock();
    throw;
  }
}

TQOrderLocker::~TQOrderLocker() {
  lowerMutex->unlock();
  if (higherMutex != nullptr) higherMutex->unlock();
}

}  // namespace TQBase
