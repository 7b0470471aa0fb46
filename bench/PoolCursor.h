// Start offsets that walk a pool of distinct data, so that successive
// iterations read other bytes and no branch pattern is learnt.

#ifndef TQBASE_BENCH_POOLCURSOR_H_
#define TQBASE_BENCH_POOLCURSOR_H_

#include <cstddef>

// Offsets of items of `item` bytes in a pool of `poolSize`: an odd stride
// (times `align`), wrapped before an item would run off, rounded down to a
// multiple of `align`.
class PoolCursor {
 public:
  PoolCursor(std::size_t poolSize, std::size_t item, std::size_t align = 1,
             std::size_t stride = 4099)
      : limit_(poolSize - item), step_(stride * align), align_(align) {}
  std::size_t next() {
    offset_ = (offset_ + step_) % limit_;
    return offset_ - offset_ % align_;
  }

 private:
  std::size_t limit_;
  std::size_t step_;
  std::size_t align_;
  std::size_t offset_ = 0;
};

#endif  // TQBASE_BENCH_POOLCURSOR_H_
