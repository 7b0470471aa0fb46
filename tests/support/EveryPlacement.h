#ifndef TQBASE_TESTS_SUPPORT_EVERYPLACEMENT_H_
#define TQBASE_TESTS_SUPPORT_EVERYPLACEMENT_H_

#include <algorithm>
#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

namespace tqtest {

// The differential tests hold a fast form to its plain twin on pieces of
// `source` of every length from 0 to 200, at every alignment below
// `alignBytes`. A piece of length n starts at n * stride, wrapped within the
// source, so with a stride each length sees other bytes. Each piece is a
// copy that ends where its allocation ends, so that a read past it shows
// under AddressSanitizer. Stops at the first piece that fails, and names it.
template <typename T, typename Check>
void forEveryPlacement(const std::vector<T>& source, std::size_t alignBytes,
                       Check check, std::size_t stride = 0) {
  for (std::size_t length = 0; length <= 200; ++length)
    for (std::size_t align = 0; align < alignBytes / sizeof(T); ++align) {
      std::vector<T> buffer(align + length);
      const std::size_t start = length * stride % (source.size() - length + 1);
      std::copy_n(source.begin() + start, length, buffer.begin() + align);
      check(buffer.data() + align, length);
      if (::testing::Test::HasFailure()) {
        ADD_FAILURE() << "length " << length << ", alignment " << align;
        return;
      }
    }
}

}  // namespace tqtest

#endif  // TQBASE_TESTS_SUPPORT_EVERYPLACEMENT_H_
