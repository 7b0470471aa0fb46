#include "TQBase/Locks.h"

namespace TQBase {

TQWfirstRWLock::TQWfirstRWLock() : readerCount(0), writerCount(0) {}

TQWfirstRWLock::~TQWfirstRWLock() = default;

// Waiting threads are counted nowhere: only granted holds are. That is why a
// waiting writer does not hold arriving readers back.
void TQWfirstRWLock::lock_read() {
  std::unique_lock<std::mutex> guard(mutex);
  while (writerCount > 0) readerCondition.wait(guard);
  ++readerCount;
}

void TQWfirstRWLock::lock_write() {
  std::unique_lock<std::mutex> guard(mutex);
  while (readerCount > 0 || writerCount > 0) writerCondition.wait(guard);
  ++writerCount;
}

void TQWfirstRWLock::release_read() {
  std::lock_guard<std::mutex> guard(mutex);
  if (readerCount <= 0) return;
  --readerCount;
  // Also while readers remain: the woken writer re-checks and waits again.
  writerCondition.notify_one();
}

void TQWfirstRWLock::release_write() {
  std::lock_guard<std::mutex> guard(mutex);
  if (writerCount <= 0) return;
  --writerCount;
  readerCondition.notify_all();
  writerCondition.notify_one();
}

}  // namespace TQBase
