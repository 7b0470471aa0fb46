#ifndef TQBASE_TESTS_SUPPORT_REPLACEDNEW_H_
#define TQBASE_TESTS_SUPPORT_REPLACEDNEW_H_

// Replaces the global operator new and delete for a standalone test program:
// counts allocations and can make the k-th one throw. Include it in one file
// of the program only.
#include <cstdlib>
#include <new>

namespace tqtest {
inline long allocations = 0;  // allocations so far
inline long failIn = -1;  // allocations left before one fails; negative: none

inline void* allocate(std::size_t n) {
  if (failIn >= 0 && failIn-- == 0) throw std::bad_alloc();
  ++allocations;
  if (void* p = std::malloc(n == 0 ? 1 : n)) return p;
  throw std::bad_alloc();
}
}  // namespace tqtest

void* operator new(std::size_t n) { return tqtest::allocate(n); }
void* operator new[](std::size_t n) { return tqtest::allocate(n); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

#endif  // TQBASE_TESTS_SUPPORT_REPLACEDNEW_H_
