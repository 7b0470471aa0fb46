#include "TQBase/Locks.h"

#include "sync/platform/NamedMutex.h"

namespace TQBase {

namespace {
constexpr int kAlreadyInitialised = 85;
}  // namespace

TQProcessLock::TQProcessLock() : handle(nullptr) {}

TQProcessLock::TQProcessLock(const TQProcessLock& other)
    : handle(other.handle) {
  if (handle != nullptr) handle->retain();
}

TQProcessLock::~TQProcessLock() { uninit(); }

int TQProcessLock::init(const char* name) {
  if (handle != nullptr) return kAlreadyInitialised;
  platform::NamedMutex* opened = nullptr;
  const int result = platform::NamedMutex::open(name, &opened);
  if (result == 0) handle = opened;
  return result;
}

void TQProcessLock::lock() {
  if (handle != nullptr) handle->lock();
}

void TQProcessLock::unlock() {
  if (handle != nullptr) handle->unlock();
}

void TQProcessLock::uninit() {
  if (handle == nullptr) return;
  platform::NamedMutex* closing = handle;
  handle = nullptr;
  closing->release();
}

// The handle is shared, so neither object ever closes it for the other.
TQProcessLock& TQProcessLock::operator=(const TQProcessLock& other) {
  if (handle == other.handle) return *this;
  if (other.handle != nullptr) other.handle->retain();
  uninit();
  handle = other.handle;
  return *this;
}

}  // namespace TQBase
